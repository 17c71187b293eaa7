#include "simulator/Outcome.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <sstream>

namespace simulator {

namespace {

enum class Form { flag, number, digits, hexadecimal, text };

struct FieldRule {
    std::string_view name;
    Form form;
};

constexpr std::array<FieldRule, 27> fieldRules{{
    {"ok", Form::flag},       {"kill", Form::flag},        {"kill-before", Form::flag},
    {"throw", Form::text},    {"throw-other", Form::flag}, {"false", Form::flag},
    {"unfilled", Form::flag}, {"text", Form::text},        {"hex", Form::hexadecimal},
    {"mode", Form::number},   {"key", Form::number},       {"fault", Form::number},
    {"count", Form::number},  {"sonde", Form::number},     {"atex", Form::number},
    {"value", Form::number},  {"vertical", Form::number},  {"horizontal", Form::number},
    {"states", Form::digits}, {"keys", Form::digits},      {"leds", Form::digits},
    {"error", Form::number},  {"short", Form::flag},       {"flip", Form::number},
    {"timeout", Form::flag},  {"end", Form::flag},         {"signal", Form::number},
}};

/// The fields that a call knows beside those that every call, and every operation, knows.
struct CallRule {
    std::string_view name;
    CallKind kind;
    std::string_view fields;
};

constexpr std::string_view everyCall = "ok kill kill-before signal";
constexpr std::string_view everyOperation = "throw throw-other";

constexpr std::array<CallRule, 28> callRules{{
    {"GetVimbraSwVersion", CallKind::libraryOperation, "text"},
    {"GetArmState", CallKind::libraryOperation, "false unfilled mode key fault"},
    {"GetPowerStates", CallKind::libraryOperation, "false unfilled states"},
    {"GetKeyPadState", CallKind::libraryOperation, "false unfilled keys leds"},
    {"GetReelState", CallKind::libraryOperation, "false unfilled mode count sonde atex"},
    {"GetBatInfo", CallKind::libraryOperation, "false unfilled hex"},
    {"GetMagSensorState", CallKind::libraryOperation, "value"},
    {"SetReelOverlay", CallKind::libraryOperation, "false"},
    {"SetLedStates", CallKind::libraryOperation, "false"},
    {"ZeroReelCount", CallKind::libraryOperation, "false"},
    {"SetReelSondeState", CallKind::libraryOperation, "false"},
    {"Ipad_Auth_Chip_Tx", CallKind::libraryOperation, "false"},
    {"Ipad_Auth_Chip_Rx", CallKind::libraryOperation, "false unfilled hex count"},
    {"Pic_Update_Comm_Tx", CallKind::libraryOperation, "false"},
    {"GetLcdEnabled", CallKind::libraryOperation, "value"},
    {"SetLcdEnabled", CallKind::libraryOperation, "false"},
    {"GetLcdRotations", CallKind::libraryOperation, "false unfilled vertical horizontal"},
    {"SetLcdRotation", CallKind::libraryOperation, "false"},
    {"open", CallKind::fileCall, "error"},
    {"fopen", CallKind::fileCall, "error"},
    {"close", CallKind::fileCall, "error"},
    {"read", CallKind::fileCall, "error hex count short flip"},
    {"write", CallKind::fileCall, "error count short"},
    {"fsync", CallKind::fileCall, "error"},
    {"lseek", CallKind::fileCall, "error"},
    {"select", CallKind::fileCall, "error timeout end"},
    {"usleep", CallKind::pause, "error"},
    {"sleep", CallKind::pause, ""},
}};

template <class Rules>
const auto* findRule(const Rules& rules, std::string_view name)
{
    const auto rule = std::find_if(rules.begin(), rules.end(),
                                   [&](const auto& candidate) { return candidate.name == name; });
    return rule != rules.end() ? &*rule : nullptr;
}

bool listsWord(std::string_view list, std::string_view word)
{
    std::istringstream words{std::string(list)};
    for (std::string listed; words >> listed;) {
        if (listed == word) {
            return true;
        }
    }
    return false;
}

bool knowsField(const std::string& call, const std::string& field)
{
    const CallRule* const rule = findRule(callRules, call);
    const bool isOperation = rule != nullptr && rule->kind == CallKind::libraryOperation;
    return listsWord(everyCall, field) || (isOperation && listsWord(everyOperation, field)) ||
           (rule != nullptr && listsWord(rule->fields, field));
}

bool consistsOf(const std::string& text, const char* characters)
{
    return text.find_first_not_of(characters) == std::string::npos;
}

bool hasForm(const std::string& value, Form form)
{
    switch (form) {
    case Form::number:
        return parseNumber(value).has_value();
    case Form::digits:
        return consistsOf(value, "0123456789");
    case Form::hexadecimal:
        return value.size() % 2 == 0 && consistsOf(value, "0123456789abcdefABCDEF");
    case Form::text:
        return true;
    case Form::flag:
    default:
        return false;
    }
}

std::string findFieldFault(const std::string& call, const std::string& field)
{
    const std::size_t equals = field.find('=');
    const std::string name = field.substr(0, equals);
    const FieldRule* const rule = findRule(fieldRules, name);
    if (rule == nullptr || name.empty()) {
        return "no outcome is called \"" + name + "\"";
    }
    if (!call.empty() && !knowsField(call, name)) {
        return call + " has no outcome \"" + name + "\"";
    }
    const bool hasValue = equals != std::string::npos;
    if (hasValue != (rule->form != Form::flag) ||
        (hasValue && !hasForm(field.substr(equals + 1), rule->form))) {
        return "\"" + field + "\" has not the form of this outcome";
    }
    return "";
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

std::string Outcome::text(const std::string& name) const
{
    return has(name) ? fields.at(name) : "";
}

long long Outcome::number(const std::string& name, long long fallback) const
{
    return parseNumber(text(name)).value_or(fallback);
}

bool Outcome::fits(const std::string& call) const
{
    return std::all_of(fields.begin(), fields.end(),
                       [&](const auto& field) { return knowsField(call, field.first); });
}

std::optional<long long> parseNumber(const std::string& text)
{
    char* end = nullptr;
    errno = 0;
    const bool isHexadecimal = text.find_first_of("xX") != std::string::npos;
    const long long value = std::strtoll(text.c_str(), &end, isHexadecimal ? 16 : 10);
    if (text.empty() || *end != '\0' || errno != 0 ||
        text.find_first_of(" \t") != std::string::npos) {
        return std::nullopt;
    }
    return value;
}

std::optional<CallKind> kindOfCall(std::string_view name)
{
    const CallRule* const rule = findRule(callRules, name);
    return rule != nullptr ? std::optional(rule->kind) : std::nullopt;
}

std::string findOutcomeFault(const std::string& call, const std::string& text)
{
    std::istringstream stream(text);
    for (std::string field; std::getline(stream, field, ',');) {
        if (std::string fault = findFieldFault(call, field); !fault.empty()) {
            return fault;
        }
    }
    return text.empty() || text.back() == ',' ? "an outcome is missing" : "";
}

} // namespace simulator
