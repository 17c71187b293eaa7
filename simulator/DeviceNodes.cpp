#include "simulator/DeviceNodes.h"

#include "simulator/Bytes.h"
#include "simulator/Channels.h"
#include "simulator/Clock.h"
#include "simulator/DeviceNames.h"
#include "simulator/Instrument.h"
#include "simulator/OpenFile.h"
#include "simulator/RealCall.h"
#include "simulator/Report.h"
#include "simulator/Script.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <memory>
#include <sys/mman.h>
#include <unistd.h>

namespace simulator {

namespace {

constexpr double liveInterval = 0.6; // seconds between the blocks of a channel

Bytes toBytes(const void* buffer, std::size_t size)
{
    const auto* const bytes = static_cast<const std::uint8_t*>(buffer);
    return Bytes(bytes, bytes + size);
}

/// What the program does with a node goes to the instrument. The descriptor is that of an empty
/// file, which shows what reaches it by another way than the calls in front of which the simulator
/// stands: text for a standard descriptor whose number the node was given.
class DeviceNode : public OpenFile {
public:
    DeviceNode(const std::string& nodePath, int descriptor, int openFlags)
        : OpenFile(nodePath, descriptor), flags(openFlags)
    {
    }

    double nextArrival() const override;

private:
    std::string describeWrite(const void* buffer, std::size_t size) const override
    {
        return toHex(static_cast<const std::uint8_t*>(buffer), size);
    }
    std::string describeSync() const override { return ""; }
    ssize_t ordinaryRead(void* buffer, std::size_t size) override;
    void giveBack(std::size_t /*count*/) override {} // the rest of a block is lost
    ssize_t ordinaryWrite(const void* buffer, std::size_t size) override;
    ssize_t shortWrite(const void* /*buffer*/, std::size_t size) override
    {
        return static_cast<ssize_t>(size); // the node drops what is not whole
    }
    off64_t ordinarySeek(off64_t /*offset*/, int /*whence*/) override { return failWith(ESPIPE); }
    int ordinarySync() override
    {
        reportStrayText();
        return 0;
    }
    int release() override
    {
        reportStrayText();
        return REAL(close)(descriptor());
    }

    bool isOpenFor(int mode) const
    {
        return (flags & O_ACCMODE) == mode || (flags & O_ACCMODE) == O_RDWR;
    }
    double ordinaryArrival() const;
    Bytes takeBlock();
    void reportStrayText();

    int flags;
    unsigned int step = 0; ///< blocks delivered by a live channel
};

/// A channel whose scripted reads are used up has nothing more to tell; answers of a PIC come as
/// they do.
double DeviceNode::nextArrival() const
{
    const Script& script = Script::instance();
    if (script.hasMore(key("read"))) {
        return script.upcoming(key("read")).isOrdinary() ? ordinaryArrival() : 0;
    }
    return script.mentions(key("read")) && path() != commDevice ? never : ordinaryArrival();
}

double DeviceNode::ordinaryArrival() const
{
    if (path() == commDevice) {
        const auto& replies = Instrument::instance().replies;
        return replies.empty() ? never : replies.front().arrival;
    }
    return path() == programDevice ? never : liveInterval * (step + 1);
}

ssize_t DeviceNode::ordinaryRead(void* buffer, std::size_t size)
{
    if (!isOpenFor(O_RDONLY)) {
        return failWith(EBADF);
    }
    if (ordinaryArrival() > now() && (flags & O_NONBLOCK) != 0) {
        return failWith(EAGAIN);
    }
    waitUntil(ordinaryArrival());
    const Bytes block = takeBlock();
    const std::size_t count = std::min(block.size(), size);
    std::copy_n(block.begin(), count, static_cast<std::uint8_t*>(buffer));
    return static_cast<ssize_t>(count);
}

Bytes DeviceNode::takeBlock()
{
    if (path() != commDevice) {
        return makeLiveBlock(path(), step++);
    }
    auto& replies = Instrument::instance().replies;
    Bytes block = replies.front().block;
    replies.pop_front();
    return block;
}

ssize_t DeviceNode::ordinaryWrite(const void* buffer, std::size_t size)
{
    reportStrayText();
    if (!isOpenFor(O_WRONLY)) {
        return failWith(EBADF);
    }
    const bool isTaken = path() == ttyDevice ||
                         (path() == programDevice &&
                          Instrument::instance().programmingDevice.take(toBytes(buffer, size)));
    return isTaken ? static_cast<ssize_t>(size) : failWith(EIO);
}

void DeviceNode::reportStrayText()
{
    const off_t size = REAL(lseek)(descriptor(), 0, SEEK_END);
    if (size <= 0) {
        return;
    }
    Bytes text(static_cast<std::size_t>(size));
    REAL(lseek)(descriptor(), 0, SEEK_SET);
    REAL(read)(descriptor(), text.data(), text.size());
    trace("stray(" + path() + ", " + toHex(text.data(), text.size()) + ")");
    report("%s got %zu bytes of other output", path().c_str(), text.size());
    if (ftruncate(descriptor(), 0) == 0) {
        REAL(lseek)(descriptor(), 0, SEEK_SET);
    }
}

} // namespace

int openDeviceNode(const std::string& path, int flags)
{
    const int fd = memfd_create(path.c_str(), MFD_CLOEXEC);
    if (fd != -1) {
        addFile(std::make_unique<DeviceNode>(path, fd, flags));
    }
    return fd;
}

} // namespace simulator
