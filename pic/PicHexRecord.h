#pragma once

#include "base/IntelHex.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

inline constexpr int maxPicRecordBytes = 100;

/// Decodes a line of a PIC HEX file, which is NUL-terminated, has `length` characters and begins
/// with a colon, into at most `max` bytes at `out` and stores their number in `count`. A line end
/// or the end of the text ends it; what stands behind a line end is not looked at. Throws a
/// constant string on bad input.
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

    // The rest is for lines that are not too short.

    /// The number of bytes that were decoded behind the header, the checksum included.
    std::size_t decodedBehindHeader() const;

    /// The first `size` bytes behind the header, which were decoded.
    std::span<const std::uint8_t> behindHeader(std::size_t size) const;

private:
    std::array<std::uint8_t, maxPicRecordBytes> bytes{};
    int count = 0;
};
