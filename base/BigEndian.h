#pragma once

#include <cstdint>

/// The number in the two bytes at `bytes`, the high byte first.
constexpr std::uint16_t readBigEndian16(const std::uint8_t* bytes)
{
    return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

/// The number in the four bytes at `bytes`, the highest byte first.
constexpr std::uint32_t readBigEndian32(const std::uint8_t* bytes)
{
    return std::uint32_t{readBigEndian16(bytes)} << 16 | readBigEndian16(bytes + 2);
}

/// Stores a number in the two bytes at `bytes`, the high byte first.
constexpr void writeBigEndian16(std::uint8_t* bytes, std::uint16_t value)
{
    bytes[0] = static_cast<std::uint8_t>(value >> 8);
    bytes[1] = static_cast<std::uint8_t>(value);
}

/// Stores a number in the four bytes at `bytes`, the highest byte first.
constexpr void writeBigEndian32(std::uint8_t* bytes, std::uint32_t value)
{
    writeBigEndian16(bytes, static_cast<std::uint16_t>(value >> 16));
    writeBigEndian16(bytes + 2, static_cast<std::uint16_t>(value));
}
