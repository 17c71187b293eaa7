#pragma once

#include "lc/MoxArmControl.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

/// What the name of a PIC firmware file says.
struct PicFileName {
    lc::MoxArmControl::PicUpdateDevType device;
    std::array<std::uint16_t, 3> versions;
};

/// Reads target and versions from the first 199 characters of a path, directories included. Returns
/// nothing if they don't follow one of the two forms:
/// "kt4100_gps", "_v" and up to three numbers, or "orvel_", the device's token, "user_" and three
/// numbers; numbers are separated by "_" and keep their low 16 bits. A missing number counts as 0.
/// The path holds ".hex" as well. The name for debugging stands alone and has no versions.
std::optional<PicFileName> parsePicFileName(const std::string& path);
