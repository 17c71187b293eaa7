#pragma once

#include "base/FileDescriptor.h"
#include "firmware/ImageFormat.h"

#include <cstdint>
#include <string>

/// A firmware image, read packet by packet. Each operation that reads returns false after printing
/// what failed.
class ImageReader {
public:
    bool open(const std::string& path);

    /// Reads and checks the header of the file, which is that of the first packet, too.
    bool readFileHeader();

    /// Reads the data behind the current header with one `read` and checks the packet.
    bool readPacketData();

    /// Reads the header of the next packet with one `read`.
    bool readNextHeader();

    /// Goes back to the first packet's data.
    void rewind();

    /// Data packets and end marker. 64 bits wide, since the header's count may be any number.
    std::uint64_t packetCount() const { return std::uint64_t{fileHeader.packetIndex} + 1; }

    const ImagePacket& current() const { return packet; }
    std::uint32_t currentNumber() const { return packetNumber; } ///< counted from 0
    bool atLastPacket() const { return std::uint64_t{packetNumber} + 1 == packetCount(); }

private:
    bool readAll(void* buffer, std::size_t size) const;
    bool fail(const char* format) const;

    FileDescriptor image;
    ImagePacketHeader fileHeader{};
    ImagePacket packet{};
    std::uint32_t packetNumber = 0;
};
