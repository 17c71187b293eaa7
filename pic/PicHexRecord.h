#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

inline constexpr int maxPicRecordBytes = 100;

/// Decodes one NUL-terminated line of a PIC HEX file of `length` characters into at most `max`
/// bytes at `out` and stores their number in `count`. Throws a constant string on bad input.
void decodeHexLine(const char* line, int length, std::uint8_t* out, int* count, int max);

/// One decoded line of a PIC HEX file. Neither its checksum nor its byte count is verified.
class PicHexRecord {
public:
    enum Type : std::uint8_t {
        data = 0,
        endOfFile = 1,
        extendedLinearAddress = 4,
    };

    /// Decodes a NUL-terminated line. Throws a constant string on bad input.
    explicit PicHexRecord(const char* line);

    /// Whether the line has fewer bytes than a record without data.
    bool isTooShort() const;

    std::uint8_t type() const { return bytes[3]; }

    /// The 16-bit load offset.
    std::uint16_t offset() const;

    /// The upper 16 bits of the addresses behind an extended linear address record. Throws a
    /// constant string if the line has no room for them.
    std::uint32_t upperAddress() const;

    /// As many data bytes as the record's byte count says. Throws a constant string if fewer were
    /// decoded.
    std::span<const std::uint8_t> dataBytes() const;

private:
    std::array<std::uint8_t, maxPicRecordBytes> bytes{};
    int count = 0;
};
