// The stand-in for the instrument's common library: each operation is traced, ends as the script
// says, or else shows and changes the simulated instrument.

#include "lc/Exception.h"
#include "lc/MoxArmControl.h"
#include "lc/System.h"
#include "listeners/ArmRecord.h"
#include "simulator/Call.h"
#include "simulator/Channels.h"
#include "simulator/Clock.h"
#include "simulator/Instrument.h"
#include "simulator/Report.h"
#include "simulator/Script.h"

#include <algorithm>
#include <dlfcn.h>
#include <stdexcept>

using namespace simulator;
using std::to_string;

namespace {

struct ScriptedException : lc::Exception {
    explicit ScriptedException(const std::string& scriptedText) : text(scriptedText) {}
    [[nodiscard]] const char* what() const noexcept override { return text.c_str(); }

    std::string text;
};

/// One operation of the library: traced, and ended by an exception if the script says so.
class Operation : public Call {
public:
    explicit Operation(const char* name, const std::string& arguments = "") : Call(name, arguments)
    {
        show();
        if (outcome().has("throw")) {
            throw ScriptedException(outcome().text("throw"));
        }
        if (outcome().has("throw-other")) {
            throw std::runtime_error("scripted");
        }
    }

    [[nodiscard]] bool succeeds() const { return !outcome().has("false"); }
    [[nodiscard]] bool fillsOutputs() const { return !outcome().has("unfilled"); }

    /// Fills an output in with the scripted number, or with the instrument's own.
    template <class Value>
    void fill(const char* name, Value& output, long long own) const
    {
        if (fillsOutputs()) {
            output = static_cast<Value>(outcome().number(name, own));
        }
    }

    /// Fills a list in with the scripted values, one digit each, or with the instrument's own.
    template <class List>
    void fillList(const char* name, List& output, const List& own) const
    {
        if (!fillsOutputs()) {
            return;
        }
        output = outcome().has(name) ? List() : own;
        for (const char digit : outcome().text(name)) {
            output.push_back(static_cast<typename List::value_type>(digit - '0'));
        }
    }

    /// The scripted truth value, or the instrument's own.
    [[nodiscard]] bool value(bool own) const { return outcome().number("value", own) != 0; }

    /// Switches something of the instrument, unless the script lets that fail.
    bool change(const char* what, bool& state, bool on) const
    {
        if (succeeds()) {
            report("%s %s", what, on ? "on" : "off");
            state = on;
        }
        return succeeds();
    }
};

Instrument& instrument = Instrument::instance();

constexpr bat_info_to_ui batteries{
    {{}, 'R', "OB260317-R", "2026-03-17", 5200, 0, 0, 0, 0, 0, 0, {}},
    {{}, 'L', "OB260317-L", "2026-03-17", 5200, 0, 0, 0, 0, 0, 0, {}}};

/// What the authentication chip has in a register.
Bytes readAuthRegister(int reg)
{
    constexpr int certificateLength = 0x30; // of 600 bytes
    return reg == certificateLength  ? Bytes{0x02, 0x58}
           : reg > certificateLength ? Bytes(128, 0xA5)
                                     : Bytes{static_cast<std::uint8_t>(reg)};
}

[[gnu::destructor]] void reportMemory()
{
    instrument.programmingDevice.reportMemory();
    for (const auto& [device, pic] : instrument.pics) {
        pic.reportMemory();
    }
}

/// Shows what the library can see of an update in the program's exported variables.
void reportGlobals()
{
    std::string text;
    for (const char* const name : {"Cmd", "GpsPicMode", "GpsPicVersion"}) {
        const auto* const value = static_cast<const std::uint32_t*>(dlsym(RTLD_DEFAULT, name));
        text += (text.empty() ? "" : ", ") + std::string(name) + " " +
                (value != nullptr ? to_string(*value) : "is missing");
    }
    report("%s", text.c_str());
}

} // namespace

Instrument& Instrument::instance()
{
    static auto& instance = *new Instrument; // outlives `main`, as calls do
    return instance;
}

