#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

inline constexpr int notHexDigit = -1;

/// Value of a hexadecimal digit of either case, or `notHexDigit`, which is negative.
constexpr int hexDigitValue(char digit)
{
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    if (digit >= 'A' && digit <= 'F') {
        return digit - 'A' + 10;
    }
    return notHexDigit;
}

static_assert(std::endian::native == std::endian::little);

/// Values of all pairs of characters, by the pair as it lies in little-endian memory; `notHexDigit`
/// where one of them is no digit.
inline constexpr std::array<std::int16_t, 0x10000> hexPairTable = [] {
    constexpr std::string_view digits = "0123456789abcdefABCDEF";
    std::array<std::int16_t, 0x10000> table{};
    table.fill(notHexDigit);
    for (const char high : digits) {
        for (const char low : digits) {
            table[static_cast<std::size_t>(low << 8 | high)] =
                static_cast<std::int16_t>(hexDigitValue(high) << 4 | hexDigitValue(low));
        }
    }
    return table;
}();

/// Value of the two hexadecimal digits at `text`; negative if one of them is none.
inline int hexPairValue(const char* text)
{
    std::uint16_t pair = 0;
    std::memcpy(&pair, text, sizeof(pair));
    return hexPairTable[pair];
}

/// Whether the character ends a line of a HEX file.
constexpr bool isLineEnd(char character)
{
    return character == '\r' || character == '\n';
}
