#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

inline constexpr int notHexDigit = -1;

/// Values of all characters as hexadecimal digits of either case; `notHexDigit` for the others.
inline constexpr std::array<std::int8_t, 256> hexDigitTable = [] {
    constexpr int firstLetter = 10;
    std::array<std::int8_t, 256> table{};
    table.fill(notHexDigit);
    for (std::int8_t value = 0; value < firstLetter; ++value) {
        table[static_cast<std::size_t>('0' + value)] = value;
    }
    for (std::int8_t value = firstLetter; value < 16; ++value) {
        table[static_cast<std::size_t>('a' + value - firstLetter)] = value;
        table[static_cast<std::size_t>('A' + value - firstLetter)] = value;
    }
    return table;
}();

/// Value of a hexadecimal digit of either case, or `notHexDigit`, which is negative.
constexpr int hexDigitValue(char digit)
{
    return hexDigitTable[static_cast<unsigned char>(digit)];
}

/// Value of the two hexadecimal digits at `text`; negative if one of them is none.
constexpr int hexPairValue(const char* text)
{
    return hexDigitValue(text[0]) * 16 | hexDigitValue(text[1]);
}

/// Whether the character ends a line of a HEX file.
constexpr bool isLineEnd(char character)
{
    return character == '\r' || character == '\n';
}
