// Puts the simulated device nodes, and a directory in place of /var/volatile/, beneath a program
// that is started with this library preloaded: it stands in front of the calls of libc that reach
// them. Every call on a file opened through `open` is traced and ends as the script says.

#include "simulator/Instrument.h"
#include "simulator/Script.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/select.h>
#include <unistd.h>

using simulator::Bytes;
using simulator::Instrument;
using simulator::Outcome;
using simulator::Script;

namespace {

/// The function of libc that this library stands in front of.
template <class Function>
Function* real(Function* /*own*/, const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}
#define REAL(function) real(&(function), #function)

constexpr double never = 1e18;
constexpr double liveInterval = 0.6; // seconds between the blocks of a channel
constexpr const char* commDevice = "/dev/arm-comms";
constexpr const char* programDevice = "/dev/arm-program";

bool isSimulated(const std::string& path)
{
    return path.starts_with("/dev/arm-") || path == "/dev/ttyARM0";
}

std::deque<Instrument::Reply>& replies()
{
    return Instrument::instance().replies;
}

/// A file opened through `open`, of the machine or simulated.
struct OpenFile {
    std::string path;
    unsigned int step = 0; ///< blocks delivered by a live channel

    std::string key(const char* call) const { return path + ":" + call; }

    /// When the next read will deliver something, in seconds.
    double nextArrival() const
    {
        if (Script::instance().mentions(key("read"))) {
            return Script::instance().hasMore(key("read")) ? 0 : never;
        }
        if (path == commDevice) {
            return replies().empty() ? never : replies().front().arrival;
        }
        return path == programDevice ? never : liveInterval * (step + 1);
    }

    Bytes takeBlock()
    {
        if (path != commDevice) {
            return simulator::makeLiveBlock(path, step++);
        }
        Bytes block = replies().front().block;
        replies().pop_front();
        return block;
    }
};

std::map<int, OpenFile>& openFiles()
{
    static std::map<int, OpenFile> files;
    return files;
}

OpenFile* find(int fd)
{
    const auto file = openFiles().find(fd);
    return file != openFiles().end() ? &file->second : nullptr;
}

std::string translate(const std::string& path)
{
    constexpr const char* volatileDirectory = "/var/volatile/";
    const char* const replacement = std::getenv("VIMBRA_SIM_VOLATILE");
    return replacement != nullptr && path.starts_with(volatileDirectory)
               ? replacement + path.substr(std::strlen(volatileDirectory) - 1)
               : path;
}

/// Traces a call and its result; keeps errno.
template <class Result>
Result traced(const std::string& call, Result result)
{
    const int error = errno;
    simulator::trace(call + " = " +
                     (result == -1 ? strerrorname_np(error) : std::to_string(result)));
    errno = error;
    return result;
}

int failWith(long error)
{
    errno = static_cast<int>(error);
    return -1;
}

/// The outcome of a call on a file; errno is what it says.
Outcome nextOutcome(const OpenFile& file, const char* call)
{
    Outcome outcome = Script::instance().next(file.key(call));
    errno = static_cast<int>(outcome.number("error", errno));
    return outcome;
}

ssize_t deliver(const Bytes& bytes, void* buffer, std::size_t size)
{
    const std::size_t count = std::min(bytes.size(), size);
    std::copy_n(bytes.begin(), count, static_cast<std::uint8_t*>(buffer));
    return static_cast<ssize_t>(count);
}

ssize_t readFrom(OpenFile& file, int fd, void* buffer, std::size_t size)
{
    const Outcome outcome = nextOutcome(file, "read");
    if (outcome.has("error")) {
        return -1;
    }
    if (outcome.has("hex")) {
        return deliver(outcome.bytes("hex"), buffer, size);
    }
    if (isSimulated(file.path)) {
        return file.nextArrival() <= simulator::now() ? deliver(file.takeBlock(), buffer, size)
                                                      : failWith(EAGAIN);
    }
    const auto wanted = static_cast<std::size_t>(outcome.number("count", static_cast<long>(size)));
    const ssize_t count = REAL(read)(fd, buffer, std::min(wanted, size));
    if (outcome.has("flip")) {
        static_cast<std::uint8_t*>(buffer)[outcome.number("flip", 0)] ^= 1;
    }
    return count;
}

ssize_t writeTo(const OpenFile& file, const void* buffer, std::size_t size)
{
    const Outcome outcome = nextOutcome(file, "write");
    if (outcome.has("error") || outcome.has("count")) {
        return outcome.number("count", -1);
    }
    auto& device = Instrument::instance().programmingDevice;
    return device.take(static_cast<const std::uint8_t*>(buffer), size) ? static_cast<ssize_t>(size)
                                                                       : failWith(EIO);
}

int waitFor(const OpenFile& file, const timeval* timeout)
{
    const Outcome outcome = nextOutcome(file, "select");
    if (outcome.has("error")) {
        return -1;
    }
    const double limit = timeout == nullptr ? never : static_cast<double>(timeout->tv_sec);
    const double wait = std::max(0.0, file.nextArrival() - simulator::now());
    if (outcome.has("timeout")) {
        return 0;
    }
    if (outcome.has("end") || (timeout == nullptr && wait >= never / 2)) {
        std::raise(SIGTERM); // a listener is ended from outside
    }
    simulator::pause(std::min(wait, limit));
    return wait <= limit ? 1 : 0;
}

} // namespace

