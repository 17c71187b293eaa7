// The stand-in for the instrument's common library: each operation is traced, ends as the script
// says, or else shows and changes the simulated instrument.

#include "lc/Exception.h"
#include "lc/MoxArmControl.h"
#include "lc/System.h"
#include "simulator/Bytes.h"
#include "simulator/Call.h"
#include "simulator/Instrument.h"
#include "simulator/Report.h"
#include "simulator/Script.h"

#include <algorithm>
#include <dlfcn.h>
#include <stdexcept>
#include <string>
#include <vector>

using simulator::Bytes;
using simulator::Call;
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

/// One operation of the library: traced, and ended by an exception if the script says so.
class Operation : public Call {
public:
    explicit Operation(const std::string& name, const std::string& arguments = "")
        : Call(name, name + "(" + arguments + ")")
    {
        show();
        if (outcome().has("throw")) {
            throw ScriptedException(outcome().text("throw"));
        }
        if (outcome().has("throw-other")) {
            throw std::runtime_error("scripted");
        }
    }

    bool succeeds() const { return outcome().succeeds(); }
    bool fillsOutputs() const { return !outcome().has("unfilled"); }
};

Instrument& instrument = Instrument::instance();

/// The scripted number, or the instrument's own value.
template <class Value>
Value pick(const Outcome& outcome, const char* name, Value own)
{
    return static_cast<Value>(outcome.number(name, static_cast<long long>(own)));
}

/// The scripted values, one digit each, or the instrument's own.
template <class Value>
std::vector<Value> pickAll(const Outcome& outcome, const char* name, const std::vector<Value>& own)
{
    std::vector<Value> values;
    for (const char digit : outcome.text(name)) {
        values.push_back(static_cast<Value>(digit - '0'));
    }
    return outcome.has(name) ? values : own;
}

/// Shows what a switch of the instrument does.
void reportSwitch(const char* what, bool on)
{
    report("%s %s", what, on ? "on" : "off");
}

/// What a 32-bit variable holds that the program exports under this name.
std::string showGlobal(const char* name)
{
    const auto* const value = static_cast<const std::uint32_t*>(dlsym(RTLD_DEFAULT, name));
    return std::string(name) + " " + (value != nullptr ? std::to_string(*value) : "is missing");
}

/// Shows what the library can see of an update, if a setting asks for it.
void reportGlobals()
{
    if (simulator::Script::instance().setting("globals") == "shown") {
        report("%s, %s, %s", showGlobal("Cmd").c_str(), showGlobal("GpsPicMode").c_str(),
               showGlobal("GpsPicVersion").c_str());
    }
}

} // namespace

