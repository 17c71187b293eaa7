#pragma once

#include <cstdint>

namespace ArmMox {

/// State of one keypad LED. The library gives the values their meaning; 0 is off and 1 is on.
enum LedStates : std::int32_t {};

} // namespace ArmMox
