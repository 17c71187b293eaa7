#pragma once

#include "pic/PicHexRecord.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <optional>

/// Reads a PIC HEX file line by line. A line of more than 200 characters, its line feed included,
/// comes as several.
class PicHexReader {
public:
    /// `firmwareFile` is open and outlives the reader.
    explicit PicHexReader(std::FILE* firmwareFile) : file(firmwareFile) {}

    /// The next line, or nothing at the end of the file or when it can't be read. Throws a constant
    /// string if the line can't be decoded.
    std::optional<PicHexRecord> next();

private:
    static constexpr std::size_t maxLineLength = 200; ///< characters, the line feed included

    std::FILE* file;
    std::array<char, maxLineLength + 1> line{};
};
