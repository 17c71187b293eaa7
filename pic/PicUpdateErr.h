#pragma once

#include <cstdint>

/// Error codes of the PIC update.
enum PicUpdateErr : std::int32_t {
    PicErrNone = 0,
    PicErrNoResponse = 1,
    PicErrNoResponseLen = 2,
    PicErrBadData = 3,
    PicErrUpdateOrResponse = 4,
    PicErrFileRead = 5,
    PicErrTimeout = 6,
    PicErrWait = 7,
    PicErrNotOpened = 8,
    PicErrUpToDate = 9,
};

/// Prints "PicUpdateErr: " and the message of the code.
void printPicUpdateErr(PicUpdateErr code);
