#include "simulator/Outcome.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <set>
#include <sstream>
#include <vector>

namespace simulator {

namespace {

using Words = std::set<std::string>;

/// Calls, by their keys without a path, and the fields that they know beside those of `knows`.
struct Rule {
    Words calls;
    Words fields;
};

/// Lives on when the program ends, since it still makes calls then.
const std::vector<Rule>& rules()
{
    static const auto* const rows = new std::vector<Rule>{
        {{"GetVimbraSwVersion"}, {"text"}},
        {{"GetArmState"}, {"false", "unfilled", "mode", "key", "fault"}},
        {{"GetPowerStates"}, {"false", "unfilled", "states"}},
        {{"GetKeyPadState"}, {"false", "unfilled", "keys", "leds"}},
        {{"GetReelState"}, {"false", "unfilled", "mode", "count", "sonde", "atex"}},
        {{"GetBatInfo"}, {"false", "unfilled", "hex"}},
        {{"GetLcdRotations"}, {"false", "unfilled", "vertical", "horizontal"}},
        {{"Ipad_Auth_Chip_Rx"}, {"false", "unfilled", "hex", "count"}},
        {{"GetMagSensorState", "GetLcdEnabled"}, {"value"}},
        {{"SetReelOverlay", "SetLedStates", "ZeroReelCount", "SetReelSondeState", "SetLcdEnabled",
          "SetLcdRotation", "Ipad_Auth_Chip_Tx", "Pic_Update_Comm_Tx"},
         {"false"}},
        {{":open", ":fopen", ":close", ":fsync", ":lseek", ":unlink", "usleep"}, {"error"}},
        {{":read"}, {"error", "hex", "count", "short", "flip"}},
        {{":write"}, {"error", "count", "short"}},
        {{":select"}, {"error", "timeout", "end"}},
        {{"sleep"}, {}},
    };
    return *rows;
}

bool knows(const Rule& rule, const std::string& field)
{
    static const Words* const ofAll = new Words{"ok", "kill", "signal"};
    const bool isOperation = std::isupper(static_cast<unsigned char>(rule.calls.begin()->front()));
    return ofAll->contains(field) || rule.fields.contains(field) ||
           (isOperation && (field == "throw" || field == "throw-other"));
}

auto findRule(const std::string& key)
{
    const std::size_t colon = key.rfind(':');
    const std::string call = colon == std::string::npos ? key : key.substr(colon);
    return std::find_if(rules().begin(), rules().end(),
                        [&](const Rule& rule) { return rule.calls.contains(call); });
}

/// Whether what is behind the name, "=VALUE" or nothing, has the form that follows from the name.
bool hasForm(const std::string& name, const std::string& rest)
{
    const Words flags{"ok", "kill", "throw-other", "false", "unfilled", "short", "timeout", "end"};
    if (flags.contains(name) || rest.empty()) {
        return flags.contains(name) && rest.empty();
    }
    const std::string value = rest.substr(1);
    const bool isList = name == "states" || name == "keys" || name == "leds";
    if (isList || name == "hex") {
        const char* const digits = isList ? "0123456789" : "0123456789abcdefABCDEF";
        return value.find_first_not_of(digits) == value.npos && (isList || value.size() % 2 == 0);
    }
    return name == "text" || name == "throw" || parseNumber(value).has_value();
}

std::string findFieldFault(const std::string& key, const std::string& field)
{
    const std::string name = field.substr(0, field.find('='));
    if (std::none_of(rules().begin(), rules().end(),
                     [&](const Rule& rule) { return knows(rule, name); })) {
        return "no outcome is called \"" + name + "\"";
    }
    if (!key.empty() && !knows(*findRule(key), name)) {
        return key.substr(key.rfind(':') + 1) + " has no outcome \"" + name + "\"";
    }
    return hasForm(name, field.substr(name.size()))
               ? ""
               : "\"" + field + "\" has not the form of this outcome";
}

} // namespace

Outcome::Outcome(const std::string& text)
{
    std::istringstream stream(text);
    for (std::string field; std::getline(stream, field, ',');) {
        const std::string name = field.substr(0, field.find('='));
        fields[name] = field.size() > name.size() ? field.substr(name.size() + 1) : "";
    }
}

long long Outcome::number(const std::string& name, long long fallback) const
{
    return parseNumber(text(name)).value_or(fallback);
}

std::optional<long long> parseNumber(const std::string& text)
{
    const int prefix = text.starts_with("0x") ? 2 : 0;
    const char* const end = text.data() + text.size();
    long long value = 0;
    const auto [rest, error] =
        std::from_chars(text.data() + prefix, end, value, prefix == 0 ? 10 : 16);
    return rest == end && error == std::errc() ? std::optional(value) : std::nullopt;
}

bool isCallKey(const std::string& key)
{
    return findRule(key) != rules().end();
}

std::string findOutcomeFault(const std::string& key, const std::string& text)
{
    std::istringstream stream(text);
    for (std::string field; std::getline(stream, field, ',');) {
        if (std::string fault = findFieldFault(key, field); !fault.empty()) {
            return fault;
        }
    }
    return text.empty() || text.back() == ',' ? "an outcome is missing" : "";
}

} // namespace simulator
