#include "simulator/Bytes.h"

namespace simulator {

std::string toHex(const void* data, std::size_t size)
{
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : toBytes(data, size)) {
        text += {digits[byte >> 4], digits[byte & 0xF]};
    }
    return text;
}

Bytes fromHex(const std::string& digits)
{
    Bytes values;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        values.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    }
    return values;
}

std::uint32_t crc32(const Bytes& bytes)
{
    constexpr std::uint32_t polynomial = 0xEDB88320;
    std::uint32_t crc = 0xFFFFFFFF;
    for (const std::uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? polynomial : 0);
        }
    }
    return ~crc;
}

} // namespace simulator
