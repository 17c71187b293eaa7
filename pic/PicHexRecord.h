#pragma once

#include "base/IntelHex.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

inline constexpr std::size_t maxPicLineLength = 200; ///< characters, the line feed included
inline constexpr int maxPicRecordBytes = 100;

/// Decodes a NUL-terminated line of a PIC HEX file, `length` characters long, into at most `max`
/// bytes at `out` and stores their number in `count`. What stands behind a line end is not looked
/// at. Throws a constant string if the line does not begin with a colon or is no hexadecimal text.
void decodeHexLine(const char* line, int length, std::uint8_t* out, int* count, int max);

/// One decoded line of a PIC HEX file. Neither its checksum nor its byte count is verified.
class PicHexRecord {
public:
    /// Decodes a NUL-terminated line. Throws a constant string on bad input.
    explicit PicHexRecord(const char* line);

    /// Whether the line has fewer bytes than a record without data.
    bool isTooShort() const;

    std::uint8_t type() const { return bytes[intelHexTypeOffset]; }

    /// The number of data bytes that the record announces.
    std::uint8_t announcedLength() const { return bytes[intelHexLengthOffset]; }

    /// The 16-bit load offset.
    std::uint16_t offset() const;

    /// The bytes that were decoded behind the header: data, then the checksum. For lines that are
    /// not too short.
    std::span<const std::uint8_t> dataAndChecksum() const;

private:
    std::array<std::uint8_t, maxPicRecordBytes> bytes{};
    int count = 0;
};
