#include "simulator/OpenFile.h"

#include "simulator/Call.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <map>
#include <utility>

namespace simulator {

namespace {

/// Lives on when the program ends: the last reports are written behind the end of all statics.
std::map<int, std::unique_ptr<OpenFile>>& openFiles()
{
    static auto* const files = new std::map<int, std::unique_ptr<OpenFile>>;
    return *files;
}

/// The scripted count, or what `size` allows.
std::size_t limitCount(const Outcome& outcome, std::size_t size)
{
    const auto most = static_cast<long long>(size);
    return static_cast<std::size_t>(std::clamp(outcome.number("count", most), 0LL, most));
}

void flipBit(const Outcome& outcome, std::uint8_t* bytes, ssize_t count)
{
    const long long offset = outcome.number("flip", -1);
    if (offset >= 0 && offset < count) {
        bytes[offset] ^= 1;
    }
}

} // namespace

OpenFile::OpenFile(const std::string& filePath, int fileDescriptor)
    : name(filePath), fd(fileDescriptor)
{
}

ssize_t OpenFile::read(void* buffer, std::size_t size)
{
    const Call call(key("read"), "read(" + name + ", " + std::to_string(size) + ")");
    return call.perform([&] { return deliver(call.outcome(), buffer, size); });
}

ssize_t OpenFile::deliver(const Outcome& outcome, void* buffer, std::size_t size)
{
    auto* const bytes = static_cast<std::uint8_t*>(buffer);
    if (outcome.has("hex")) {
        const Bytes scripted = outcome.bytes("hex");
        const std::size_t count = std::min(scripted.size(), size);
        std::copy_n(scripted.begin(), count, bytes);
        return static_cast<ssize_t>(count);
    }
    const ssize_t count = ordinaryRead(buffer, limitCount(outcome, size));
    flipBit(outcome, bytes, count);
    if (!outcome.has("short") || count <= 0) {
        return count;
    }
    giveBack(static_cast<std::size_t>(count - count / 2));
    return count / 2;
}

ssize_t OpenFile::write(const void* buffer, std::size_t size)
{
    const Call call(key("write"), "write(" + name + ", " + describeWrite(buffer, size) + ")");
    return call.perform([&] { return accept(call.outcome(), buffer, size); });
}

ssize_t OpenFile::accept(const Outcome& outcome, const void* buffer, std::size_t size)
{
    if (outcome.has("count")) {
        return shortWrite(buffer, limitCount(outcome, size));
    }
    return outcome.has("short") ? shortWrite(buffer, size / 2) : ordinaryWrite(buffer, size);
}

off64_t OpenFile::seek(off64_t offset, int whence)
{
    const Call call(key("lseek"), "lseek(" + name + ", " + std::to_string(offset) + ", " +
                                      std::to_string(whence) + ")");
    return call.perform([&] { return ordinarySeek(offset, whence); });
}

int OpenFile::sync()
{
    const Call call(key("fsync"), "fsync(" + name + describeSync() + ")");
    return call.perform([&] { return ordinarySync(); });
}

int OpenFile::close()
{
    const Call call(key("close"), "close(" + name + ")");
    const int result = release();
    return call.perform([&] { return result; });
}

int failWith(int error)
{
    errno = error;
    return -1;
}

OpenFile* findFile(int descriptor)
{
    const auto file = openFiles().find(descriptor);
    return file != openFiles().end() ? file->second.get() : nullptr;
}

void addFile(std::unique_ptr<OpenFile> file)
{
    const int descriptor = file->descriptor();
    openFiles()[descriptor] = std::move(file);
}

std::unique_ptr<OpenFile> takeFile(int descriptor)
{
    auto node = openFiles().extract(descriptor);
    return node.empty() ? nullptr : std::move(node.mapped());
}

} // namespace simulator
