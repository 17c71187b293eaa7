// The name of a PIC firmware file. Which versions it gives is a matter of the tests.

#include "pic/PicFileName.h"

#include "fuzz/FuzzTarget.h"
#include "pic/PicDevice.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string path = upToNul(toText(data, size));
    const auto name = parsePicFileName(path);
    if (!name) {
        return 0;
    }
    const std::string seen = path.substr(0, 199);
    const PicDevice* const device = findPicDevice(name->device);
    if (device == nullptr) {
        expectSame(seen, "&*%PROBE&*%");
        return 0;
    }
    expect(seen.find(".hex") != std::string::npos, path);
    const std::size_t token = seen.find(device->nameToken, seen.find(device->nameForm.family));
    expect(seen.find(device->nameForm.versionsText, token) != std::string::npos, path);
    return 0;
}
