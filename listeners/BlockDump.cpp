#include "listeners/BlockDump.h"

#include <cstdio>

namespace {
constexpr std::size_t bytesPerLine = 8;
}

void dumpBlock(std::span<const std::byte> block)
{
    std::printf("****************Maybe broken?: %i\n", static_cast<int>(block.size()));
    std::size_t printed = 0;
    for (const std::byte byte : block) {
        std::printf("%02x ", std::to_integer<unsigned int>(byte));
        if (++printed % bytesPerLine == 0) {
            std::printf("\n");
        }
    }
    std::puts("\n*****************************************");
}
