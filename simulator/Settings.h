#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace simulator {

struct SettingRule {
    const char* name;
    const char* initial;
    const char* form; ///< what a value looks like, for the user
    std::function<bool(const std::string& value)> accepts;
};

/// All settings.
const std::vector<SettingRule>& settingRules();

/// Three version numbers of 16 bits, such as 3.1.20.
std::optional<std::array<std::uint32_t, 3>> parseVersions(const std::string& text);

struct AddressRange {
    std::uint32_t first;
    std::uint32_t last;
};

/// FIRST-LAST.
std::optional<AddressRange> parseRange(const std::string& text);

/// The number of a call and how it ends: "K OUTCOME".
struct PlannedFailure {
    unsigned long callNumber;
    std::string outcome;
};
std::optional<PlannedFailure> parseFailure(const std::string& text);

} // namespace simulator
