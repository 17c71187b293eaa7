// Stands in front of the calls of libc that reach files: the tool names its common library before
// libc, so the loader finds them here first. So there are the instrument's device nodes and its
// /var/volatile/; files of the machine go the same way.

#include "simulator/Call.h"
#include "simulator/Channels.h"
#include "simulator/Clock.h"
#include "simulator/Instrument.h"
#include "simulator/Report.h"
#include "simulator/Script.h"

#include <algorithm>
#include <array>
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

/// A file or a device node that the program has opened.
struct OpenFile {
    std::string path; ///< as the program gave it
    int flags;        ///< of `open`
    bool isNode;
    int descriptor;
    std::array<char, 4096> buffer{}; ///< of a stream on the file, as large as libc makes it
    unsigned int step = 0;           ///< blocks that a live channel has delivered
};

/// By their descriptors.
std::map<int, OpenFile>& openFiles()
{
    static auto& files = *new std::map<int, OpenFile>; // outlives `main`, as calls do
    return files;
}

OpenFile* findFile(int descriptor)
{
    const auto file = openFiles().find(descriptor);
    return file != openFiles().end() ? &file->second : nullptr;
}

int failWith(int error)
{
    errno = error;
    return -1;
}

/// Where a path leads on this machine; empty if that is in memory.
std::string locate(const std::string& path)
{
    constexpr std::string_view front = "/var/volatile/";
    const char* const folder = std::getenv("VIMBRA_SIM_VOLATILE");
    if (!path.starts_with(front)) {
        return path;
    }
    return folder != nullptr && *folder != '\0' ? folder + path.substr(front.size() - 1) : "";
}

/// Descriptors that keep the files in memory, by their paths.
std::map<std::string, int>& keptFiles()
{
    static auto& files = *new std::map<std::string, int>; // outlives `main`, too
    return files;
}

int openKeptFile(const std::string& path, int flags)
{
    const bool isThere = keptFiles().contains(path);
    const bool isFile = std::ranges::count(path, '/') == 3 && !path.ends_with('/'); // not below one
    if (isThere ? (flags & O_EXCL) != 0 : !isFile || (flags & O_CREAT) == 0) {
        return failWith(isThere ? EEXIST : ENOENT);
    }
    int& kept = keptFiles()[path];
    kept = isThere ? kept : moveAway(memfd_create("volatile", MFD_CLOEXEC));
    return REAL(open)(("/proc/self/fd/" + to_string(kept)).c_str(), flags & ~(O_CREAT | O_EXCL));
}

int removeFile(const std::string& path)
{
    if (const std::string place = locate(path); !place.empty()) {
        return REAL(unlink)(place.c_str());
    }
    const auto kept = keptFiles().extract(path);
    return kept.empty() ? failWith(ENOENT) : REAL(close)(kept.mapped());
}

/// Opens a file. That of a node is an empty one, which shows what reaches it by another way than
/// the calls here: text for a standard descriptor whose number the node was given.
int openFile(const std::string& path, int flags)
{
    const bool isNode = isDeviceNode(path);
    const std::string place = locate(path);
    const int fd = isNode          ? memfd_create(path.c_str(), MFD_CLOEXEC)
                   : place.empty() ? openKeptFile(path, flags)
                                   : REAL(open)(place.c_str(), flags, 0666);
    if (fd != -1) {
        openFiles()[fd] = {path, flags, isNode, fd};
    }
    return fd;
}

void showStrayText(const OpenFile& node)
{
    Bytes text(static_cast<std::size_t>(REAL(lseek)(node.descriptor, 0, SEEK_END)));
    if (!text.empty() && pread(node.descriptor, text.data(), text.size(), 0) != -1) {
        trace("stray(" + node.path + ", " + toHex(text.data(), text.size()) + ")");
        report("%s got %zu bytes of other output", node.path.c_str(), text.size());
    }
}

/// The flags of `open` that go with a mode of `fopen`.
int flagsOf(const std::string& mode)
{
    const int kind = (mode[0] == 'w' ? O_TRUNC : O_APPEND) | (mode.ends_with('x') ? O_EXCL : 0);
    return mode[0] == 'r' ? O_RDONLY : O_WRONLY | O_CREAT | kind;
}

