#pragma once

#include <cstdint>

namespace ArmMox {

/// State of one keypad LED. The library gives the values their meaning; the tool prints them and
/// sets 0 or 1, as the sonde is off or on.
enum LedStates : std::int32_t {};

} // namespace ArmMox
