#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

// Firmware files as the tests make them, byte by byte and without the tool's own code.

// Of a firmware image, in bytes.
inline constexpr std::size_t chunkSize = 1024;  ///< data of a packet
inline constexpr std::size_t packetSize = 1044; ///< with the header

inline const std::string hexEnd = ":00000001FF\n";

/// Pairs of the given hexadecimal digits, and back.
inline std::string toHex(const std::string& bytes, const char* digits = "0123456789abcdef")
{
    std::string text;
    for (const char byte : bytes) {
        text += {digits[byte >> 4 & 0xF], digits[byte & 0xF]};
    }
    return text;
}

inline std::string fromHex(const std::string& digits)
{
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

inline std::string bigEndian16(unsigned int value)
{
    return {static_cast<char>(value >> 8), static_cast<char>(value)};
}

/// Numbers of 32 bits, little-endian as all machines that this runs on.
inline std::string words(const std::vector<std::uint32_t>& values)
{
    return {reinterpret_cast<const char*>(values.data()), 4 * values.size()};
}

/// What makes the bytes add up to 0 modulo 256.
inline unsigned int checksumOf(const std::string& bytes)
{
    return static_cast<unsigned int>(-std::accumulate(bytes.begin(), bytes.end(), 0)) & 0xFF;
}

/// One line of an Intel HEX file.
inline std::string hexRecord(unsigned int type, unsigned int address, const std::string& data)
{
    const std::string bytes = std::string(1, static_cast<char>(data.size())) +
                              bigEndian16(address) + static_cast<char>(type) + data;
    const std::string all = bytes + static_cast<char>(checksumOf(bytes));
    return ":" + toHex(all, "0123456789ABCDEF") + "\n";
}

/// Data records of `width` bytes each, with an extended linear address record in front of each 64
/// KiB.
inline std::string hexRows(std::uint32_t address, const std::string& data, std::size_t width = 16)
{
    std::string text;
    for (std::size_t offset = 0; offset < data.size(); offset += width) {
        const std::uint32_t rowAddress = address + static_cast<std::uint32_t>(offset);
        if (offset == 0 || rowAddress % 0x10000 == 0) {
            text += hexRecord(4, 0, bigEndian16(rowAddress >> 16));
        }
        text += hexRecord(0, rowAddress & 0xFFFF, data.substr(offset, width));
    }
    return text;
}

/// Bytes that look random and are the same in each run.
inline std::string makeData(std::size_t size)
{
    std::string data(size, '\0');
    std::generate(data.begin(), data.end(), std::minstd_rand());
    return data;
}

/// One packet of a firmware image; the checksum is right.
inline std::string imagePacket(std::uint32_t type, std::uint32_t index, std::uint32_t address,
                               const std::string& data)
{
    return words({type, index, address, std::uint32_t(data.size()), checksumOf(data)}) + data;
}

/// Addresses and the data from there on, of one chunk or several; the last one is filled up.
using Chunks = std::vector<std::pair<std::uint32_t, std::string>>;

/// The image of the chunks, or what a conversion leaves that fails behind them.
inline std::string imageOf(const Chunks& chunks, bool isComplete = true)
{
    std::string image;
    std::uint32_t count = 0;
    for (const auto& [address, data] : chunks) {
        for (std::uint32_t offset = 0; offset < data.size(); offset += chunkSize) {
            std::string chunk = data.substr(offset, chunkSize);
            chunk.resize(chunkSize, '\xFF');
            image +=
                imagePacket(count == 0 ? 0xFEED001A : 0xFEED001B, count, address + offset, chunk);
            ++count;
        }
    }
    return isComplete ? image.replace(4, 4, words({count})) + imagePacket(0xFEED001C, 0, 0, "")
                      : image;
}
