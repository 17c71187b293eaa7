#include "firmware/ImageReader.h"

#include "base/Checksum.h"
#include "base/Transfer.h"

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
    packetNumber = 0;
    return true;
}

void ImageReader::rewind()
{
    lseek(image.get(), sizeof(ImagePacketHeader), SEEK_SET);
    packet.header = fileHeader;
    packetNumber = 0;
}

bool ImageReader::readPacketData()
{
    const ImagePacketHeader& header = packet.header;
    if (header.dataLength > packet.data.size()) {
        return fail("Chunk size too big! P:%i\n");
    }
    if (header.dataLength == 0) {
        return header.packetType == endMarkerPacket || fail("Empty packet! P:%i\n");
    }
    if (!readAll(packet.data.data(), header.dataLength)) {
        return fail("Not enough actual data. P:%i\n");
    }
    if (twosComplementChecksum({packet.data.data(), header.dataLength}) != header.checksum) {
        return fail("Invalid checksum at packet: %i\n");
    }
    return true;
}

bool ImageReader::readNextHeader()
{
    if (!readAll(&packet.header, sizeof(packet.header))) {
        return fail("Unable to read packet header: %i\n");
    }
    ++packetNumber;
    return true;
}

bool ImageReader::readAll(void* buffer, std::size_t size) const
{
    return movedAll(read(image.get(), buffer, size), size, "No bytes read!");
}

/// Prints a text with the number of the current packet.
bool ImageReader::fail(const char* format) const
{
    std::printf(format, static_cast<int>(packetNumber));
    return false;
}
