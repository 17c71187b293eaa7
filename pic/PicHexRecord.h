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

/// One decoded line of a PIC HEX file. Its checksum is not verified. If the line is too short, it
/// has no fields.
class PicHexRecord {
public:
    /// Decodes a NUL-terminated line. Throws a constant string on bad input.
    explicit PicHexRecord(const char* line);

    /// Whether the line has fewer bytes than a record without data.
    [[nodiscard]] bool isTooShort() const { return !holds(intelHexRecordSize(0)); }

    [[nodiscard]] std::uint8_t type() const { return bytes[intelHexTypeOffset]; }

    /// The 16 bits in front of the type.
    [[nodiscard]] std::uint32_t address() const;

    /// What an extended address record says, in bits 31 to 16. Its two bytes count wherever they
    /// are, whatever the byte count is. Throws a constant string if they are not there.
    [[nodiscard]] std::uint32_t upperAddress() const;

    /// As many data bytes as the byte count says. Throws a constant string if there are fewer, or
    /// no checksum behind them.
    [[nodiscard]] std::span<const std::uint8_t> data() const;

private:
    [[nodiscard]] bool holds(std::size_t size) const
    {
        return static_cast<std::size_t>(count) >= size;
    }

    std::array<std::uint8_t, maxPicRecordBytes> bytes{};
    int count = 0;
};
