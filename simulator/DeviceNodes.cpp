// Puts the simulated device nodes, and a directory in place of /var/volatile/, beneath a program
// that is started with this library preloaded: it stands in front of the calls of libc that reach
// them. Every call on a file opened through `open` is traced and ends as the script says.

#include "simulator/Channels.h"
#include "simulator/Instrument.h"
#include "simulator/ProgrammingDevice.h"
#include "simulator/Script.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <memory>
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

/// A device node: what it delivers, and when.
class Node {
public:
    virtual ~Node() = default;
    virtual double nextArrival() { return never; }
    virtual Bytes take() { return {}; }
    virtual bool give(const std::uint8_t* /*bytes*/, std::size_t /*size*/) { return false; }
};

/// A channel of an instrument in use, with a new block every 0.6 seconds.
class LiveNode : public Node {
public:
    explicit LiveNode(Bytes (*makeNext)(unsigned int)) : make(makeNext) {}
    double nextArrival() override { return 0.6 * (step + 1); }
    Bytes take() override { return make(step++); }

private:
    Bytes (*make)(unsigned int);
    unsigned int step = 0;
};

class CommNode : public Node {
public:
    double nextArrival() override { return replies().empty() ? never : replies().front().arrival; }
    Bytes take() override
    {
        const Bytes block = replies().front().block;
        replies().pop_front();
        return block;
    }

private:
    static std::deque<Instrument::Reply>& replies() { return Instrument::instance().replies; }
};

class ProgramNode : public Node {
public:
    ~ProgramNode() override { device.reportMemory(); }
    bool give(const std::uint8_t* bytes, std::size_t size) override
    {
        return device.take(bytes, size);
    }

private:
    simulator::ProgrammingDevice device;
};

std::unique_ptr<Node> makeNode(const std::string& path)
{
    if (path == "/dev/arm-events") {
        return std::make_unique<LiveNode>(simulator::makeEventBlock);
    }
    if (path == "/dev/arm-sensors") {
        return std::make_unique<LiveNode>(simulator::makeSensorBlock);
    }
    if (path == "/dev/ttyARM0") {
        return std::make_unique<LiveNode>(simulator::makeTtyBytes);
    }
    if (path == "/dev/arm-comms") {
        return std::make_unique<CommNode>();
    }
    if (path == "/dev/arm-program") {
        return std::make_unique<ProgramNode>();
    }
    return nullptr;
}

struct OpenFile {
    std::string path;
    std::unique_ptr<Node> node; ///< null for a file of the machine

    std::string key(const char* call) const { return path + ":" + call; }
    bool readIsScripted() const { return Script::instance().mentions(key("read")); }

