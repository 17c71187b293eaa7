// The stand-in for the instrument's common library: each operation is traced, ends as the script
// says, or else shows and changes the simulated instrument.

#include "lc/Exception.h"
#include "lc/MoxArmControl.h"
#include "lc/System.h"
#include "simulator/Instrument.h"
#include "simulator/Script.h"

#include <algorithm>
#include <stdexcept>

using simulator::Bytes;
using simulator::Instrument;
using simulator::Outcome;
using simulator::report;

namespace {

class ScriptedException : public lc::Exception {
public:
    explicit ScriptedException(const std::string& exceptionText) : text(exceptionText) {}
    const char* what() const noexcept override { return text.c_str(); }

private:
    std::string text;
};

/// Traces a call and returns its scripted outcome, unless that is an exception.
Outcome begin(const std::string& operation, const std::string& arguments = "")
{
    simulator::trace(operation + "(" + arguments + ")");
    Outcome outcome = simulator::Script::instance().next(operation);
    if (outcome.has("throw")) {
        throw ScriptedException(outcome.text("throw"));
    }
    if (outcome.has("throw-other")) {
        throw std::runtime_error("scripted");
    }
    return outcome;
}

Instrument& instrument = Instrument::instance();

/// The scripted number, or the instrument's own value.
template <class Value>
Value pick(const Outcome& outcome, const char* name, Value own)
{
    return static_cast<Value>(outcome.number(name, static_cast<long>(own)));
}

/// The scripted values, one digit each, or the instrument's own.
template <class Value>
std::vector<Value> pickAll(const Outcome& outcome, const char* name, std::vector<Value> own)
{
    std::vector<Value> values;
    for (const char digit : outcome.text(name)) {
        values.push_back(static_cast<Value>(digit - '0'));
    }
    return outcome.has(name) ? values : own;
}

/// Shows what a switch of the instrument does.
bool reportSwitch(const char* what, bool on)
{
    report("%s %s", what, on ? "on" : "off");
    return on;
}

} // namespace

