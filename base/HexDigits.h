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

/// Pairs that `decodeHexDigits` decodes at once.
inline constexpr std::size_t hexGroupPairs = 8;

/// Decodes `count` pairs of hexadecimal digits, from `hexGroupPairs` to 2048, into as many bytes at
/// `out`. Returns the bytes' sum modulo 256, or nothing if a character was no digit; `out` holds
/// nothing of use then.
///
/// A group's digits are the bytes of two 64-bit words, which share a register where the processor
/// has vectors. Adding 0x80 - N to a byte below 0x80 sets its top bit if it is N or more, without a
/// carry into the next byte. A byte of 0x80 and more never passes for a digit.
inline std::optional<std::uint8_t> decodeHexDigits(const char* text, std::size_t count,
                                                   std::uint8_t* out)
{
    static_assert(std::endian::native == std::endian::little);
    using Words [[gnu::vector_size(2 * hexGroupPairs)]] = std::uint64_t;
    using Pairs [[gnu::vector_size(2 * hexGroupPairs)]] = std::uint16_t;
    using Bytes [[gnu::vector_size(hexGroupPairs)]] = std::uint8_t;
    constexpr std::uint64_t each = 0x0101'0101'0101'0101;
    constexpr std::uint64_t from0 = (0x80 - '0') * each;
    constexpr std::uint64_t above9 = (0x7F - '9') * each;
    constexpr std::uint64_t fromA = (0x80 - 'a') * each;
    constexpr std::uint64_t aboveF = (0x7F - 'f') * each;
    Words areDigits = ~Words{}; // by their top bits
    const auto decodeGroup = [&](std::size_t first) {
        Words digits;
        std::memcpy(&digits, text + 2 * first, sizeof(digits));
        const Words lowered = digits | 0x20 * each;
        const Words numerals = (digits + from0) & ~(digits + above9);
        const Words letters = (lowered + fromA) & ~(lowered + aboveF);
        areDigits &= numerals | letters;
        // Letters have bit 6 set and are worth 9 more than their low four bits.
        const Words values = (digits & 0x0F * each) + 9 * (digits >> 6 & each);
        const Words pairs = (values << 4 | values >> 8) & 0x00FF'00FF'00FF'00FF;
        const Bytes bytes = __builtin_convertvector(std::bit_cast<Pairs>(pairs), Bytes);
        std::memcpy(out + first, &bytes, sizeof(bytes));
        return pairs;
    };
    Words sums{}; // in lanes of 16 bits
    std::size_t done = 0;
    for (; done + hexGroupPairs < count; done += hexGroupPairs) {
        sums += decodeGroup(done);
    }
    // What is left is decoded together with the pairs in front of it, which count only once.
    static constexpr std::array<std::uint16_t, 2 * hexGroupPairs> counted{
        0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    Words mask;
    std::memcpy(&mask, &counted[count - done], sizeof(mask));
    sums += decodeGroup(count - hexGroupPairs) & mask;
    constexpr std::uint64_t topBits = 0x80 * each;
    if ((areDigits[0] & areDigits[1] & topBits) != topBits) {
        return std::nullopt;
    }
    const std::uint64_t sum = sums[0] + sums[1];
    return static_cast<std::uint8_t>(sum + (sum >> 16) + (sum >> 32) + (sum >> 48));
}