extern "C" {

int open(const char* path, int flags, ...) // the tool creates no file this way
{
    const std::string call = std::string("open(") + path + ", " + std::to_string(flags) + ")";
    const OpenFile file{path};
    if (nextOutcome(file, "open").has("error")) {
        return traced(call, -1);
    }
    // A simulated node is never touched through its descriptor, which only has to be a real one.
    const int fd = isSimulated(path) ? REAL(open)("/dev/null", O_RDONLY)
                                     : REAL(open)(translate(path).c_str(), flags);
    if (fd != -1) {
        openFiles()[fd] = file;
    }
    traced(call, fd == -1 ? -1 : 0); // descriptors differ from machine to machine
    return fd;
}

FILE* fopen(const char* path, const char* mode)
{
    FILE* const stream = REAL(fopen)(translate(path).c_str(), mode);
    if (stream != nullptr && *mode == 'w') { // its syncs are traced
        openFiles()[fileno(stream)] = {path};
    }
    return stream;
}

int close(int fd)
{
    const auto file = openFiles().extract(fd);
    const int result = REAL(close)(fd);
    return file.empty() ? result : traced("close(" + file.mapped().path + ")", result);
}

ssize_t read(int fd, void* buffer, size_t size)
{
    OpenFile* const file = find(fd);
    if (file == nullptr) {
        return REAL(read)(fd, buffer, size);
    }
    return traced("read(" + file->path + ", " + std::to_string(size) + ")",
                  readFrom(*file, fd, buffer, size));
}

ssize_t write(int fd, const void* buffer, size_t size)
{
    OpenFile* const file = find(fd);
    if (file == nullptr || !isSimulated(file->path)) {
        return REAL(write)(fd, buffer, size);
    }
    return traced("write(" + file->path + ", " +
                      simulator::toHex(static_cast<const std::uint8_t*>(buffer), size) + ")",
                  writeTo(*file, buffer, size));
}

int fsync(int fd)
{
    OpenFile* const file = find(fd);
    if (file == nullptr) {
        return REAL(fsync)(fd);
    }
    if (isSimulated(file->path)) {
        return traced("fsync(" + file->path + ")", 0);
    }
    return traced("fsync(" + file->path + ", " + std::to_string(lseek(fd, 0, SEEK_CUR)) + ")",
                  REAL(fsync)(fd));
}

int select(int count, fd_set* readSet, fd_set* writeSet, fd_set* exceptSet, timeval* timeout)
{
    OpenFile* const file = find(count - 1); // the tool waits for one descriptor at a time
    if (file == nullptr) {
        return REAL(select)(count, readSet, writeSet, exceptSet, timeout);
    }
    const std::string limit = timeout == nullptr ? "none" : std::to_string(timeout->tv_sec);
    const int ready = waitFor(*file, timeout);
    if (ready == 0) {
        FD_ZERO(readSet);
    }
    return traced("select(" + file->path + ", " + limit + ")", ready);
}

int usleep(useconds_t microseconds)
{
    simulator::pause(microseconds / 1e6);
    return traced("usleep(" + std::to_string(microseconds) + ")", 0);
}

unsigned int sleep(unsigned int seconds)
{
    simulator::pause(seconds);
    return static_cast<unsigned int>(traced("sleep(" + std::to_string(seconds) + ")", 0));
}

} // extern "C"
