#pragma once

#include <cstddef>
#include <cstdint>

// An Intel HEX file has one record a line: a colon, then in hexadecimal digits the number of data
// bytes, a big-endian 16-bit address, the type, the data, and a checksum that makes all bytes add
// up to 0 modulo 256.

enum class IntelHexType : std::uint8_t {
    data = 0,
    endOfFile = 1,
    extendedSegmentAddress = 2,
    startSegmentAddress = 3,
    extendedLinearAddress = 4, ///< the upper 16 bits of the addresses that follow
    startLinearAddress = 5,    ///< entry point, 32 bits
};

// Offsets in a decoded record.
inline constexpr std::size_t intelHexLengthOffset = 0;
inline constexpr std::size_t intelHexAddressOffset = 1;
inline constexpr std::size_t intelHexTypeOffset = 3;
inline constexpr std::size_t intelHexDataOffset = 4; ///< behind the header

// Sizes, in bytes.
inline constexpr std::size_t intelHexHeaderSize = intelHexDataOffset;
inline constexpr std::size_t intelHexChecksumSize = 1;
inline constexpr std::size_t extendedLinearAddressSize = 2;
inline constexpr std::size_t startLinearAddressSize = 4;

/// Bytes of a record with this number of data bytes.
constexpr std::size_t intelHexRecordSize(std::size_t dataBytes)
{
    return intelHexHeaderSize + dataBytes + intelHexChecksumSize;
}
