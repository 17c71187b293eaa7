#include "firmware/Transfer.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

bool isCompleteTransfer(ssize_t result, std::size_t wanted, const char* noneText)
{
    const int error = errno;
    if (result == 0) {
        std::puts(noneText);
    } else if (result == -1) {
        std::printf("Error %i: %s\n", error, std::strerror(error));
    }
    return result == static_cast<ssize_t>(wanted);
}
