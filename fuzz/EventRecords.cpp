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

static std::size_t countOf(const std::string& text, const char* word)
{
    std::size_t count = 0;
    for (std::size_t i = 0; (i = text.find(word, i)) != text.npos; ++i) {
        ++count;
    }
    return count;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto length = static_cast<ssize_t>(std::min(size, maxBlockSize));
    deviceFile = memfd_create("fuzz", 0);
    expect(pwrite(deviceFile, data, static_cast<std::size_t>(length), 0) == length, "written");
    const std::string printed = capture([] { ArmEventTestTask().run(); });
    close(deviceFile);
    const std::size_t entries = countOf(printed, "Key: ") + countOf(printed, "charge:") +
                                countOf(printed, "\nid:") + countOf(printed, "No Records");
    expect(8 * entries < std::max<std::size_t>(static_cast<std::size_t>(length), 1),
           "no entry that is not in the block, and no record of a header with nothing behind it");
    expect((printed.find("Unhandled key/value ") == printed.npos) ==
               (printed.find("Maybe broken?: ") == printed.npos),
           "the whole block is shown if, and only if, it holds something unknown");
    return 0;
}