namespace lc {

std::string MoxArmControl::GetVimbraSwVersion()
{
    const Operation call("GetVimbraSwVersion");
    return call.outcome().has("text") ? call.outcome().text("text") : "4.2.0 (simulated)";
}

bool MoxArmControl::GetArmState(ArmMode& mode, int& powerUpKey, unsigned int& faultState)
{
    const Operation call("GetArmState");
    if (call.fillsOutputs()) {
        mode = pick(call.outcome(), "mode", ArmMode{1});
        powerUpKey = pick(call.outcome(), "key", 0);
        faultState = pick(call.outcome(), "fault", 0U);
    }
    return call.succeeds();
}

bool MoxArmControl::GetPowerStates(std::vector<bool>& states)
{
    const Operation call("GetPowerStates");
    if (call.fillsOutputs()) {
        states = pickAll(call.outcome(), "states", std::vector<bool>{true, true, false, true});
    }
    return call.succeeds();
}

bool MoxArmControl::GetKeyPadState(std::vector<bool>& keys, std::vector<ArmMox::LedStates>& leds)
{
    const Operation call("GetKeyPadState");
    if (call.fillsOutputs()) {
        keys = pickAll(call.outcome(), "keys", std::vector<bool>(17, false));
        leds = pickAll(call.outcome(), "leds", instrument.leds);
    }
    return call.succeeds();
}

bool MoxArmControl::GetReelState(CountMode& mode, int& count, bool& sondeState, bool& atexMode)
{
    const Operation call("GetReelState");
    if (call.fillsOutputs()) {
        mode = pick(call.outcome(), "mode", CountMode{0});
        count = pick(call.outcome(), "count", instrument.reelCount);
        sondeState = pick(call.outcome(), "sonde", instrument.sondeOn);
        atexMode = pick(call.outcome(), "atex", false);
    }
    return call.succeeds();
}

bool MoxArmControl::GetBatInfo(bat_info_to_ui& info)
{
    const Operation call("GetBatInfo");
    if (call.fillsOutputs()) {
        info = {Instrument::makeBattery('R'), Instrument::makeBattery('L')};
        const Bytes bytes = call.outcome().bytes("hex");
        std::copy_n(bytes.begin(), std::min(bytes.size(), sizeof(info)),
                    reinterpret_cast<std::uint8_t*>(&info));
    }
    return call.succeeds();
}

bool MoxArmControl::GetMagSensorState()
{
    const Operation call("GetMagSensorState");
    return pick(call.outcome(), "value", instrument.magnetClosed);
}

bool MoxArmControl::SetReelOverlay(ReelOverlayCtrlType control)
{
    const Operation call("SetReelOverlay", std::to_string(control));
    if (call.succeeds()) {
        reportSwitch("reel overlay", control == ReelOverlayOn);
    }
    return call.succeeds();
}

bool MoxArmControl::SetLedStates(const std::vector<ArmMox::LedStates>& leds)
{
    std::string list;
    for (const ArmMox::LedStates led : leds) {
        list += std::to_string(led) + ":";
    }
    const Operation call("SetLedStates", list);
    if (call.succeeds()) {
        instrument.leds = leds;
    }
    return call.succeeds();
}

bool MoxArmControl::ZeroReelCount()
{
    const Operation call("ZeroReelCount");
    if (call.succeeds()) {
        report("reel count zeroed");
        instrument.reelCount = 0;
    }
    return call.succeeds();
}

bool MoxArmControl::SetReelSondeState(bool on)
{
    const Operation call("SetReelSondeState", std::to_string(on));
    if (call.succeeds()) {
        reportSwitch("sonde", on);
        instrument.sondeOn = on;
    }
    return call.succeeds();
}

bool MoxArmControl::Ipad_Auth_Chip_Tx(unsigned char reg, unsigned char* data, int length)
{
    const std::string bytes = simulator::toHex(data, static_cast<std::size_t>(length));
    return Operation("Ipad_Auth_Chip_Tx", std::to_string(reg) + ", " + bytes).succeeds();
}

bool MoxArmControl::Ipad_Auth_Chip_Rx(unsigned char reg, unsigned char* data, int length,
                                      int* count)
{
    const Operation call("Ipad_Auth_Chip_Rx", std::to_string(reg) + ", " + std::to_string(length));
    const Outcome& outcome = call.outcome();
    if (call.fillsOutputs()) {
        const Bytes bytes =
            outcome.has("hex") ? outcome.bytes("hex") : Instrument::readAuthRegister(reg);
        const std::size_t size = std::min(bytes.size(), static_cast<std::size_t>(length));
        std::copy_n(bytes.begin(), size, data);
        *count = pick(outcome, "count", static_cast<int>(size));
    }
    return call.succeeds();
}

bool MoxArmControl::Pic_Update_Comm_Tx(PicUpdateDevType device, PicUpdateCmdType command,
                                       int length, unsigned char* data)
{
    const Bytes payload(data, data + length);
    reportGlobals();
    const Operation call("Pic_Update_Comm_Tx", std::to_string(device) + ", " +
                                                   std::to_string(command) + ", " +
                                                   simulator::toHex(data, payload.size()));
    if (call.succeeds()) {
        instrument.sendToPic(device, command, payload);
    }
    return call.succeeds();
}

bool System::GetLcdEnabled()
{
    const Operation call("GetLcdEnabled");
    return pick(call.outcome(), "value", instrument.displayOn);
}

bool System::SetLcdEnabled(bool enable)
{
    const Operation call("SetLcdEnabled", std::to_string(enable));
    if (call.succeeds()) {
        reportSwitch("display", enable);
        instrument.displayOn = enable;
    }
    return call.succeeds();
}

bool System::GetLcdRotations(bool& vertical, bool& horizontal)
{
    const Operation call("GetLcdRotations");
    if (call.fillsOutputs()) {
        vertical = pick(call.outcome(), "vertical", instrument.displayVerticalNormal);
        horizontal = pick(call.outcome(), "horizontal", instrument.displayHorizontalNormal);
    }
    return call.succeeds();
}

bool System::SetLcdRotation(bool vertical, bool horizontal)
{
    const Operation call("SetLcdRotation",
                         std::to_string(vertical) + ", " + std::to_string(horizontal));
    if (call.succeeds()) {
        instrument.displayVerticalNormal = vertical;
        instrument.displayHorizontalNormal = horizontal;
        report("display %s vertically, %s horizontally", vertical ? "normal" : "flipped",
               horizontal ? "normal" : "flipped");
    }
    return call.succeeds();
}

} // namespace lc
