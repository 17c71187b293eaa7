#include "pic/PicUpdateErr.h"

#include <array>
#include <cstddef>
#include <cstdio>

void printPicUpdateErr(PicUpdateErr code)
{
    static constexpr std::array texts{
        "Didn't get a response.",
        "Didn't get a response len.",
        "Bad Data Error.",
        "Update or Response Err.",
        "File Read Error.",
        "Timed out waiting for ARM Comm FD.",
        "Error waiting for ARM Comm FD.",
        "ArmCommFd not opened.",
        "PIC version already up-to-date or newer.",
    };
    static_assert(texts.size() == PicErrUpToDate);
    std::printf("PicUpdateErr: ");
    if (code >= PicErrNoResponse && code <= PicErrUpToDate) {
        std::puts(texts[static_cast<std::size_t>(code - PicErrNoResponse)]);
    } else {
        std::printf("Unknown Error %d.\n", code);
    }
}
