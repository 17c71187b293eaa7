#include "listeners/ArmEventTestTask.h"

#include "lc/Exception.h"
#include "lc/MoxArmControl.h"
#include "lc/System.h"
#include "listeners/EventEntries.h"

#include <array>
#include <cstdio>

using lc::MoxArmControl;

namespace {

constexpr std::uint32_t videoLossFault = 0x08;
constexpr std::uint32_t videoRecoverFault = 0x10;
constexpr std::uint32_t powerCriticalFault = 0x20;

enum ActionKey : std::int32_t {
    zeroReelKey = 6,
    horizontalNormalKey = 7,
    verticalFlippedKey = 9,
    verticalNormalKey = 11,
    sondeKey = 12,
    horizontalFlippedKey = 13,
    displayKey = 16,
};

constexpr std::int32_t actingState = 0;
constexpr std::size_t sondeLed = 3;

void handleKeyEvents(RecordListener& listener, const ArmEntries<KeyEvent>& entries)
{
    for (const auto event : entries) {
        std::printf("Key: %i state: %i time: %i\n", event.key, event.state, event.time);
        static_cast<ArmEventTestTask&>(listener).performKeyAction(event.key, event.state);
    }
}

void printFaultCode(std::uint32_t faults)
{
    std::printf("Fault code: 0x%x\n", faults);
    if ((faults & videoLossFault) != 0) {
        std::puts("\tVideo Loss");
    }
    if ((faults & videoRecoverFault) != 0) {
        std::puts("\tVideo Recover");
    }
    if ((faults & powerCriticalFault) != 0) {
        std::puts("\tPower Critical");
    }
}

void handleKeyValueEvents(RecordListener& listener, const ArmEntries<KeyValueEvent>& entries)
{
    for (const auto event : entries) {
        switch (event.key) {
        case magneticSensorValue:
            std::printf("Magnetic sensor: %s\n", event.value != 0 ? "Close" : "Open");
            break;
        case counterValue:
            std::printf("Count changed: %i\n", event.value);
            break;
        case faultCodeValue:
            printFaultCode(static_cast<std::uint32_t>(event.value));
            break;
        default:
            std::printf("*************** Unhandled key/value %i:%i *******************\n",
                        event.key, event.value);
            listener.markSuspicious();
            break;
        }
    }
}

void printBattery(const BatteryEventBlock& battery)
{
    const auto wide = [](std::uint32_t value) { return static_cast<unsigned long>(value); };
    std::printf("charge:%lu\ncharge_perc:%i\ntemperature:%i\nvoltage_sense:%i\ncurrent_sense:%lu\n"
                "cell_1_voltage:%i\ncell_2_voltage:%i\ncell_3_voltage:%i\ncell_4_voltage:%i\n"
                "cell_5_voltage:%i\ntime_up:%lu\ndischrg_time:%lu\nchrg_time:%lu\n",
                wide(battery.charge), battery.charge_perc, battery.temperature,
                battery.voltage_sense, wide(battery.current_sense), battery.cell_1_voltage,
                battery.cell_2_voltage, battery.cell_3_voltage, battery.cell_4_voltage,
                battery.cell_5_voltage, wide(battery.time_up), wide(battery.dischrg_time),
                wide(battery.chrg_time));
}

void handleBatteryEvents(RecordListener& /*listener*/,
                         const ArmEntries<BatteryEventRecord>& entries)
{
    if (entries.empty()) {
        std::puts("Error Dumping Bat Events. No Records");
    }
    bat_info_to_ui scratch{};
    MoxArmControl::GetBatInfo(scratch);
    for (const auto record : entries) {
        std::puts("Right Battery information");
        printBattery(record.right);
        std::puts("Left Battery information");
        printBattery(record.left);
    }
}

void handleDlsEvents(RecordListener& /*listener*/, const ArmEntries<DlsEvent>& entries)
{
    if (entries.empty()) {
        std::puts("Error Dumping DLS Events. No Records");
    }
    for (const auto event : entries) {
        std::printf("id:%i\nstate:%lu\n", event.id, static_cast<unsigned long>(event.state));
    }
}

constexpr std::array<RecordListener::Handler, 4> handlers{{
    RecordListener::handlerOf<KeyEvent, handleKeyEvents>(keyEventTag),
    RecordListener::handlerOf<KeyValueEvent, handleKeyValueEvents>(keyValueEventTag),
    RecordListener::handlerOf<BatteryEventRecord, handleBatteryEvents>(batteryEventTag),
    RecordListener::handlerOf<DlsEvent, handleDlsEvents>(dlsEventTag),
}};

constexpr RecordListener::Channel eventChannel{"/dev/arm-events", "[Video] Arm-event read error",
                                               handlers, nullptr};

struct Rotations {
    bool vertical = true;
    bool horizontal = true;
};

Rotations readRotations()
{
    Rotations rotations;
    lc::System::GetLcdRotations(rotations.vertical, rotations.horizontal);
    return rotations;
}

void setHorizontal(bool normal)
{
    std::puts(normal ? "Setting horizontal display normal..."
                     : "Setting horizontal display flipped...");
    lc::System::SetLcdRotation(readRotations().vertical, normal);
}

void setVertical(bool normal)
{
    std::puts(normal ? "Setting vertical display normal..."
                     : "Setting vertical display flipped...");
    lc::System::SetLcdRotation(normal, readRotations().horizontal);
}

} // namespace

