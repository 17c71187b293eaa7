// The event listener on a block. The stand-in for the library takes the calls that keys make.

#include "base/Readiness.h"
#include "fuzz/FuzzTarget.h"
#include "listeners/ArmEventTestTask.h"
#include "simulator/Report.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

// In place of base/Readiness.cpp: the device is a file in memory, which one wait finds ready.

static int deviceFile = -1;
static bool isRead = false;

int openForWaiting(const char* /*device*/, int /*flags*/)
{
    isRead = false;
    return dup(deviceFile);
}

Readiness selectForReading(int /*fd*/, fd_set& /*readSet*/, timeval* /*timeout*/)
{
    return std::exchange(isRead, true) ? Readiness::timedOut : Readiness::ready;
}

Readiness waitForReading(int /*fd*/, int /*seconds*/)
{
    return Readiness::failed;
}

extern "C" int usleep(useconds_t /*microseconds*/)
{
    return 0;
}

void simulator::report(const char* /*format*/, ...)
{
}

int LLVMFuzzerTestOneInput(const char* data, std::size_t size)
{
    const std::size_t length = std::min(size, maxBlockSize);
    deviceFile = memfd_create("fuzz", 0);
    expect(pwrite(deviceFile, data, length, 0) == static_cast<ssize_t>(length), "written");
    const std::string printed = capture([] { ArmEventTestTask().run(); });
    close(deviceFile);
    std::size_t entries = 0;
    for (const std::string word : {"Key: ", "charge:", "\nid:", "No Records"}) {
        for (std::size_t i = 0; (i = printed.find(word, i)) != printed.npos; ++i) {
            ++entries; // of 8 bytes and more
        }
    }
    expect(8 * entries < std::max<std::size_t>(length, 1),
           "no entry that is not in the block, and no record of a header with nothing behind it");
    expect((printed.find("Unhandled key/value ") == printed.npos) ==
               (printed.find("Maybe broken?: ") == printed.npos),
           "the whole block is shown if, and only if, it holds something unknown");
    return 0;
}
