#pragma once

#include "pic/PicDevice.h"
#include "pic/PicHexLines.h"

#include <cstdio>
#include <optional>

/// Reads a firmware file once, before its PIC is told anything: to its end, or to the first line
/// that can't be decoded, which the update reports at its place. Returns the lines that were read,
/// that one included; nothing after printing "Error: ..." if the update would refuse a record, or
/// if the file can't be read to its end or is too large.
///
/// Warns on standard error of program rows that don't follow one another, of a file without any or
/// without an end-of-file record, and of a line that can't be decoded.
std::optional<PicHexLines> readCheckedPicFile(std::FILE* firmwareFile, const PicDevice& device);
