#pragma once

#include <cstdint>
#include <span>

/// Two's complement, modulo 256, of the sum of the bytes: the value that makes them add up to 0.
inline std::uint8_t twosComplementChecksum(std::span<const std::uint8_t> bytes)
{
    unsigned int sum = 0;
    for (const std::uint8_t byte : bytes) {
        sum += byte;
    }
    return static_cast<std::uint8_t>(0U - sum);
}
