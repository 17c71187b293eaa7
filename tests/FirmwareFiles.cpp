#include "tests/FirmwareFiles.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <numeric>
#include <random>

unsigned int checksumOf(const std::string& bytes)
{
    return -std::accumulate(bytes.begin(), bytes.end(), 0U,
                            [](unsigned int sum, unsigned char byte) { return sum + byte; }) &
           0xFF;
}

std::string toHex(const std::string& bytes)
{
    std::string digits;
    for (const char byte : bytes) {
        char pair[3];
        std::snprintf(pair, sizeof(pair), "%02x", static_cast<unsigned char>(byte));
        digits += pair;
    }
    return digits;
}

std::string fromHex(const std::string& digits)
{
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

std::string bigEndian16(unsigned int value)
{
    return {static_cast<char>(value >> 8), static_cast<char>(value)};
}

std::string littleEndian32(std::uint32_t value)
{
    return {static_cast<char>(value), static_cast<char>(value >> 8), static_cast<char>(value >> 16),
            static_cast<char>(value >> 24)};
}

std::string words(const std::vector<std::uint32_t>& values)
{
    std::string bytes;
    for (const std::uint32_t value : values) {
        bytes += littleEndian32(value);
    }
    return bytes;
}

std::string hexRecord(unsigned int type, unsigned int address, const std::string& data)
{
    const std::string bytes = std::string(1, static_cast<char>(data.size())) +
                              bigEndian16(address) + static_cast<char>(type) + data;
    std::string digits = toHex(bytes + static_cast<char>(checksumOf(bytes)));
    std::transform(digits.begin(), digits.end(), digits.begin(), ::toupper);
    return ":" + digits + "\n";
}

std::string hexRows(std::uint32_t address, const std::string& data, std::size_t width)
{
    std::string text;
    for (std::size_t offset = 0; offset < data.size();) {
        const std::uint32_t rowAddress = address + static_cast<std::uint32_t>(offset);
        if (offset == 0 || rowAddress % 0x10000 == 0) {
            text += hexRecord(4, 0, bigEndian16(rowAddress >> 16));
        }
        const std::size_t size =
            std::min<std::size_t>({width, data.size() - offset, 0x10000 - rowAddress % 0x10000});
        text += hexRecord(0, rowAddress & 0xFFFF, data.substr(offset, size));
        offset += size;
    }
    return text;
}

std::string makeData(std::size_t size, unsigned int seed)
{
    std::mt19937 generator(seed);
    std::string data(size, '\0');
    std::generate(data.begin(), data.end(), [&] { return static_cast<char>(generator()); });
    return data;
}

std::string imagePacket(std::uint32_t type, std::uint32_t index, std::uint32_t address,
                        const std::string& data)
{
    return words(
               {type, index, address, static_cast<std::uint32_t>(data.size()), checksumOf(data)}) +
           data;
}

std::string makeImage(std::uint32_t address, const std::string& data)
{
    const auto count = static_cast<std::uint32_t>(data.size() / chunkSize);
    std::string image = imagePacket(0xFEED001A, count, address, data.substr(0, chunkSize));
    for (std::uint32_t i = 1; i < count; ++i) {
        image +=
            imagePacket(0xFEED001B, i, address + i * 1024, data.substr(i * chunkSize, chunkSize));
    }
    return image + imagePacket(0xFEED001C, 0, 0, "");
}
