#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace simulator {

using Bytes = std::vector<std::uint8_t>;

std::string toHex(const std::uint8_t* bytes, std::size_t count);

/// The bytes that pairs of hexadecimal digits stand for.
Bytes fromHex(const std::string& digits);

/// CRC-32 as `gzip` and `crc32` compute it.
std::uint32_t crc32(const Bytes& bytes);

} // namespace simulator
