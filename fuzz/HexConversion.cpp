// The conversion of an Intel HEX file: the image passes the checks of a programming run if the
// conversion succeeds, and only then.

#include "firmware/ArmFirmwareProgram.h"
#include "firmware/ImageReader.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size)
{
    std::string folder = "/tmp/fuzz-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) {
        std::abort();
    }
    ArmFirmwareTask task(folder + "/hex", "");
    std::ofstream(task.hexPath) << std::string_view(data, size);
    const bool succeeds = task.run() == 0;
    ImageReader image;
    bool endsLast = false;
    const bool passes = image.open(task.binPath) && image.readFileHeader() &&
                        image.walkPackets([&](const ImagePacket& packet, int /*number*/) {
                            endsLast = packet.header.dataLength == 0;
                            return true;
                        });
    std::filesystem::remove_all(folder);
    if (succeeds != (passes && endsLast)) {
        std::abort();
    }
    return 0;
}
