#include "pic/PicUpdateErr.h"

#include <cstdio>

void printPicUpdateErr(PicUpdateErr code)
{
    std::printf("PicUpdateErr: ");
    switch (code) {
    case PicErrNoResponse:
        std::puts("Didn't get a response.");
        return;
    case PicErrNoResponseLen:
        std::puts("Didn't get a response len.");
        return;
    case PicErrBadData:
        std::puts("Bad Data Error.");
        return;
    case PicErrUpdateOrResponse:
        std::puts("Update or Response Err.");
        return;
    case PicErrFileRead:
        std::puts("File Read Error.");
        return;
    case PicErrTimeout:
        std::puts("Timed out waiting for ARM Comm FD.");
        return;
    case PicErrWait:
        std::puts("Error waiting for ARM Comm FD.");
        return;
    case PicErrNotOpened:
        std::puts("ArmCommFd not opened.");
        return;
    case PicErrUpToDate:
        std::puts("PIC version already up-to-date or newer.");
        return;
    case PicErrNone:
    default:
        std::printf("Unknown Error %d.\n", code);
        return;
    }
}
