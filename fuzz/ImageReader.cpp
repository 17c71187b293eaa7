// The walk through a firmware image: it hands out the image's packets, each with a right checksum,
// and once rewound it goes the same way.

#include "firmware/ImageReader.h"

#include "base/Checksum.h"
#include "fuzz/FuzzTarget.h"

namespace {

struct Walk {
    std::string packets;
    std::string printed;

    explicit Walk(ImageReader& reader)
    {
        std::uint64_t count = 0;
        bool isWhole = false;
        printed = capture([&] {
            isWhole = reader.walkPackets([&](const ImagePacket& packet, int number) {
                take(packet);
                return static_cast<std::uint64_t>(number) == count++;
            });
        });
        expect(isWhole == printed.empty() && isWhole == (count == reader.packetCount()), printed);
    }

    void take(const ImagePacket& packet)
    {
        const auto data = std::span(packet.data).first(packet.header.dataLength);
        expect(data.empty() || twosComplementChecksum(data) == packet.header.checksum, "checksum");
        packets += toText(reinterpret_cast<const std::uint8_t*>(&packet),
                          sizeof(packet.header) + data.size());
    }
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const MemoryFile file;
    const std::string image = toText(data, size);
    file.write(image);
    ImageReader reader;
    bool hasHeader = false;
    capture([&] { hasHeader = reader.open(file.path()) && reader.readFileHeader(); });
    if (!hasHeader) {
        return 0;
    }
    const Walk first(reader);
    expect(image.starts_with(first.packets), first.printed);
    reader.rewind();
    const Walk second(reader);
    expectSame(second.packets + second.printed, first.packets + first.printed);
    return 0;
}
