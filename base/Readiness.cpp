#include "base/Readiness.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

int openForWaiting(const char* device, int flags)
{
    const int fd = open(device, flags);
    if (fd < FD_SETSIZE) {
        return fd;
    }
    close(fd);
    errno = EMFILE;
    return -1;
}

Readiness selectForReading(int fd, fd_set& readSet, timeval* timeout)
{
    const int count = select(fd + 1, &readSet, nullptr, nullptr, timeout);
    if (count == -1) {
        return Readiness::failed;
    }
    return count == 0 ? Readiness::timedOut : Readiness::ready;
}

Readiness waitForReading(int fd, int seconds)
{
    fd_set readSet;
    FD_ZERO(&readSet);
    FD_SET(fd, &readSet);
    timeval timeout{.tv_sec = seconds, .tv_usec = 0};
    return selectForReading(fd, readSet, &timeout);
}
