#include "firmware/ImageWriter.h"

#include "base/Checksum.h"

#include <cstdio>

bool ImageWriter::open(const std::string& path, const char* mode)
{
    if (!image.open(path, mode)) {
        std::puts("Failed to open binary firmware file");
        return false;
    }
    return true;
}

void ImageWriter::append(ImagePacket& packet)
{
    ImagePacketHeader& header = packet.header;
    header.packetType = packetsWritten == 0 ? firstDataPacket : furtherDataPacket;
    header.packetIndex = packetsWritten;
    header.checksum = twosComplementChecksum(packet.data);
    if (packetsWritten == 0) {
        firstHeader = header;
    }
    write(header);
    std::fwrite(packet.data.data(), packet.data.size(), 1, image.get());
    ++packetsWritten;
}

void ImageWriter::finish()
{
    ImagePacketHeader endMarker{};
    endMarker.packetType = endMarkerPacket;
    write(endMarker);
    firstHeader.packetIndex = packetsWritten;
    std::fseek(image.get(), 0, SEEK_SET);
    write(firstHeader);
}

void ImageWriter::write(const ImagePacketHeader& header)
{
    std::fwrite(&header, sizeof(header), 1, image.get());
}
