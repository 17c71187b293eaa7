#pragma once

#include <cstdint>
#include <numeric>
#include <span>

/// Sum of the bytes modulo 256.
inline std::uint8_t byteSum(std::span<const std::uint8_t> bytes)
{
    return static_cast<std::uint8_t>(std::accumulate(bytes.begin(), bytes.end(), 0U));
}

/// What makes bytes of this sum add up to 0 modulo 256.
constexpr std::uint8_t twosComplement(std::uint8_t sum)
{
    return static_cast<std::uint8_t>(0U - sum);
}

/// Two's complement, modulo 256, of the sum of the bytes.
inline std::uint8_t twosComplementChecksum(std::span<const std::uint8_t> bytes)
{
    return twosComplement(byteSum(bytes));
}
