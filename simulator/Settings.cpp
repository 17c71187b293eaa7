#include "simulator/Settings.h"

#include "simulator/Outcome.h"

#include <algorithm>
#include <utility>

namespace simulator {

namespace {

/// A check that takes just these words.
auto oneOf(std::vector<std::string> words)
{
    return [words = std::move(words)](const std::string& value) {
        return std::find(words.begin(), words.end(), value) != words.end();
    };
}

std::optional<std::uint32_t> parseWord(const std::string& text, std::uint32_t limit = UINT32_MAX)
{
    const auto number = parseNumber(text);
    if (!number || *number < 0 || *number > limit) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(*number);
}

} // namespace

const std::vector<SettingRule>& settingRules()
{
    static const std::vector<SettingRule> rules{
        {"pic", "normal", "normal, silent, late or refuse",
         oneOf({"normal", "silent", "late", "refuse"})},
        {"pic-version", "1.0.0", "three numbers, such as 3.1.20",
         [](const std::string& value) { return parseVersions(value).has_value(); }},
        {"gps-mode", "1", "a number up to 255",
         [](const std::string& value) { return parseWord(value, 255).has_value(); }},
        {"gps-version", "1", "a number of 32 bits",
         [](const std::string& value) { return parseWord(value).has_value(); }},
        {"flash", "0-0xFFFFFFFF", "FIRST-LAST, addresses",
         [](const std::string& value) { return parseRange(value).has_value(); }},
        {"clock", "real", "real or fast", oneOf({"real", "fast"})},
        {"globals", "hidden", "hidden or shown", oneOf({"hidden", "shown"})},
        {"fail", "none", "\"K OUTCOME\", or none",
         [](const std::string& value) { return value == "none" || parseFailure(value); }},
    };
    return rules;
}

std::optional<std::array<std::uint32_t, 3>> parseVersions(const std::string& text)
{
    std::array<std::uint32_t, 3> versions{};
    std::size_t start = 0;
    for (std::uint32_t& version : versions) {
        const bool isLast = &version == &versions.back();
        const std::size_t end = isLast ? text.size() : text.find('.', start);
        const auto number = parseWord(text.substr(start, end - start), 0xFFFF);
        if (end == std::string::npos || !number) {
            return std::nullopt;
        }
        version = *number;
        start = end + 1;
    }
    return versions;
}

std::optional<AddressRange> parseRange(const std::string& text)
{
    const std::size_t dash = text.find('-');
    if (dash == std::string::npos) {
        return std::nullopt;
    }
    const auto first = parseWord(text.substr(0, dash));
    const auto last = parseWord(text.substr(dash + 1));
    if (!first || !last || *first > *last) {
        return std::nullopt;
    }
    return AddressRange{*first, *last};
}

std::optional<PlannedFailure> parseFailure(const std::string& text)
{
    const std::size_t blank = text.find(' ');
    if (blank == std::string::npos) {
        return std::nullopt;
    }
    const auto callNumber = parseWord(text.substr(0, blank));
    const std::string outcome = text.substr(blank + 1);
    if (!callNumber || *callNumber == 0 || !findOutcomeFault("", outcome).empty()) {
        return std::nullopt;
    }
    return PlannedFailure{*callNumber, outcome};
}

} // namespace simulator
