// Stands in for base/Readiness.cpp, for pauses and for what the simulated instrument reports.

#include "base/Readiness.h"
#include "fuzz/FuzzTarget.h"
#include "simulator/Report.h"

#include <fcntl.h>

static const MemoryFile deviceFile;

void deliver(const std::string& block)
{
    deviceFile.write(block);
}

int openForWaiting(const char* /*device*/, int flags)
{
    return open(deviceFile.path().c_str(), flags);
}

/// The first wait with a set that holds the descriptor finds it ready; the next one with that set
/// times out.
Readiness selectForReading(int fd, fd_set& readSet, timeval* /*timeout*/)
{
    const bool isWatched = FD_ISSET(fd, &readSet);
    FD_CLR(fd, &readSet);
    return isWatched ? Readiness::ready : Readiness::timedOut;
}

Readiness waitForReading(int fd, int /*seconds*/)
{
    lseek(fd, 0, SEEK_SET);
    return Readiness::ready;
}

extern "C" int usleep(useconds_t /*microseconds*/)
{
    return 0;
}

void simulator::report(const char* /*format*/, ...)
{
}
