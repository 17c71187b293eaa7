#include "simulator/ProgrammingDevice.h"

#include "simulator/Report.h"
#include "simulator/Script.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace simulator {

const char* ProgrammingDevice::findFault(const ImagePacketHeader& header, const Bytes& data) const
{
    if (ended) {
        return "packet behind the end marker";
    }
    if (header.packetType == endMarkerPacket) {
        const bool isBare = data.empty() && header.packetIndex == 0 && header.address == 0 &&
                            header.dataLength == 0 && header.checksum == 0;
        return isBare && taken != 0 && taken == announced ? nullptr : "wrong end marker";
    }
    const bool isFirst = taken == 0;
    if (header.packetType != (isFirst ? firstDataPacket : furtherDataPacket) ||
        (isFirst ? header.packetIndex == 0 : header.packetIndex != taken || taken >= announced)) {
        return "packet type or index out of order";
    }
    if (header.dataLength != imageChunkSize || data.size() != imageChunkSize) {
        return "wrong length";
    }
    const std::uint32_t sum = std::accumulate(data.begin(), data.end(), header.checksum);
    if (sum % 256 != 0 || header.checksum > 255) {
        return "wrong checksum";
    }
    const auto flash = numberSetting("flash");
    if (header.address < flash[0] || header.address + (imageChunkSize - 1LL) > flash[1]) {
        return "address outside the flash memory";
    }
    return memory.contains(header.address) ? "address programmed twice" : nullptr;
}

bool ProgrammingDevice::take(const Bytes& packet)
{
    ImagePacketHeader header{};
    const std::size_t headerBytes = std::min(packet.size(), sizeof(header));
    std::memcpy(&header, packet.data(), headerBytes);
    const Bytes data(packet.begin() + static_cast<std::ptrdiff_t>(headerBytes), packet.end());
    if (const char* const fault = findFault(header, data)) {
        report("co-processor refuses: %s", fault);
        return false;
    }
    ended = header.packetType == endMarkerPacket;
    if (!ended) {
        announced = taken == 0 ? header.packetIndex : announced;
        ++taken;
        memory[header.address] = data;
    }
    return true;
}

void ProgrammingDevice::reportMemory() const
{
    if (taken == 0) {
        return;
    }
    report("co-processor took %u of %u data packets, %s", taken, announced,
           ended ? "end marker" : "NO END MARKER");
    for (auto next = memory.begin(); next != memory.end();) {
        const std::uint32_t first = next->first;
        Bytes range;
        for (; next != memory.end() && next->first == first + range.size(); ++next) {
            range.insert(range.end(), next->second.begin(), next->second.end());
        }
        report("  0x%08x-0x%08zx, crc32 %08x", first, first + range.size() - 1, crc32(range));
    }
}

} // namespace simulator
