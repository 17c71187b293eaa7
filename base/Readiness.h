#pragma once

#include <sys/select.h>

/// How a wait for a descriptor ended.
enum class Readiness {
    failed, ///< errno says why
    timedOut,
    ready,
};

/// Opens a device to be waited for, with the flags of `open`. Returns its descriptor, or -1 with
/// errno set; a descriptor beyond those that `select` can watch is not kept.
int openForWaiting(const char* device, int flags);

/// One `select` on `fd` alone, for reading. `readSet` holds `fd` and comes back as `select` leaves
/// it; without a time-out (null) the wait has no end.
Readiness selectForReading(int fd, fd_set& readSet, timeval* timeout);

/// Waits until `fd` can be read, up to `seconds`; 0 looks once without waiting.
Readiness waitForReading(int fd, int seconds);
