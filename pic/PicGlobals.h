#pragma once

#include <cstdint>

// State of the PIC update that the program exports under these names, for the common library to
// see. Only the PIC update writes them.

/// The `lc::MoxArmControl::PicUpdateCmdType` whose reply is awaited; `PicCmdNone` while there is
/// none.
extern std::int32_t Cmd;

/// Mode that the GPS PIC last reported, 0 to 255, or `gpsPicModeUnknown`.
extern std::int32_t GpsPicMode;

/// Version that the GPS PIC last reported; 0 before that.
extern std::uint32_t GpsPicVersion;

inline constexpr std::int32_t gpsPicModeUnknown = 254;

/// Sets the three globals to their values before an update.
void resetPicGlobals();