namespace lc {

Exception::~Exception() = default;

const char* Exception::what() const noexcept
{
    return "lc::Exception";
}

std::string MoxArmControl::GetVimbraSwVersion()
{
    const auto outcome = begin("GetVimbraSwVersion");
    return outcome.has("text") ? outcome.text("text") : "4.2.0 (simulated)";
}

bool MoxArmControl::GetArmState(ArmMode& mode, int& powerUpKey, unsigned int& faultState)
{
    const auto outcome = begin("GetArmState");
    mode = pick(outcome, "mode", ArmMode{1});
    powerUpKey = pick(outcome, "key", 0);
    faultState = pick(outcome, "fault", 0U);
    return outcome.succeeds();
}

bool MoxArmControl::GetPowerStates(std::vector<bool>& states)
{
    const auto outcome = begin("GetPowerStates");
    states = pickAll(outcome, "states", std::vector<bool>{true, true, false, true});
    return outcome.succeeds();
}

bool MoxArmControl::GetKeyPadState(std::vector<bool>& keys, std::vector<ArmMox::LedStates>& leds)
{
    const auto outcome = begin("GetKeyPadState");
    keys = pickAll(outcome, "keys", std::vector<bool>(17, false));
    leds = pickAll(outcome, "leds", instrument.leds);
    return outcome.succeeds();
}

bool MoxArmControl::GetReelState(CountMode& mode, int& count, bool& sondeState, bool& atexMode)
{
    const auto outcome = begin("GetReelState");
    mode = pick(outcome, "mode", CountMode{0});
    count = pick(outcome, "count", instrument.reelCount);
    sondeState = pick(outcome, "sonde", instrument.sondeOn);
    atexMode = pick(outcome, "atex", false);
    return outcome.succeeds();
}

bool MoxArmControl::GetBatInfo(bat_info_to_ui& info)
{
    const auto outcome = begin("GetBatInfo");
    info = {Instrument::makeBattery('R'), Instrument::makeBattery('L')};
    const Bytes bytes = outcome.bytes("hex");
    std::copy_n(bytes.begin(), std::min(bytes.size(), sizeof(info)),
                reinterpret_cast<std::uint8_t*>(&info));
    return outcome.succeeds();
}

bool MoxArmControl::GetMagSensorState()
{
    return pick(begin("GetMagSensorState"), "value", instrument.magnetClosed);
}

bool MoxArmControl::SetReelOverlay(ReelOverlayCtrlType control)
{
    reportSwitch("reel overlay", control == ReelOverlayOn);
    return begin("SetReelOverlay", std::to_string(control)).succeeds();
}

bool MoxArmControl::SetLedStates(const std::vector<ArmMox::LedStates>& leds)
{
    std::string list;
    for (const ArmMox::LedStates led : leds) {
        list += std::to_string(led) + ":";
    }
    const auto outcome = begin("SetLedStates", list);
    instrument.leds = leds;
    return outcome.succeeds();
}

bool MoxArmControl::ZeroReelCount()
{
    report("reel count zeroed");
    instrument.reelCount = 0;
    return begin("ZeroReelCount").succeeds();
}

bool MoxArmControl::SetReelSondeState(bool on)
{
    const auto outcome = begin("SetReelSondeState", std::to_string(on));
    if (!outcome.succeeds()) {
        return false;
    }
    instrument.sondeOn = reportSwitch("sonde", on);
    return true;
}

bool MoxArmControl::Ipad_Auth_Chip_Tx(unsigned char reg, unsigned char* data, int length)
{
    const std::string bytes = simulator::toHex(data, static_cast<std::size_t>(length));
    return begin("Ipad_Auth_Chip_Tx", std::to_string(reg) + ", " + bytes).succeeds();
}

bool MoxArmControl::Ipad_Auth_Chip_Rx(unsigned char reg, unsigned char* data, int length,
                                      int* count)
{
    const auto outcome =
        begin("Ipad_Auth_Chip_Rx", std::to_string(reg) + ", " + std::to_string(length));
    const Bytes bytes =
        outcome.has("hex") ? outcome.bytes("hex") : Instrument::readAuthRegister(reg);
    const std::size_t size = std::min(bytes.size(), static_cast<std::size_t>(length));
    std::copy_n(bytes.begin(), size, data);
    *count = pick(outcome, "count", static_cast<int>(size));
    return outcome.succeeds();
}

bool MoxArmControl::Pic_Update_Comm_Tx(PicUpdateDevType device, PicUpdateCmdType command,
                                       int length, unsigned char* data)
{
    const Bytes payload(data, data + length);
    const auto outcome =
        begin("Pic_Update_Comm_Tx", std::to_string(device) + ", " + std::to_string(command) + ", " +
                                        simulator::toHex(data, payload.size()));
    if (!outcome.succeeds()) {
        return false;
    }
    instrument.sendToPic(device, command, payload);
    return true;
}

bool System::GetLcdEnabled()
{
    return pick(begin("GetLcdEnabled"), "value", instrument.displayOn);
}

bool System::SetLcdEnabled(bool enable)
{
    const auto outcome = begin("SetLcdEnabled", std::to_string(enable));
    instrument.displayOn = reportSwitch("display", enable);
    return outcome.succeeds();
}

bool System::GetLcdRotations(bool& vertical, bool& horizontal)
{
    const auto outcome = begin("GetLcdRotations");
    vertical = pick(outcome, "vertical", instrument.displayVerticalNormal);
    horizontal = pick(outcome, "horizontal", instrument.displayHorizontalNormal);
    return outcome.succeeds();
}

bool System::SetLcdRotation(bool vertical, bool horizontal)
{
    const auto outcome =
        begin("SetLcdRotation", std::to_string(vertical) + ", " + std::to_string(horizontal));
    instrument.displayVerticalNormal = vertical;
    instrument.displayHorizontalNormal = horizontal;
    report("display %s vertically, %s horizontally", vertical ? "normal" : "flipped",
           horizontal ? "normal" : "flipped");
    return outcome.succeeds();
}

} // namespace lc
