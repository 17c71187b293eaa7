// Puts the simulated device nodes, and a directory in place of /var/volatile/, beneath a program
// that is started with this library preloaded: it stands in front of the calls of libc that reach
// them. Files of the machine that the program opens go the same way.

#include "simulator/Call.h"
#include "simulator/Clock.h"
#include "simulator/DeviceNames.h"
#include "simulator/DeviceNodes.h"
#include "simulator/MachineFiles.h"
#include "simulator/OpenFile.h"
#include "simulator/RealCall.h"
#include "simulator/Report.h"
#include "simulator/Selection.h"

#include <cstdio>
#include <fcntl.h>
#include <string>
#include <sys/select.h>
#include <unistd.h>

using simulator::Call;
using simulator::findFile;
using simulator::OpenFile;

namespace {

/// Only what the program itself opens is its own: neither the start of libc nor the simulator's
/// reading of its script. Volatile, since clang would run the constructor while it compiles.
volatile bool hasStarted = false;

[[gnu::constructor]] void start()
{
    hasStarted = true;
}

} // namespace

extern "C" {

int open(const char* path, int flags, ...) // the tool creates no file this way
{
    if (!hasStarted) {
        return REAL(open)(path, flags, 0666);
    }
    const Call call(std::string(path) + ":open",
                    std::string("open(") + path + ", " + std::to_string(flags) + ")");
    int fd = -1;
    call.perform([&] { // descriptors differ from machine to machine and are not traced
        fd = simulator::isDeviceNode(path) ? simulator::openDeviceNode(path, flags)
                                           : simulator::openMachineFile(path, flags);
        return fd == -1 ? -1 : 0;
    });
    return fd;
}

FILE* fopen(const char* path, const char* mode)
{
    if (!hasStarted) {
        return REAL(fopen)(path, mode);
    }
    const Call call(std::string(path) + ":fopen", std::string("fopen(") + path + ", " + mode + ")");
    FILE* stream = nullptr;
    call.perform([&] {
        stream = simulator::openStream(path, mode);
        return stream == nullptr ? -1 : 0;
    });
    return stream;
}

int fileno(FILE* stream) noexcept
{
    const int fd = simulator::streamDescriptor(stream);
    return fd != -1 ? fd : REAL(fileno)(stream);
}

int close(int fd)
{
    const auto file = simulator::takeFile(fd);
    if (file != nullptr) {
        return file->close();
    }
    const int result = REAL(close)(fd);
    if (result == -1 && hasStarted) {
        simulator::trace("stray(close)"); // of what may be somebody else's by now
    }
    return result;
}

ssize_t read(int fd, void* buffer, size_t size)
{
    OpenFile* const file = findFile(fd);
    return file != nullptr ? file->read(buffer, size) : REAL(read)(fd, buffer, size);
}

ssize_t write(int fd, const void* buffer, size_t size)
{
    OpenFile* const file = findFile(fd);
    return file != nullptr ? file->write(buffer, size) : REAL(write)(fd, buffer, size);
}

off_t lseek(int fd, off_t offset, int whence) noexcept
{
    OpenFile* const file = findFile(fd);
    return file != nullptr ? static_cast<off_t>(file->seek(offset, whence))
                           : REAL(lseek)(fd, offset, whence);
}

int fsync(int fd)
{
    OpenFile* const file = findFile(fd);
    return file != nullptr ? file->sync() : REAL(fsync)(fd);
}

int select(int count, fd_set* readSet, fd_set* writeSet, fd_set* exceptSet, timeval* timeout)
{
    return simulator::selectsOpenFiles(count, readSet)
               ? simulator::selectOpenFiles(count, readSet, writeSet, exceptSet, timeout)
               : REAL(select)(count, readSet, writeSet, exceptSet, timeout);
}

int usleep(useconds_t microseconds)
{
    const Call call("usleep", "usleep(" + std::to_string(microseconds) + ")");
    return call.perform([&] {
        simulator::pause(microseconds / 1e6);
        return 0;
    });
}

unsigned int sleep(unsigned int seconds)
{
    const Call call("sleep", "sleep(" + std::to_string(seconds) + ")");
    simulator::pause(seconds);
    call.end(0);
    return 0;
}

} // extern "C"