    /// When the next read will deliver something, in seconds.
    double nextArrival() const
    {
        if (readIsScripted()) {
            return Script::instance().hasMore(key("read")) ? 0 : never;
        }
        return node->nextArrival();
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

std::string translate(const char* path)
{
    constexpr std::string_view volatileDirectory = "/var/volatile/";
    const char* const replacement = std::getenv("VIMBRA_SIM_VOLATILE");
    const std::string text = path;
    if (replacement == nullptr || !text.starts_with(volatileDirectory)) {
        return text;
    }
    return replacement + text.substr(volatileDirectory.size() - 1);
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

template <class Result = int>
Result failWith(int error)
{
    errno = error;
    return -1;
}

/// The run of a listener ends here, as if from outside.
void endRun()
{
    std::fflush(stdout);
    std::raise(SIGTERM);
}

ssize_t deliver(const Bytes& bytes, void* buffer, std::size_t size)
{
    const std::size_t count = std::min(bytes.size(), size);
    std::copy_n(bytes.begin(), count, static_cast<std::uint8_t*>(buffer));
    return static_cast<ssize_t>(count);
}

ssize_t readFrom(OpenFile& file, int fd, void* buffer, std::size_t size)
{
    const auto outcome = Script::instance().next(file.key("read"));
    if (outcome && outcome->has("error")) {
        return failWith<ssize_t>(outcome->error());
    }
    if (outcome && outcome->has("hex")) {
        return deliver(outcome->bytes("hex"), buffer, size);
    }
    if (file.node) {
        return file.nextArrival() <= simulator::now() ? deliver(file.node->take(), buffer, size)
                                                      : failWith<ssize_t>(EAGAIN);
    }
    const auto wanted = static_cast<long>(size);
    const long limit = outcome ? std::min(outcome->number("count", wanted), wanted) : wanted;
    const ssize_t count = REAL(read)(fd, buffer, static_cast<std::size_t>(limit));
    const long flipped = outcome ? outcome->number("flip", count) : count;
    if (flipped < count) {
        static_cast<std::uint8_t*>(buffer)[flipped] ^= 1;
    }
    return count;
}

ssize_t writeTo(OpenFile& file, int fd, const void* buffer, std::size_t size)
{
    const auto outcome = Script::instance().next(file.key("write"));
    if (outcome && outcome->has("error")) {
        return failWith<ssize_t>(outcome->error());
    }
    if (outcome && outcome->has("count")) {
        return outcome->number("count", 0);
    }
    if (!file.node) {
        return REAL(write)(fd, buffer, size);
    }
    return file.node->give(static_cast<const std::uint8_t*>(buffer), size)
               ? static_cast<ssize_t>(size)
               : failWith<ssize_t>(EIO);
}

int waitFor(const OpenFile& file, const timeval* timeout)
{
    const auto outcome = Script::instance().next(file.key("select"));
    if (outcome && outcome->has("error")) {
        return failWith(outcome->error());
    }
    if (outcome && outcome->has("end")) {
        endRun();
    }
    const double limit = timeout == nullptr ? never
                                            : static_cast<double>(timeout->tv_sec) +
                                                  static_cast<double>(timeout->tv_usec) / 1e6;
    const double wait = std::max(0.0, file.nextArrival() - simulator::now());
    if (outcome && outcome->has("timeout")) {
        simulator::pause(timeout == nullptr ? 0 : limit);
        return 0;
    }
    if (wait >= never / 2 && timeout == nullptr) {
        endRun();
    }
    simulator::pause(std::min(wait, limit));
    return wait <= limit ? 1 : 0;
}

} // namespace

extern "C" {

int open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    const std::string call = std::string("open(") + path + ", " + std::to_string(flags) + ")";
    const auto outcome = Script::instance().next(std::string(path) + ":open");
    if (outcome && outcome->has("error")) {
        return traced(call, failWith(outcome->error()));
    }
    std::unique_ptr<Node> node = makeNode(path);
    // A simulated node is never touched through its descriptor, which only has to be a real one.
    const int fd =
        node ? REAL(open)("/dev/null", O_RDONLY) : REAL(open)(translate(path).c_str(), flags, mode);
    if (fd != -1) {
        openFiles()[fd] = {path, std::move(node)};
    }
    return traced(call, fd);
}

FILE* fopen(const char* path, const char* mode)
{
    return REAL(fopen)(translate(path).c_str(), mode);
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
    if (file == nullptr) {
        return REAL(write)(fd, buffer, size);
    }
    return traced("write(" + file->path + ", " +
                      simulator::toHex(static_cast<const std::uint8_t*>(buffer), size) + ")",
                  writeTo(*file, fd, buffer, size));
}

int fsync(int fd)
{
    OpenFile* const file = find(fd);
    return file == nullptr ? REAL(fsync)(fd) : traced("fsync(" + file->path + ")", 0);
}

int select(int count, fd_set* readSet, fd_set* writeSet, fd_set* exceptSet, timeval* timeout)
{
    const auto file = std::find_if(openFiles().begin(), openFiles().end(), [&](const auto& entry) {
        return entry.second.node && readSet != nullptr && entry.first < count &&
               FD_ISSET(entry.first, readSet);
    });
    if (file == openFiles().end()) {
        return REAL(select)(count, readSet, writeSet, exceptSet, timeout);
    }
    const std::string limit = timeout == nullptr ? "none"
                                                 : std::to_string(timeout->tv_sec) + "." +
                                                       std::to_string(timeout->tv_usec);
    const int ready = waitFor(file->second, timeout);
    if (ready == 0) {
        FD_ZERO(readSet);
    }
    return traced("select(" + file->second.path + ", " + limit + ")", ready);
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
