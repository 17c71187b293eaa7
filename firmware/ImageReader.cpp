#include "firmware/ImageReader.h"

#include "base/Checksum.h"
#include "firmware/Transfer.h"

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

bool ImageReader::open(const std::string& path)
{
    image.reset(::open(path.c_str(), O_RDONLY));
    if (!image.isOpen()) {
        std::puts("Failed opening binary file");
    }
    return image.isOpen();
}

bool ImageReader::readFileHeader()
{
    if (!readAll(&fileHeader, sizeof(fileHeader))) {
        std::puts("Unable to read header");
        return false;
    }
    if (fileHeader.packetType != firstDataPacket || fileHeader.dataLength != imageChunkSize ||
        fileHeader.packetIndex == 0) {
        std::puts("Invalid header");
        return false;
    }
    packet.header = fileHeader;
    return true;
}

void ImageReader::rewind()
{
    lseek(image.get(), sizeof(ImagePacketHeader), SEEK_SET);
    packet.header = fileHeader;
    packetIndex = 0;
}

/// Reads the data behind the current header with one `read` and checks the packet.
bool ImageReader::readPacketData()
{
    const ImagePacketHeader& header = packet.header;
    if (header.dataLength > packet.data.size()) {
        std::printf("Chunk size too big! P:%i\n", packetNumber());
        return false;
    }
    if (header.dataLength == 0) {
        if (header.packetType != endMarkerPacket) {
            std::printf("Empty packet! P:%i\n", packetNumber());
        }
        return header.packetType == endMarkerPacket;
    }
    if (!readAll(packet.data.data(), header.dataLength)) {
        std::printf("Not enough actual data. P:%i\n", packetNumber());
        return false;
    }
    if (twosComplementChecksum({packet.data.data(), header.dataLength}) != header.checksum) {
        std::printf("Invalid checksum at packet: %i\n", packetNumber());
        return false;
    }
    return true;
}

/// Reads the header of the next packet with one `read`.
bool ImageReader::readNextHeader()
{
    if (!readAll(&packet.header, sizeof(packet.header))) {
        std::printf("Unable to read packet header: %i\n", packetNumber());
        return false;
    }
    ++packetIndex;
    return true;
}

bool ImageReader::readAll(void* buffer, std::size_t size) const
{
    return isCompleteTransfer(read(image.get(), buffer, size), size, "No bytes read!");
}