namespace lc {

std::string MoxArmControl::GetVimbraSwVersion()
{
    const Operation call("GetVimbraSwVersion");
    return call.outcome().has("text") ? call.outcome().text("text") : "4.2.0 (simulated)";
}

bool MoxArmControl::GetArmState(ArmMode& mode, int& powerUpKey, unsigned int& faultState)
{
    const Operation call("GetArmState");
    call.fill("mode", mode, 1);
    call.fill("key", powerUpKey, 0);
    call.fill("fault", faultState, 0);
    return call.succeeds();
}

bool MoxArmControl::GetPowerStates(std::vector<bool>& states)
{
    const Operation call("GetPowerStates");
    call.fillList("states", states, {true, true, false, true});
    return call.succeeds();
}

bool MoxArmControl::GetKeyPadState(std::vector<bool>& keys, std::vector<ArmMox::LedStates>& leds)
{
    const Operation call("GetKeyPadState");
    call.fillList("keys", keys, std::vector<bool>(17));
    call.fillList("leds", leds, instrument.leds);
    return call.succeeds();
}

bool MoxArmControl::GetReelState(CountMode& mode, int& count, bool& sondeState, bool& atexMode)
{
    const Operation call("GetReelState");
    call.fill("mode", mode, 0);
    call.fill("count", count, instrument.reelCount);
    call.fill("sonde", sondeState, instrument.sondeOn);
    call.fill("atex", atexMode, false);
    return call.succeeds();
}

bool MoxArmControl::GetBatInfo(bat_info_to_ui& info)
{
    const Operation call("GetBatInfo");
    if (call.fillsOutputs()) {
        info = batteries;
        Bytes bytes = call.outcome().bytes("hex");
        bytes.resize(std::min(bytes.size(), sizeof(info)));
        std::ranges::copy(bytes, reinterpret_cast<std::uint8_t*>(&info));
    }
    return call.succeeds();
}

bool MoxArmControl::GetMagSensorState()
{
    return Operation("GetMagSensorState").value(false);
}

bool MoxArmControl::SetReelOverlay(ReelOverlayCtrlType control)
{
    const Operation call("SetReelOverlay", to_string(control));
    return call.change("reel overlay", instrument.overlayOn, control == ReelOverlayOn);
}

bool MoxArmControl::SetLedStates(const std::vector<ArmMox::LedStates>& leds)
{
    std::string list;
    for (const ArmMox::LedStates led : leds) {
        list += to_string(led) + ":";
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
    return Operation("SetReelSondeState", to_string(on)).change("sonde", instrument.sondeOn, on);
}

bool MoxArmControl::Ipad_Auth_Chip_Tx(unsigned char reg, unsigned char* data, int length)
{
    const std::string bytes = toHex(data, static_cast<std::size_t>(length));
    return Operation("Ipad_Auth_Chip_Tx", to_string(reg) + ", " + bytes).succeeds();
}

bool MoxArmControl::Ipad_Auth_Chip_Rx(unsigned char reg, unsigned char* data, int length,
                                      int* count)
{
    const Operation call("Ipad_Auth_Chip_Rx", to_string(reg) + ", " + to_string(length));
    if (call.fillsOutputs()) {
        const bool isScripted = call.outcome().has("hex");
        Bytes bytes = isScripted ? call.outcome().bytes("hex") : readAuthRegister(reg);
        bytes.resize(std::min(bytes.size(), static_cast<std::size_t>(length)));
        std::ranges::copy(bytes, data);
        call.fill("count", *count, static_cast<long long>(bytes.size()));
    }
    return call.succeeds();
}

bool MoxArmControl::Pic_Update_Comm_Tx(PicUpdateDevType device, PicUpdateCmdType command,
                                       int length, unsigned char* data)
{
    const Bytes payload(data, data + length);
    if (setting("globals") == "shown") {
        reportGlobals();
    }
    const Operation call("Pic_Update_Comm_Tx", to_string(device) + ", " + to_string(command) +
                                                   ", " + toHex(data, payload.size()));
    if (device < PicDevOrvelBat || device > PicDevKt4100Gps) {
        report("there is no PIC with the code %d", device);
        return false;
    }
    const std::string& behaviour = setting("pic");
    if (call.succeeds() && behaviour != "silent") {
        constexpr double lateSeconds = 1.5; // the tool waits one second
        auto& pic = instrument.pics.try_emplace(device, device).first->second;
        instrument.replies.emplace_back(now() + (behaviour == "late" ? lateSeconds : 0),
                                        makeDataRecord(picReplyTag, pic.answer(command, payload)));
    }
    return call.succeeds();
}

bool System::GetLcdEnabled()
{
    return Operation("GetLcdEnabled").value(instrument.displayOn);
}

bool System::SetLcdEnabled(bool enable)
{
    return Operation("SetLcdEnabled", to_string(enable))
        .change("display", instrument.displayOn, enable);
}

bool System::GetLcdRotations(bool& vertical, bool& horizontal)
{
    const Operation call("GetLcdRotations");
    call.fill("vertical", vertical, instrument.displayVerticalNormal);
    call.fill("horizontal", horizontal, instrument.displayHorizontalNormal);
    return call.succeeds();
}

bool System::SetLcdRotation(bool vertical, bool horizontal)
{
    const Operation call("SetLcdRotation", to_string(vertical) + ", " + to_string(horizontal));
    if (call.succeeds()) {
        report("display %s vertically, %s horizontally", vertical ? "normal" : "flipped",
               horizontal ? "normal" : "flipped");
        instrument.displayVerticalNormal = vertical;
        instrument.displayHorizontalNormal = horizontal;
    }
    return call.succeeds();
}

} // namespace lc