/// Goes on behind a short count, as libc does on its own streams.
ssize_t writeStream(void* cookie, const char* buffer, std::size_t size)
{
    const int fd = *static_cast<const int*>(cookie);
    std::size_t written = 0;
    for (ssize_t count = 0; written < size && count >= 0;) {
        count = write(fd, buffer + written, size - written);
        written += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    return static_cast<ssize_t>(written);
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
        return read(*static_cast<const int*>(cookie), buffer, size);
    };
    calls.write = writeStream;
    calls.seek = [](void* cookie, off64_t* offset, int whence) {
        *offset = lseek(*static_cast<const int*>(cookie), static_cast<off_t>(*offset), whence);
        return *offset == -1 ? -1 : 0;
    };
    calls.close = [](void* cookie) { return close(*static_cast<const int*>(cookie)); };
    std::FILE* const stream = fopencookie(&file.descriptor, mode, calls);
    stream->_fileno = fd; // for `fileno`
    std::setvbuf(stream, file.buffer.data(), _IOFBF, file.buffer.size());
    return stream;
}

/// When there is a reply, or the next block of a live channel.
double ordinaryArrival(const OpenFile& node)
{
    constexpr double liveInterval = 0.6; // seconds
    const auto& replies = Instrument::instance().replies;
    if (node.path == commDevice) {
        return replies.empty() ? never : replies.front().first;
    }
    return liveInterval * (node.step + 1);
}

/// When a read will find something, in seconds: scripted bytes and errors at once. A channel whose
/// scripted reads are used up has nothing more to tell; answers of a PIC come as they do.
double nextArrival(const OpenFile& file)
{
    const auto* const planned = findOutcomes(file.path + ":read");
    const bool isPlanned = planned != nullptr && !planned->empty();
    if (isPlanned && (planned->front().has("hex") || planned->front().has("error"))) {
        return 0;
    }
    const bool isOver = planned != nullptr && !isPlanned && file.path != commDevice;
    return isOver ? never : ordinaryArrival(file);
}

ssize_t readNode(OpenFile& node, std::uint8_t* bytes, std::size_t size)
{
    const bool isReadable = (node.flags & O_ACCMODE) != O_WRONLY;
    if (!isReadable || (ordinaryArrival(node) > now() && (node.flags & O_NONBLOCK) != 0)) {
        return failWith(isReadable ? EAGAIN : EBADF);
    }
    waitUntil(ordinaryArrival(node));
    auto& replies = Instrument::instance().replies;
    const bool isReply = node.path == commDevice;
    Bytes block = isReply ? replies.front().second : makeLiveBlock(node.path, node.step++);
    if (isReply) {
        replies.pop_front();
    }
    block.resize(std::min(block.size(), size)); // the rest of a block is lost
    std::ranges::copy(block, bytes);
    return static_cast<ssize_t>(block.size());
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
    return static_cast<std::size_t>(std::min(outcome.number("count", most), most));
}

ssize_t deliver(const Outcome& outcome, OpenFile& file, void* buffer, std::size_t size)
{
    auto* const bytes = static_cast<std::uint8_t*>(buffer);
    if (outcome.has("hex")) {
        Bytes scripted = outcome.bytes("hex");
        scripted.resize(std::min(scripted.size(), size));
        std::ranges::copy(scripted, bytes);
        return static_cast<ssize_t>(scripted.size());
    }
    const std::size_t most = limitCount(outcome, size);
    const ssize_t count =
        file.isNode ? readNode(file, bytes, most) : REAL(read)(file.descriptor, bytes, most);
    const long long flipped = outcome.number("flip", -1);
    if (flipped >= 0 && flipped < count) {
        bytes[flipped] ^= 1;
    }
    if (!outcome.has("short") || count <= 0) {
        return count;
    }
    REAL(lseek)(file.descriptor, count / 2 - count, SEEK_CUR); // a node's rest is lost
    return count / 2;
}

ssize_t accept(const Outcome& outcome, const OpenFile& file, const void* buffer, std::size_t size)
{
    const std::size_t most = outcome.has("short") ? size / 2 : limitCount(outcome, size);
    if (!file.isNode) {
        return REAL(write)(file.descriptor, buffer, most);
    }
    return most < size ? static_cast<ssize_t>(most) // the node drops what is not whole
                       : writeNode(file, buffer, size);
}

