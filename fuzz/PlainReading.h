#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// The tool is held against a second reading of its rules that is as plain as can be: digit by
// digit, without buffers, and without the tool's own code.

/// The value of a hexadecimal digit, or -1.
inline int plainDigit(char digit)
{
    constexpr std::string_view digits = "0123456789abcdef0123456789ABCDEF";
    const std::size_t position = digits.find(digit);
    return position == std::string::npos ? -1 : static_cast<int>(position % 16);
}

/// The number in `count` bytes, the highest first.
inline std::uint32_t plainBigEndian(std::string_view bytes, std::size_t position, std::size_t count)
{
    std::uint32_t value = 0;
    for (const char byte : bytes.substr(position, count)) {
        value = value * 256 + static_cast<std::uint8_t>(byte);
    }
    return value;
}

/// The bytes of a line of a PIC HEX file, at most `most`. Throws a text.
inline std::string plainPicLine(const std::string& line, std::size_t most)
{
    if (line.empty() || line[0] != ':') {
        throw std::string("Invalid start character in HEX file.");
    }
    std::string bytes;
    int high = -1;
    for (std::size_t i = 1; bytes.size() < most && (i < line.size() || high != -1); ++i) {
        const char character = line[i]; // a NUL behind the last
        if (character == '\r' || character == '\n') {
            break;
        }
        const int digit = plainDigit(character);
        if (digit == -1) {
            throw std::string("Invalid byte format in data");
        }
        if (high != -1) {
            bytes += static_cast<char>(high * 16 + digit);
        }
        high = high == -1 ? digit : -1;
    }
    return bytes;
}
