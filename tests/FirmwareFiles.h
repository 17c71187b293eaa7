#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// Firmware files as the tests make them, byte by byte and without the tool's own code.

/// One line of an Intel HEX file.
std::string hexRecord(unsigned int type, unsigned int address, const std::string& data);

inline const std::string hexEnd = ":00000001FF\n";

/// Data records of `width` bytes each, with an extended linear address record in front of each 64
/// KiB.
std::string hexRows(std::uint32_t address, const std::string& data, std::size_t width = 16);

/// Bytes that look random and are the same in each run.
std::string makeData(std::size_t size, unsigned int seed = 1);

/// What makes the bytes add up to 0 modulo 256.
unsigned int checksumOf(const std::string& bytes);

std::string bigEndian16(unsigned int value);
std::string littleEndian32(std::uint32_t value);
std::string words(const std::vector<std::uint32_t>& values); ///< little-endian

inline constexpr std::size_t chunkSize = 1024;            ///< data bytes of a packet
inline constexpr std::size_t packetSize = 20 + chunkSize; ///< of a firmware image

/// One packet of a firmware image; the checksum is right.
std::string imagePacket(std::uint32_t type, std::uint32_t index, std::uint32_t address,
                        const std::string& data);

/// A whole image of the chunks of 1024 bytes that begin at `address`.
std::string makeImage(std::uint32_t address, const std::string& data);

/// Hexadecimal digits, in lower case, and back.
std::string toHex(const std::string& bytes);
std::string fromHex(const std::string& digits);
