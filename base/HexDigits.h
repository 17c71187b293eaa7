#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

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

/// Decodes `count` pairs of hexadecimal digits into as many bytes at `out`, at most 1020. Returns
/// the bytes' sum modulo 256, or nothing if a character was no digit; `out` holds nothing of use
/// then.
///
/// Eight digits are decoded at once, each in a byte of a 64-bit word. Adding 0x80 - N to a byte
/// below 0x80 sets its top bit if it is N or more, without a carry into the next byte. A byte of
/// 0x80 and more never passes for a digit.
inline std::optional<std::uint8_t> decodeHexDigits(const char* text, std::size_t count,
                                                   std::uint8_t* out)
{
    static_assert(std::endian::native == std::endian::little);
    constexpr std::uint64_t each = 0x0101'0101'0101'0101;
    constexpr auto from = [](std::uint64_t word, char least) {
        return word + (0x80 - static_cast<std::uint64_t>(least)) * each;
    };
    constexpr std::size_t groupPairs = 4;
    std::uint64_t areDigits = 0x80 * each; // by their top bits
    std::uint64_t sums = 0;                // in four lanes of 16 bits
    for (; count >= groupPairs; count -= groupPairs) {
        std::uint64_t word = 0;
        std::memcpy(&word, text, sizeof(word));
        const std::uint64_t lowered = word | 0x20 * each;
        const std::uint64_t numerals = from(word, '0') & ~from(word, '9' + 1);
        const std::uint64_t letters = from(lowered, 'a') & ~from(lowered, 'f' + 1);
        areDigits &= numerals | letters;
        // Letters have bit 6 set and are worth 9 more than their low four bits.
        std::uint64_t values = (word & 0x0F * each) + 9 * (word >> 6 & each);
        values = (values << 4 | values >> 8) & 0x00FF'00FF'00FF'00FF;
        sums += values;
        values = (values | values >> 8) & 0x0000'FFFF'0000'FFFF;
        const auto packed = static_cast<std::uint32_t>(values | values >> 16);
        std::memcpy(out, &packed, sizeof(packed));
        text += 2 * groupPairs;
        out += groupPairs;
    }
    int signs = 0;
    for (; count != 0; --count) {
        const int value = hexPairValue(text);
        signs |= value;
        sums += static_cast<std::uint8_t>(value);
        *out++ = static_cast<std::uint8_t>(value);
        text += 2;
    }
    if (areDigits != 0x80 * each || signs < 0) {
        return std::nullopt;
    }
    return static_cast<std::uint8_t>(sums + (sums >> 16) + (sums >> 32) + (sums >> 48));
}
