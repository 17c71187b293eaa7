#pragma once

#include "base/FileDescriptor.h"
#include "firmware/ImageFormat.h"

#include <cstddef>
#include <cstdint>
#include <string>

/// A firmware image, read packet by packet. Each operation that reads returns false after printing
/// what failed.
class ImageReader {
public:
    bool open(const std::string& path);

    /// Reads and checks the header of the file, which is that of the first packet, too.
    bool readFileHeader();

    /// Goes back to the first packet's data.
    void rewind();

    /// Data packets and end marker. 64 bits wide, since the header's count may be any number.
    [[nodiscard]] std::uint64_t packetCount() const
    {
        return std::uint64_t{fileHeader.packetIndex} + 1;
    }

    /// Reads the rest of the image, from the first packet's data on: checks each packet and calls
    /// `handle` with it and its number, counted from 0. A false result of `handle` ends the walk.
    /// Returns whether all packets were read and handled.
    template <class Handle>
    bool walkPackets(Handle handle);

private:
    bool readPacketData();
    bool readNextHeader();
    bool readAll(void* buffer, std::size_t size) const;
    [[nodiscard]] int packetNumber() const
    {
        return static_cast<int>(packetIndex);
    } ///< as it is printed

    FileDescriptor image;
    ImagePacketHeader fileHeader{};
    ImagePacket packet{};
    std::uint32_t packetIndex = 0;
};

template <class Handle>
bool ImageReader::walkPackets(Handle handle)
{
    for (;;) {
        if (!readPacketData() || !handle(packet, packetNumber())) {
            return false;
        }
        if (packetIndex + std::uint64_t{1} == packetCount()) {
            return true;
        }
        if (!readNextHeader()) {
            return false;
        }
    }
}
