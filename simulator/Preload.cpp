// Puts the simulated device nodes, and a directory in place of /var/volatile/, beneath a program
// that is started with this library preloaded: it stands in front of the calls of libc that reach
// them. Files of the machine that the program opens go the same way.

#include "simulator/Call.h"
#include "simulator/Channels.h"
#include "simulator/Clock.h"
#include "simulator/Instrument.h"
#include "simulator/Report.h"
#include "simulator/Script.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <map>
#include <sys/mman.h>
#include <sys/select.h>
#include <unistd.h>

using std::to_string;

namespace simulator {

namespace {

/// The function of libc that one here stands in front of.
template <class Function>
Function* realCall(Function* /*own*/, const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}
#define REAL(function) realCall(&::function, #function)

/// Only what the program itself opens is its own: neither the start of libc nor the simulator's
/// reading of its script. Volatile, since clang would run the constructor while it compiles.
volatile bool hasStarted = false;

[[gnu::constructor]] void start()
{
    hasStarted = true;
}

/// A file or a device node that the program has opened.
struct OpenFile {
    std::string path; ///< as the program gave it
    int flags;        ///< of `open`
    bool isNode;
    int descriptor;
    std::FILE* stream = nullptr;     ///< on the file, if there is one
    std::array<char, 4096> buffer{}; ///< of the stream, as large as libc makes it
    unsigned int step = 0;           ///< blocks that a live channel has delivered
};

/// By their descriptors. Lives on when the program ends, since it still makes calls then.
std::map<int, OpenFile>& openFiles()
{
    static auto* const files = new std::map<int, OpenFile>;
    return *files;
}

OpenFile* findFile(int descriptor)
{
    const auto file = openFiles().find(descriptor);
    return file != openFiles().end() ? &file->second : nullptr;
}

std::string translate(const std::string& path)
{
    const std::string volatileDirectory = "/var/volatile/";
    const char* const replacement = std::getenv("VIMBRA_SIM_VOLATILE");
    return replacement != nullptr && path.starts_with(volatileDirectory)
               ? replacement + path.substr(volatileDirectory.size() - 1)
               : path;
}

/// Opens a file. That of a node is an empty one, which shows what reaches it by another way than
/// the calls here: text for a standard descriptor whose number the node was given.
int openFile(const std::string& path, int flags)
{
    const bool isNode = isDeviceNode(path);
    const int fd = isNode ? memfd_create(path.c_str(), MFD_CLOEXEC)
                          : REAL(open)(translate(path).c_str(), flags, 0666);
    if (fd != -1) {
        openFiles()[fd] = {path, flags, isNode, fd};
    }
    return fd;
}

void showStrayText(int fd, const std::string& path)
{
    Bytes text(static_cast<std::size_t>(std::max<off_t>(REAL(lseek)(fd, 0, SEEK_END), 0)));
    if (!text.empty() && pread(fd, text.data(), text.size(), 0) != -1) {
        trace("stray(" + path + ", " + toHex(text.data(), text.size()) + ")");
        report("%s got %zu bytes of other output", path.c_str(), text.size());
    }
}

int descriptorOf(void* cookie)
{
    return static_cast<const OpenFile*>(cookie)->descriptor;
}

/// Goes on behind a short count, as libc does on its own streams.
ssize_t writeStream(void* cookie, const char* buffer, std::size_t size)
{
    std::size_t written = 0;
    for (ssize_t count = 0; written < size && count >= 0;) {
        count = write(descriptorOf(cookie), buffer + written, size - written);
        written += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    return static_cast<ssize_t>(written);
}

/// What `open` calls a mode of `fopen`.
int flagsOf(const std::string& mode)
{
    if (mode[0] == 'r') {
        return O_RDONLY;
    }
    const int exclusive = mode.find('x') != mode.npos ? O_EXCL : 0;
    return O_WRONLY | O_CREAT | exclusive | (mode[0] == 'a' ? O_APPEND : O_TRUNC);
}

/// A stream whose calls go through those here.
std::FILE* openStream(const std::string& path, const char* mode)
{
    const int fd = openFile(path, flagsOf(mode));
    if (fd == -1) {
        return nullptr;
    }
    OpenFile& file = *findFile(fd);
    cookie_io_functions_t calls{};
    calls.read = [](void* cookie, char* buffer, std::size_t size) {
        return read(descriptorOf(cookie), buffer, size);
    };
    calls.write = writeStream;
    calls.seek = [](void* cookie, off64_t* offset, int whence) {
        *offset = lseek(descriptorOf(cookie), static_cast<off_t>(*offset), whence);
        return *offset == -1 ? -1 : 0;
    };
    calls.close = [](void* cookie) { return close(descriptorOf(cookie)); };
    file.stream = fopencookie(&file, mode, calls);
    std::setvbuf(file.stream, file.buffer.data(), _IOFBF, file.buffer.size());
    return file.stream;
}

int failWith(int error)
{
    errno = error;
    return -1;
}

double ordinaryArrival(const OpenFile& node)
{
    constexpr double liveInterval = 0.6; // seconds between the blocks of a channel
    const auto& replies = Instrument::instance().replies;
    if (node.path == commDevice) {
        return replies.empty() ? never : replies.front().first;
    }
    return node.path == programDevice ? never : liveInterval * (node.step + 1);
}

/// When a read will find something, in seconds. A channel whose scripted reads are used up has
/// nothing more to tell; answers of a PIC come as they do.
double nextArrival(const OpenFile& file)
{
    const auto* const planned = findOutcomes(file.path + ":read");
    const bool isPlanned = planned != nullptr && !planned->empty();
    if (!file.isNode || (isPlanned && !planned->front().isOrdinary())) {
        return 0;
    }
    const bool isOver = planned != nullptr && !isPlanned && file.path != commDevice;
    return isOver ? never : ordinaryArrival(file);
}

ssize_t readNode(OpenFile& node, std::uint8_t* bytes, std::size_t size)
{
    if ((node.flags & O_ACCMODE) == O_WRONLY) {
        return failWith(EBADF);
    }
    if (ordinaryArrival(node) > now() && (node.flags & O_NONBLOCK) != 0) {
        return failWith(EAGAIN);
    }
    waitUntil(ordinaryArrival(node));
    auto& replies = Instrument::instance().replies;
    const bool isReply = node.path == commDevice;
    const Bytes block = isReply ? replies.front().second : makeLiveBlock(node.path, node.step++);
    if (isReply) {
        replies.pop_front();
    }
    const std::size_t count = std::min(block.size(), size); // the rest of a block is lost
    std::copy_n(block.begin(), count, bytes);
    return static_cast<ssize_t>(count);
}

ssize_t writeNode(const OpenFile& node, const void* buffer, std::size_t size)
{
    if ((node.flags & O_ACCMODE) == O_RDONLY) {
        return failWith(EBADF);
    }
    auto& programming = Instrument::instance().programmingDevice;
    const bool isTaken = node.path == programDevice ? programming.take(toBytes(buffer, size))
                                                    : node.path == ttyDevice;
    return isTaken ? static_cast<ssize_t>(size) : failWith(EIO);
}

/// At most the scripted count.
std::size_t limitCount(const Outcome& outcome, std::size_t size)
{
    const auto most = static_cast<long long>(size);
    return static_cast<std::size_t>(std::clamp(outcome.number("count", most), 0LL, most));
}

ssize_t deliver(const Outcome& outcome, int fd, OpenFile& file, std::uint8_t* bytes,
                std::size_t size)
{
    if (outcome.has("hex")) {
        const Bytes scripted = outcome.bytes("hex");
        const std::size_t count = std::min(scripted.size(), size);
        std::copy_n(scripted.begin(), count, bytes);
        return static_cast<ssize_t>(count);
    }
    const std::size_t most = limitCount(outcome, size);
    const ssize_t count = file.isNode ? readNode(file, bytes, most) : REAL(read)(fd, bytes, most);
    const long long flipped = outcome.number("flip", -1);
    if (flipped >= 0 && flipped < count) {
        bytes[flipped] ^= 1;
    }
    if (!outcome.has("short") || count <= 0) {
        return count;
    }
    if (!file.isNode) { // the rest of a node's block is lost
        REAL(lseek)(fd, static_cast<off_t>(count / 2 - count), SEEK_CUR);
    }
    return count / 2;
}

ssize_t accept(const Outcome& outcome, int fd, const OpenFile& file, const void* buffer,
               std::size_t size)
{
    const std::size_t most = outcome.has("short") ? size / 2 : limitCount(outcome, size);
    if (!file.isNode) {
        return REAL(write)(fd, buffer, most);
    }
    return most < size ? static_cast<ssize_t>(most) // the node drops what is not whole
                       : writeNode(file, buffer, size);
}

std::string describeTimeout(const timeval* timeout)
{
    return timeout == nullptr ? "none"
                              : to_string(timeout->tv_sec) + "." +
                                    to_string(1'000'000 + timeout->tv_usec).substr(1);
}

/// Waits until a point in time, at most for the time-out, of which what is left comes back.
void waitWithin(double arrival, timeval* timeout)
{
    const double end = timeout == nullptr ? never
                                          : now() + static_cast<double>(timeout->tv_sec) +
                                                static_cast<double>(timeout->tv_usec) / 1e6;
    waitUntil(std::min(arrival, end));
    if (timeout != nullptr) {
        const auto left = static_cast<long long>(std::max(0.0, end - now()) * 1e6);
        timeout->tv_sec = static_cast<time_t>(left / 1'000'000);
        timeout->tv_usec = static_cast<suseconds_t>(left % 1'000'000);
    }
}

} // namespace

} // namespace simulator

using namespace simulator;

extern "C" {

int open(const char* path, int flags, ...) // the tool creates no file this way
{
    if (!hasStarted) {
        return REAL(open)(path, flags, 0666);
    }
    const Call call(path + std::string(":open"), to_string(flags));
    int fd = -1;
    // Descriptors differ from machine to machine and are not traced.
    call.perform([&] { return std::min(fd = openFile(path, flags), 0); });
    return fd;
}

FILE* fopen(const char* path, const char* mode)
{
    if (!hasStarted) {
        return REAL(fopen)(path, mode);
    }
    const Call call(path + std::string(":fopen"), mode);
    FILE* stream = nullptr;
    call.perform([&] { return (stream = openStream(path, mode)) != nullptr ? 0 : -1; });
    return stream;
}

int fileno(FILE* stream) noexcept
{
    for (const auto& [fd, file] : openFiles()) {
        if (file.stream == stream) {
            return fd;
        }
    }
    return REAL(fileno)(stream);
}

int close(int fd)
{
    const auto file = openFiles().extract(fd);
    if (file.empty()) {
        const int result = REAL(close)(fd);
        if (result == -1 && hasStarted) {
            trace("stray(close)"); // of what may be somebody else's by now
        }
        return result;
    }
    const Call call(file.mapped().path + ":close");
    if (file.mapped().isNode) {
        showStrayText(fd, file.mapped().path);
    }
    const int result = REAL(close)(fd);
    return call.perform([&] { return result; });
}

int unlink(const char* path) noexcept
{
    const Call call(path + std::string(":unlink"));
    return call.perform([&] { return REAL(unlink)(translate(path).c_str()); });
}

ssize_t read(int fd, void* buffer, size_t size)
{
    OpenFile* const file = findFile(fd);
    if (file == nullptr) {
        return REAL(read)(fd, buffer, size);
    }
    const Call call(file->path + ":read", to_string(size));
    return call.perform([&] {
        return deliver(call.outcome(), fd, *file, static_cast<std::uint8_t*>(buffer), size);
    });
}

ssize_t write(int fd, const void* buffer, size_t size)
{
    const OpenFile* const file = findFile(fd);
    if (file == nullptr) {
        return REAL(write)(fd, buffer, size);
    }
    const Call call(file->path + ":write", file->isNode ? toHex(buffer, size) : to_string(size));
    return call.perform([&] { return accept(call.outcome(), fd, *file, buffer, size); });
}

off_t lseek(int fd, off_t offset, int whence) noexcept
{
    const OpenFile* const file = findFile(fd);
    if (file == nullptr) {
        return REAL(lseek)(fd, offset, whence);
    }
    const Call call(file->path + ":lseek", to_string(offset) + ", " + to_string(whence));
    return call.perform(
        [&] { return file->isNode ? off_t{failWith(ESPIPE)} : REAL(lseek)(fd, offset, whence); });
}

int fsync(int fd)
{
    const OpenFile* const file = findFile(fd);
    if (file == nullptr) {
        return REAL(fsync)(fd);
    }
    const std::string position = file->isNode ? "" : to_string(REAL(lseek)(fd, 0, SEEK_CUR));
    const Call call(file->path + ":fsync", position);
    return call.perform([&] { return file->isNode ? 0 : REAL(fsync)(fd); });
}

/// Waits for one file, to read it. Sets and time-out come back as Linux leaves them.
int select(int count, fd_set* readSet, fd_set* writeSet, fd_set* exceptSet, timeval* timeout)
{
    const int fd = std::clamp(count, 1, FD_SETSIZE) - 1;
    fd_set wanted{};
    FD_SET(fd, &wanted);
    const bool isForOne = std::memcmp(readSet, &wanted, sizeof(wanted)) == 0 &&
                          writeSet == nullptr && exceptSet == nullptr;
    const OpenFile* const file = isForOne ? findFile(fd) : nullptr;
    const Call call((file != nullptr ? file->path : "wrong sets") + ":select",
                    describeTimeout(timeout));
    return call.perform([&] {
        if (call.outcome().has("end")) {
            std::raise(SIGTERM); // a listener is ended from outside
        }
        const bool timesOut = call.outcome().has("timeout");
        const double arrival = timesOut || file == nullptr ? never : nextArrival(*file);
        if (!timesOut || timeout != nullptr) {
            waitWithin(arrival, timeout);
        }
        const bool isReady = arrival <= now();
        *readSet = isReady ? wanted : fd_set{};
        return isReady ? 1 : 0;
    });
}

int usleep(useconds_t microseconds)
{
    const Call call("usleep", to_string(microseconds));
    return call.perform([&] {
        waitUntil(now() + microseconds / 1e6);
        return 0;
    });
}

unsigned int sleep(unsigned int seconds)
{
    const Call call("sleep", to_string(seconds));
    waitUntil(now() + seconds);
    call.show(" = 0");
    return 0;
}

} // extern "C"
