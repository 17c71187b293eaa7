#include "simulator/ProgrammingDevice.h"

#include "firmware/ArmFirmwareProgram.h"

#include <cstdio>
#include <cstring>
#include <numeric>

namespace simulator {

namespace {

ImagePacketHeader readHeader(const std::uint8_t* packet)
{
    ImagePacketHeader header;
    std::memcpy(&header, packet, sizeof(header));
    return header;
}

} // namespace

std::string ProgrammingDevice::findFault(const std::uint8_t* packet, std::size_t size) const
{
    if (size < sizeof(ImagePacketHeader)) {
        return "packet without a whole header";
    }
    const ImagePacketHeader header = readHeader(packet);
    if (ended) {
        return "packet behind the end marker";
    }
    if (header.packetType == endMarkerPacket) {
        const bool isEmpty = size == sizeof(header) && header.packetIndex == 0 &&
                             header.address == 0 && header.dataLength == 0 && header.checksum == 0;
        return !isEmpty             ? "end marker with data"
               : taken == 0         ? "end marker without data packets"
               : taken != announced ? "end marker at the wrong place"
                                    : "";
    }
    if (header.packetType != (taken == 0 ? firstDataPacket : furtherDataPacket)) {
        return "packet type out of order";
    }
    if (header.dataLength != imageChunkSize || size != sizeof(ImagePacket)) {
        return "wrong length";
    }
    if (taken == 0 ? header.packetIndex == 0 : header.packetIndex != taken || taken >= announced) {
        return "wrong packet index";
    }
    const unsigned int sum = std::accumulate(packet + sizeof(header), packet + size, 0U);
    if (((sum + header.checksum) & 0xFF) != 0 || header.checksum > 0xFF) {
        return "wrong checksum";
    }
    return memory.contains(header.address) ? "address programmed twice" : "";
}

bool ProgrammingDevice::take(const std::uint8_t* packet, std::size_t size)
{
    const std::string fault = findFault(packet, size);
    if (!fault.empty()) {
        report("co-processor refuses: " + fault);
        return false;
    }
    const ImagePacketHeader header = readHeader(packet);
    if (header.packetType == endMarkerPacket) {
        ended = true;
        return true;
    }
    announced = taken == 0 ? header.packetIndex : announced;
    ++taken;
    memory[header.address] = Bytes(packet + sizeof(header), packet + size);
    return true;
}

void ProgrammingDevice::reportMemory() const
{
    report("co-processor took " + std::to_string(taken) + " of " + std::to_string(announced) +
           " data packets, " + (ended ? "end marker" : "NO END MARKER"));
    for (auto first = memory.begin(); first != memory.end();) {
        Bytes range;
        auto next = first;
        while (next != memory.end() && next->first == first->first + range.size()) {
            range.insert(range.end(), next->second.begin(), next->second.end());
            ++next;
        }
        char text[80];
        std::snprintf(text, sizeof(text), "  0x%08x-0x%08zx, crc32 %08x", first->first,
                      first->first + range.size() - 1, crc32(range));
        report(text);
        first = next;
    }
}

} // namespace simulator
