#include "simulator/Outcome.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <set>
#include <sstream>
#include <vector>

namespace simulator {

namespace {

/// Calls, by their keys without a path, and the fields that they know beside those of any call:
/// each NAME or NAME=FORM.
struct Rule {
    std::set<std::string> calls;
    std::string fields;
};

const std::vector<Rule>& rules()
{
    static const auto& rows = *new std::vector<Rule>{
        // outlives `main`, as calls do
        {{"GetVimbraSwVersion"}, "text=TEXT"},
        {{"GetArmState"}, "false unfilled mode=NUMBER key=NUMBER fault=NUMBER"},
        {{"GetPowerStates"}, "false unfilled states=DIGITS"},
        {{"GetKeyPadState"}, "false unfilled keys=DIGITS leds=DIGITS"},
        {{"GetReelState"}, "false unfilled mode=NUMBER count=NUMBER sonde=TRUTH atex=TRUTH"},
        {{"GetBatInfo"}, "false unfilled hex=BYTES"},
        {{"GetLcdRotations"}, "false unfilled vertical=TRUTH horizontal=TRUTH"},
        {{"Ipad_Auth_Chip_Rx"}, "false unfilled hex=BYTES count=NUMBER"},
        {{"GetMagSensorState", "GetLcdEnabled"}, "value=TRUTH"},
        {{"SetReelOverlay", "SetLedStates", "ZeroReelCount", "SetReelSondeState", "SetLcdEnabled",
          "SetLcdRotation", "Ipad_Auth_Chip_Tx", "Pic_Update_Comm_Tx"},
         "false"},
        {{":open", ":fopen", ":close", ":fsync", ":lseek", ":unlink", "usleep"}, "error=ERROR"},
        {{":read"}, "error=ERROR hex=BYTES count=SIZE short flip=SIZE"},
        {{":write"}, "error=ERROR count=SIZE short"},
        {{":select"}, "error=ERROR timeout end"},
        {{"sleep"}, ""},
    };
    return rows;
}

/// Null if there is no such call.
const Rule* findRule(const std::string& key)
{
    const std::size_t colon = key.rfind(':');
    const std::string call = colon == std::string::npos ? key : key.substr(colon);
    const auto rule =
        std::ranges::find_if(rules(), [&](const Rule& row) { return row.calls.contains(call); });
    return rule != rules().end() ? &*rule : nullptr;
}

std::string nameOf(const std::string& field)
{
    return field.substr(0, field.find('='));
}

std::string valueOf(const std::string& field)
{
    return field.substr(std::min(field.find('='), field.size() - 1) + 1);
}

/// What a call with this key, or any if it is empty, knows of a field: NAME or NAME=FORM; empty if
/// that is nothing.
std::string findField(const std::string& key, const std::string& name)
{
    std::string known = "ok kill signal=SIGNAL ";
    for (const Rule& rule : rules()) {
        known += key.empty() || findRule(key) == &rule ? rule.fields + " " : "";
    }
    const bool isOperation = key.find(':') == key.npos && !key.ends_with("sleep");
    std::istringstream fields(known + (isOperation ? "throw=TEXT throw-other" : ""));
    for (std::string field; fields >> field;) {
        if (nameOf(field) == name) {
            return field;
        }
    }
    return "";
}

bool hasForm(const std::string& value, const std::string& form)
{
    if (form == "DIGITS" || form == "BYTES") {
        const bool areBytes = form == "BYTES";
        const char* const digits = areBytes ? "0123456789abcdefABCDEF" : "0123456789";
        return value.find_first_not_of(digits) == value.npos &&
               (!areBytes || value.size() % 2 == 0);
    }
    const std::map<std::string, std::array<long long, 2>> ranges{
        {"NUMBER", {INT32_MIN, UINT32_MAX}},
        {"SIZE", {0, INT32_MAX}},
        {"TRUTH", {0, 1}},
        {"ERROR", {1, EHWPOISON}},
        {"SIGNAL", {1, SIGRTMAX}}};
    const auto range = ranges.find(form);
    const auto number = parseNumber(value);
    return range == ranges.end() || // a text
           (number && *number >= range->second[0] && *number <= range->second[1]);
}

std::string findFieldFault(const std::string& key, const std::string& field)
{
    const std::string name = nameOf(field);
    const std::string known = findField(key, name);
    if (known.empty()) {
        const std::string call = key.empty() ? "a call" : key.substr(key.rfind(':') + 1);
        return call + " has no outcome \"" + name + "\"";
    }
    const bool isFlag = known == name;
    const bool isRight =
        isFlag ? field == name : field != name && hasForm(valueOf(field), valueOf(known));
    return isRight ? "" : "\"" + field + "\" has not the form of this outcome";
}

} // namespace

Outcome::Outcome(const std::string& text)
{
    std::istringstream stream(text);
    for (std::string field; std::getline(stream, field, ',');) {
        fields[nameOf(field)] = valueOf(field);
    }
}

long long Outcome::number(const std::string& name, long long fallback) const
{
    return parseNumber(text(name)).value_or(fallback);
}

std::optional<long long> parseNumber(const std::string& text)
{
    const int prefix = text.starts_with("0x") && !text.starts_with("0x-") ? 2 : 0;
    const char* const end = text.data() + text.size();
    long long value = 0;
    const auto [rest, error] =
        std::from_chars(text.data() + prefix, end, value, prefix == 0 ? 10 : 16);
    return rest == end && error == std::errc() ? std::optional(value) : std::nullopt;
}

bool isCallKey(const std::string& key)
{
    return findRule(key) != nullptr;
}

std::string findOutcomeFault(const std::string& key, const std::string& text)
{
    std::set<std::string> names;
    std::istringstream stream(text);
    for (std::string field; std::getline(stream, field, ',');) {
        if (std::string fault = findFieldFault(key, field); !fault.empty()) {
            return fault;
        }
        if (!names.insert(nameOf(field)).second) {
            return "an outcome has twice \"" + nameOf(field) + "\"";
        }
    }
    return text.empty() || text.back() == ',' ? "an outcome is missing" : "";
}

} // namespace simulator