double toSeconds(const timeval& time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

/// Waits until a point in time, at most for the time-out, of which what is left comes back.
void waitWithin(double arrival, timeval* timeout)
{
    const double end = timeout == nullptr ? never : now() + toSeconds(*timeout);
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
    Call call(path + std::string(":open"), to_string(flags));
    int fd = -1;
    // Descriptors differ from machine to machine and are not traced.
    call.perform([&] { return std::min(fd = openFile(path, flags), 0); });
    return fd;
}

FILE* fopen(const char* path, const char* mode)
{
    Call call(path + std::string(":fopen"), mode);
    FILE* stream = nullptr;
    call.perform([&] { return (stream = openStream(path, mode)) != nullptr ? 0 : -1; });
    return stream;
}

int close(int fd)
{
    const auto file = openFiles().extract(fd);
    if (!file.empty() && file.mapped().isNode) {
        showStrayText(file.mapped());
    }
    const int result = REAL(close)(fd);
    if (!file.empty()) {
        return Call(file.mapped().path + ":close").perform([&] { return result; });
    }
    if (result == -1) {
        trace("stray(close)"); // of what may be somebody else's by now
    }
    return result;
}

int unlink(const char* path) noexcept
{
    return Call(path + std::string(":unlink")).perform([&] { return removeFile(path); });
}

ssize_t read(int fd, void* buffer, size_t size)
{
    OpenFile* const file = findFile(fd);
    if (file == nullptr) {
        return REAL(read)(fd, buffer, size);
    }
    Call call(file->path + ":read", to_string(size));
    return call.perform([&] { return deliver(call.outcome(), *file, buffer, size); });
}

ssize_t write(int fd, const void* buffer, size_t size)
{
    const OpenFile* const file = findFile(fd);
    if (file == nullptr) {
        return REAL(write)(fd, buffer, size);
    }
    Call call(file->path + ":write", file->isNode ? toHex(buffer, size) : to_string(size));
    return call.perform([&] { return accept(call.outcome(), *file, buffer, size); });
}

off_t lseek(int fd, off_t offset, int whence) noexcept
{
    const OpenFile* const file = findFile(fd);
    if (file == nullptr) {
        return REAL(lseek)(fd, offset, whence);
    }
    Call call(file->path + ":lseek", to_string(offset) + ", " + to_string(whence));
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
    Call call(file->path + ":fsync", position);
    return call.perform([&] { return file->isNode ? 0 : REAL(fsync)(fd); });
}

/// Waits for one file, to read it. Sets and time-out come back as Linux leaves them.
int select(int count, fd_set* readSet, fd_set* writeSet, fd_set* exceptSet, timeval* timeout)
{
    const int fd = std::clamp(count, 1, FD_SETSIZE) - 1;
    fd_set wanted{};
    FD_SET(fd, &wanted);
    const bool isForOne = readSet != nullptr && writeSet == nullptr && exceptSet == nullptr &&
                          std::memcmp(readSet, &wanted, sizeof(wanted)) == 0;
    const OpenFile* const file = isForOne ? findFile(fd) : nullptr;
    if (file == nullptr) {
        report("select waits for something else than one open file, to read it");
        waitUntil(never);
        return failWith(EINVAL);
    }
    Call call(file->path + ":select", timeout == nullptr ? "none" : to_string(toSeconds(*timeout)));
    return call.perform([&] {
        if (call.outcome().has("end")) {
            waitUntil(never); // a listener is ended from outside
        }
        const bool timesOut = call.outcome().has("timeout");
        const double arrival = timesOut ? never : nextArrival(*file);
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
    return Call("usleep", to_string(microseconds)).perform([&] {
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

// By these names a tool with _FORTIFY_SOURCE calls two of them.
// NOLINTBEGIN(clang-diagnostic-reserved-identifier,readability-identifier-naming)
int __open_2(const char* path, int flags)
{
    return open(path, flags);
}

ssize_t __read_chk(int fd, void* buffer, size_t size, size_t room)
{
    return size <= room ? read(fd, buffer, size) : (std::abort(), -1);
}

// NOLINTEND(clang-diagnostic-reserved-identifier,readability-identifier-naming)

} // extern "C"
