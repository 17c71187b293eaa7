#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// The tool is held against a second reading of its rules that is as plain as can be: digit by
// digit, without buffers, and without the tool's own code.

/// The value of a hexadecimal digit, or -1.
inline int plainDigit(char digit)
{
    constexpr std::string_view digits = "0123456789abcdef0123456789ABCDEF";
    const std::size_t position = digits.find(digit);
    return position == std::string::npos ? -1 : static_cast<int>(position % 16);
}

/// The little-endian number in the four bytes at `position`.
inline std::uint32_t plainWord(const std::string& bytes, std::size_t position)
{
    std::uint32_t value = 0;
    for (std::size_t i = 4; i-- > 0;) {
        value = value * 256 + static_cast<std::uint8_t>(bytes[position + i]);
    }
    return value;
}

/// A record of a block, as far as it lies in the block.
struct PlainRecord {
    std::uint32_t tag;
    std::string payload;
    bool isCutShort;
};

inline std::vector<PlainRecord> plainRecords(const std::string& block)
{
    std::vector<PlainRecord> records;
    for (std::size_t i = 0; i + 8 < block.size(); i += 8 + records.back().payload.size()) {
        const std::uint32_t length = plainWord(block, i + 4);
        const std::string payload = block.substr(i + 8, length);
        records.push_back({plainWord(block, i), payload, payload.size() < length});
    }
    return records;
}

/// A line of a PIC HEX file, read digit by digit.
struct PlainPicLine {
    std::vector<std::uint8_t> bytes;
    std::string failure; ///< empty if there is none

    PlainPicLine(const std::string& line, std::size_t most)
    {
        if (line.empty() || line[0] != ':') {
            failure = "Invalid start character in HEX file.";
            return;
        }
        int high = -1;
        for (std::size_t i = 1; bytes.size() < most && (i < line.size() || high != -1); ++i) {
            const char character = i < line.size() ? line[i] : '\0';
            if (character == '\r' || character == '\n') {
                return;
            }
            const int digit = plainDigit(character);
            if (digit == -1) {
                failure = "Invalid byte format in data";
                return;
            }
            if (high != -1) {
                bytes.push_back(static_cast<std::uint8_t>(high * 16 + digit));
            }
            high = high != -1 ? -1 : digit;
        }
    }
};
