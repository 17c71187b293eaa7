#include "control/ArmInterfaceTask.h"

#include "lc/Exception.h"
#include "lc/MoxArmControl.h"
#include "lc/System.h"

#include <cstdio>
#include <unistd.h>
#include <vector>

using lc::MoxArmControl;

namespace {

constexpr useconds_t pauseMicroseconds = 2'000'000;

void printVersion()
{
    std::printf("Getting Version: ");
    std::puts(MoxArmControl::GetVimbraSwVersion().c_str());
}

void printState()
{
    std::printf("Getting state: ");
    MoxArmControl::ArmMode mode{};
    int powerUpKey = 0;
    unsigned int faultState = 0;
    if (!MoxArmControl::GetArmState(mode, powerUpKey, faultState)) {
        std::puts("failed");
        return;
    }
    std::printf("Mode: %i Powerup Key: %i Flt State: 0x%x\n", mode, powerUpKey, faultState);
}

void printPowerStates()
{
    std::printf("Getting power states: ");
    std::vector<bool> states;
    if (!MoxArmControl::GetPowerStates(states)) {
        std::puts("failed");
        return;
    }
    std::printf("States: ");
    unsigned int index = 0;
    for (const bool state : states) {
        std::printf("%u:%i ", index++, state ? 1 : 0);
    }
    std::printf("\n");
}

void printKeypad()
{
    std::puts("Keypad:");
    std::vector<bool> keys;
    std::vector<ArmMox::LedStates> leds;
    if (!MoxArmControl::GetKeyPadState(keys, leds)) {
        std::puts("\tFailed getting keypad state");
        return;
    }
    unsigned int index = 0;
    for (const bool state : keys) {
        std::printf("\tKey: %u State: %i\n", index++, state ? 1 : 0);
    }
    std::printf("\n");
    index = 0;
    for (const ArmMox::LedStates state : leds) {
        std::printf("\tLed: %u State: %i\n", index++, state);
    }
}

void printReel()
{
    std::puts("Count:");
    MoxArmControl::CountMode mode{};
    int count = 0;
    bool sondeState = false;
    bool atexMode = false;
    MoxArmControl::GetReelState(mode, count, sondeState, atexMode);
    std::printf("\tMode: %i Count value: %i Sonde State: %i ATEX Modee: %i\n", mode, count,
                sondeState ? 1 : 0, atexMode ? 1 : 0);
}

/// Prints a fixed-size text that need not end with a NUL.
template <std::size_t size>
void printText(const char* label, const char (&text)[size])
{
    std::printf("%s: %.*s\n", label, static_cast<int>(size), text);
}

void printBattery(const BatteryInfoRecord& battery)
{
    std::printf("Orvel Type: %c\n", battery.packType & 0xFF);
    printText("SN", battery.serialNumber);
    printText("Manu Date", battery.manufacturingDate);
    std::printf("Capacity: %lu\n", static_cast<unsigned long>(battery.capacity));
    std::printf("Charge Discharge cycle: %lu\n", static_cast<unsigned long>(battery.chargeCycles));
    std::printf("Bat Vs: %d\n", battery.batteryVersion);
    std::printf("Bat Hw: %d\n", battery.hardwareVersion);
    std::printf("Bat Update Self Vs: %d\n", battery.selfUpdateVersion);
    std::printf("Bat Update itf Vs: %d\n", battery.interfaceUpdateVersion);
    std::printf("Bat Update chrg Vs: %d\n", battery.chargerUpdateVersion);
}

void printBatteries()
{
    std::puts("Getting Battery info");
    bat_info_to_ui info{};
    if (!MoxArmControl::GetBatInfo(info)) {
        return;
    }
    std::puts("Right Battery Information");
    printBattery(info.right);
    std::puts("Left Battery Information");
    printBattery(info.left);
}

void exerciseReelOverlay()
{
    std::puts("\n\nRunning Reel Overlay Testing...Overlay On\n");
    MoxArmControl::SetReelOverlay(MoxArmControl::ReelOverlayOn);
    usleep(pauseMicroseconds);
    std::puts("\n\n...Overlay Off\n");
    MoxArmControl::SetReelOverlay(MoxArmControl::ReelOverlayOff);
    usleep(pauseMicroseconds);
    std::puts("\n\nRunning unrelated system tests now...\n");
}

void toggleDisplay()
{
    const bool enabled = lc::System::GetLcdEnabled();
    std::printf("Current lcd state: %i\n", enabled ? 1 : 0);
    usleep(pauseMicroseconds);
    lc::System::SetLcdEnabled(!enabled);
    std::printf("Current lcd state: %i. Turning LCD back on\n",
                lc::System::GetLcdEnabled() ? 1 : 0);
    usleep(pauseMicroseconds);
    lc::System::SetLcdEnabled(true);
}

void exerciseDisplay()
{
    try {
        toggleDisplay();
    } catch (const lc::Exception& exception) {
        std::printf("Error: %s\n", exception.what());
    }
}

} // namespace

int ArmInterfaceTask::run()
{
    printVersion();
    printState();
    printPowerStates();
    printKeypad();
    printReel();
    printBatteries();
    exerciseReelOverlay();
    exerciseDisplay();
    return 0;
}