ArmEventTestTask::ArmEventTestTask() : RecordListener(eventChannel)
{
}

int ArmEventTestTask::run()
{
    if (!openDevice()) {
        return -1;
    }
    readInitialState();
    return listen();
}

void ArmEventTestTask::readInitialState()
{
    // What the sensor says stands for the display's state until the display key toggles it.
    lcdState = MoxArmControl::GetMagSensorState() ? 1 : 0;
    MoxArmControl::CountMode mode{};
    int count = 0;
    bool atexMode = false;
    MoxArmControl::GetReelState(mode, count, sondeState, atexMode);
    std::vector<bool> keys;
    MoxArmControl::GetKeyPadState(keys, ledStates);
    if (lcdState != 0) {
        return;
    }
    try {
        if (!lc::System::GetLcdEnabled()) {
            lc::System::SetLcdEnabled(true);
        }
    } catch (const lc::Exception& exception) {
        std::printf("Failed reading/changing LCD state!!!!!!!!!!! %s\n", exception.what());
    }
}

void ArmEventTestTask::performKeyAction(std::int32_t key, std::int32_t state)
{
    if (state != actingState) {
        return;
    }
    switch (key) {
    case zeroReelKey:
        MoxArmControl::ZeroReelCount();
        break;
    case horizontalNormalKey:
        setHorizontal(true);
        break;
    case verticalFlippedKey:
        setVertical(false);
        break;
    case verticalNormalKey:
        setVertical(true);
        break;
    case sondeKey:
        toggleSonde();
        break;
    case horizontalFlippedKey:
        setHorizontal(false);
        break;
    case displayKey:
        toggleDisplay();
        break;
    default:
        break;
    }
}

/// The sonde's LED follows the sonde. A keypad without that LED is left alone.
void ArmEventTestTask::toggleSonde()
{
    sondeState = !sondeState;
    if (!MoxArmControl::SetReelSondeState(sondeState) || ledStates.size() <= sondeLed) {
        return;
    }
    ledStates[sondeLed] = static_cast<ArmMox::LedStates>(sondeState ? 1 : 0);
    MoxArmControl::SetLedStates(ledStates);
}

void ArmEventTestTask::toggleDisplay()
{
    lcdState ^= 1;
    try {
        lc::System::SetLcdEnabled(lcdState != 0);
    } catch (const lc::Exception& exception) {
        std::printf("Failed changing LCD state!!!!!!!!!!! %s\n", exception.what());
    }
}
