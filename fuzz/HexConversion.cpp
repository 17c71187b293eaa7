// The conversion of an Intel HEX file: its result and the image that goes with it.

#include "firmware/ArmFirmwareProgram.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size);

namespace {

/// Ends the process, after showing the rule, if it is broken.
void expect(bool isKept, const char* rule)
{
    if (!isKept) {
        std::fprintf(stderr, "--- not kept: %s\n", rule);
        std::abort();
    }
}

/// A finished image has its count in the first header and an end marker; what an unfinished one
/// holds is whole packets.
void checkImage(const std::string& image, bool isFinished)
{
    const std::size_t count = image.size() / sizeof(ImagePacket);
    const std::size_t endSize = isFinished ? sizeof(ImagePacketHeader) : 0;
    expect(image.size() == count * sizeof(ImagePacket) + endSize, "whole packets");
    for (std::size_t i = 0; i < count; ++i) {
        ImagePacket packet{};
        std::memcpy(&packet, &image[i * sizeof(packet)], sizeof(packet));
        const auto& [type, index, address, length, checksum] = packet.header;
        std::uint32_t sum = 0;
        for (const std::uint8_t byte : packet.data) {
            sum -= byte;
        }
        expect(type == (i == 0 ? 0xFEED001A : 0xFEED001B) && length == 1024, "types and lengths");
        expect(index == (isFinished && i == 0 ? count : i), "indexes");
        expect(checksum == (sum & 0xFF), "checksums");
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const char* data, std::size_t size)
{
    std::string folder = "/tmp/fuzz-XXXXXX";
    expect(mkdtemp(folder.data()) != nullptr, "a folder");
    const std::string hex = folder + "/hex";
    std::ofstream(hex) << std::string_view(data, size);
    ArmFirmwareTask task(hex, "");
    std::ofstream(task.binPath) << "left by an earlier run";
    const bool isFinished = task.run() == 0;
    std::ifstream file(task.binPath);
    const std::string image{std::istreambuf_iterator<char>(file), {}};
    unlink(hex.c_str());
    unlink(task.binPath.c_str());
    rmdir(folder.c_str());
    checkImage(image, isFinished);
    return 0;
}
