#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

// The firmware image is a sequence of packets: the data packets, each a header and 1024 data bytes,
// and an end marker, a header alone. Each packet is written unchanged to the programming device.

/// Header of one packet; unsigned 32-bit little-endian fields.
struct ImagePacketHeader {
    std::uint32_t packetType;  ///< an `ImagePacketType`
    std::uint32_t packetIndex; ///< first packet: number of data packets; others: position from 0
    std::uint32_t address;     ///< start address in the co-processor's address space
    std::uint32_t dataLength;  ///< data bytes behind the header
    std::uint32_t checksum;    ///< two's complement of the 8-bit sum of the data bytes
};
static_assert(std::endian::native == std::endian::little);
static_assert(sizeof(ImagePacketHeader) == 20);
static_assert(offsetof(ImagePacketHeader, packetType) == 0);
static_assert(offsetof(ImagePacketHeader, packetIndex) == 4);
static_assert(offsetof(ImagePacketHeader, address) == 8);
static_assert(offsetof(ImagePacketHeader, dataLength) == 12);
static_assert(offsetof(ImagePacketHeader, checksum) == 16);

enum ImagePacketType : std::uint32_t {
    firstDataPacket = 0xFEED001A,
    furtherDataPacket = 0xFEED001B,
    endMarkerPacket = 0xFEED001C,
};

inline constexpr std::uint32_t imageChunkSize = 1024; ///< data bytes of a data packet

/// One packet as it lies in the image and goes to the device.
struct ImagePacket {
    ImagePacketHeader header;
    std::array<std::uint8_t, imageChunkSize> data;
};
static_assert(sizeof(ImagePacket) == sizeof(ImagePacketHeader) + imageChunkSize);
static_assert(offsetof(ImagePacket, data) == sizeof(ImagePacketHeader));
