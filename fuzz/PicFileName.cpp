// The name of a PIC firmware file: what stands behind its first 199 characters changes nothing.

#include "pic/PicFileName.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string path(reinterpret_cast<const char*>(data), size);
    const auto whole = parsePicFileName(path);
    const auto beginning = parsePicFileName(path.substr(0, 199));
    const bool same = whole && beginning ? whole->device == beginning->device &&
                                               whole->versions == beginning->versions
                                         : whole.has_value() == beginning.has_value();
    if (!same) {
        std::abort();
    }
    return 0;
}
