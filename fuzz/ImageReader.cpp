// The walk through a firmware image: the packets that it hands out and how it ends. Once rewound,
// it has to go the same way.

#include "firmware/ImageReader.h"

#include "fuzz/FuzzTarget.h"
#include "fuzz/PlainReading.h"

namespace {

/// What stands in front of the message of a read that ends at the end of the image.
std::string none(const std::string& image, std::size_t position)
{
    return image.size() == position ? "No bytes read!\n" : "";
}

/// The packets that are right, as they stand in the image, and behind them what is printed.
std::string plainWalk(const std::string& image)
{
    if (image.size() < 20) {
        return none(image, 0) + "Unable to read header\n";
    }
    const std::uint32_t count = plainWord(image, 4);
    if (plainWord(image, 0) != 0xFEED001A || plainWord(image, 12) != 1024 || count == 0) {
        return "Invalid header\n";
    }
    std::size_t position = 0;
    for (std::uint64_t i = 0;; ++i) {
        const std::string packets = image.substr(0, position);
        const std::string number = std::to_string(static_cast<std::int32_t>(i)) + "\n";
        const std::uint32_t length = plainWord(image, position + 12);
        if (length > 1024) {
            return packets + "Chunk size too big! P:" + number;
        }
        if (length == 0 && plainWord(image, position) != 0xFEED001C) {
            return packets + "Empty packet! P:" + number;
        }
        if (image.size() < position + 20 + length) {
            return packets + none(image, position + 20) + "Not enough actual data. P:" + number;
        }
        std::uint32_t sum = 0;
        for (const char byte : image.substr(position + 20, length)) {
            sum += static_cast<std::uint8_t>(byte);
        }
        if (length != 0 && plainWord(image, position + 16) != (256 - sum % 256) % 256) {
            return packets + "Invalid checksum at packet: " + number;
        }
        position += 20 + length;
        if (i == count) {
            return image.substr(0, position);
        }
        if (image.size() < position + 20) {
            return image.substr(0, position) + none(image, position) +
                   "Unable to read packet header: " + number;
        }
    }
}

std::string walk(ImageReader& reader)
{
    std::string packets;
    int count = 0;
    const std::string printed = capture([&] {
        reader.walkPackets([&](const ImagePacket& packet, int number) {
            packets.append(reinterpret_cast<const char*>(&packet), 20 + packet.header.dataLength);
            return number == count++;
        });
    });
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
    const std::string refused =
        capture([&] { hasHeader = reader.open(file.path()) && reader.readFileHeader(); });
    const std::string expected = plainWalk(image);
    if (!hasHeader) {
        expectSame(refused, expected);
        return 0;
    }
    expectSame(walk(reader), expected);
    reader.rewind();
    expectSame(walk(reader), expected);
    return 0;
}
