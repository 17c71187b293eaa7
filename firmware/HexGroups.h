#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

/// Decodes hexadecimal digits in groups of eight pairs and keeps account of them.
///
/// The digits of a group are the bytes of two 64-bit words in a GNU vector, so that they share a
/// register where the processor has vectors. Adding 0x80 - N to a byte below 0x80 sets its top bit
/// if it is N or more, without a carry into the next byte. A byte of 0x80 and more never passes for
/// a digit.
class HexGroups {
public:
    static constexpr std::size_t groupPairs = 8;

    /// Decodes the 16 digits at `text` into eight bytes at `out`. The last `counted` of them count
    /// in the sum.
    void decode(const char* text, std::uint8_t* out, std::size_t counted = groupPairs)
    {
        Words digits;
        std::memcpy(&digits, text, sizeof(digits));
        checkDigits(digits);
        // Letters have bit 6 set and are worth 9 more than their low four bits.
        const Words values = (digits & 0x0F * each) + 9 * (digits >> 6 & each);
        const Words bytes = (values << 4 | values >> 8) & 0x00FF'00FF'00FF'00FF;
        Lanes lanes;
        std::memcpy(&lanes, &bytes, sizeof(lanes));
        const Packed packed = __builtin_convertvector(lanes, Packed);
        std::memcpy(out, &packed, sizeof(packed));
        Words counting;
        std::memcpy(&counting, &lastLanes[counted], sizeof(counting));
        sums += bytes & counting;
    }

    /// Sum of the bytes modulo 256, of at most 128 groups; or nothing if a character was no digit.
    [[nodiscard]] std::optional<std::uint8_t> sum() const
    {
        constexpr std::uint64_t topBits = 0x80 * each;
        if ((areDigits[0] & areDigits[1] & topBits) != topBits) {
            return std::nullopt;
        }
        const std::uint64_t lanes = sums[0] + sums[1];
        return static_cast<std::uint8_t>(lanes + (lanes >> 16) + (lanes >> 32) + (lanes >> 48));
    }

private:
    using Words [[gnu::vector_size(2 * groupPairs)]] = std::uint64_t;
    using Lanes [[gnu::vector_size(2 * groupPairs)]] = std::uint16_t; // a byte each
    using Packed [[gnu::vector_size(groupPairs)]] = std::uint8_t;
    static_assert(std::endian::native == std::endian::little);

    static constexpr std::uint64_t each = 0x0101'0101'0101'0101;

    /// From index N on there are lanes of which the last N are set.
    static constexpr std::array<std::uint16_t, 2 * groupPairs> lastLanes{
        0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

    void checkDigits(const Words& digits)
    {
        const Words lowered = digits | 0x20 * each;
        const Words numerals = (digits + (0x80 - '0') * each) & ~(digits + (0x7F - '9') * each);
        const Words letters = (lowered + (0x80 - 'a') * each) & ~(lowered + (0x7F - 'f') * each);
        areDigits &= numerals | letters;
    }

    Words areDigits = ~Words{}; ///< by the top bits of the bytes
    Words sums{};               ///< of the bytes that count, in lanes of 16 bits
};

/// Decodes `count` pairs of hexadecimal digits, from 8 to 1024, into as many bytes at `out`.
/// Returns the bytes' sum modulo 256, or nothing if a character was no digit; `out` holds nothing
/// of use then. The last pairs are decoded together with some in front of them.
inline std::optional<std::uint8_t> decodeHexDigits(const char* text, std::size_t count,
                                                   std::uint8_t* out)
{
    HexGroups groups;
    std::size_t done = 0;
    for (; done + HexGroups::groupPairs < count; done += HexGroups::groupPairs) {
        groups.decode(text + 2 * done, out + done);
    }
    const std::size_t last = count - HexGroups::groupPairs;
    groups.decode(text + 2 * last, out + last, count - done);
    return groups.sum();
}
