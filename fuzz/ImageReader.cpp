// The walk through a firmware image hands out the image, whole and right, and again once rewound.

#include "firmware/ImageReader.h"
#include "fuzz/FuzzTarget.h"

#include <cstring>
#include <numeric>

namespace {

std::string walk(ImageReader& reader, const std::string& image)
{
    std::string packets;
    std::uint64_t count = 0;
    bool isWhole = false;
    const std::string printed = capture(stdout, [&] {
        isWhole = reader.walkPackets([&](const ImagePacket& packet, int number) {
            const auto& [type, index, address, length, checksum] = packet.header;
            expect(length <= 1024, "at most 1024 bytes in a packet");
            const auto end = packet.data.begin() + length;
            const auto sum = std::accumulate(packet.data.begin(), end, 0U);
            expect(length == 0 ? type == endMarkerPacket : checksum == (-sum & 0xFF),
                   "right checksums, and only the end marker is empty");
            packets += toText(&packet, 20 + length);
            return number == static_cast<int>(count++);
        });
    });
    std::uint32_t announced = 0;
    std::memcpy(&announced, &image[4], sizeof(announced));
    expect(image.starts_with(packets), "the bytes of the image in their order");
    expect(!isWhole || count == announced + std::uint64_t{1}, "all packets that are announced");
    expect(isWhole == printed.empty(), "a message for each failure");
    return packets + printed;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const MemoryFile file;
    const std::string image = toText(data, size);
    file.write(image);
    ImageReader reader;
    bool hasHeader = false;
    capture(stdout, [&] { hasHeader = reader.open(file.path()) && reader.readFileHeader(); });
    if (hasHeader) {
        const std::string first = walk(reader, image);
        reader.rewind();
        expectSame(walk(reader, image), first);
    }
    return 0;
}
