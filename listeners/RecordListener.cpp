#include "listeners/RecordListener.h"

#include "base/Readiness.h"
#include "listeners/BlockDump.h"

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {
constexpr useconds_t pauseMicroseconds = 100'000; // lets records gather into one block
}

bool RecordListener::openDevice()
{
    fd = openForWaiting(channel.device, O_RDONLY | O_NONBLOCK);
    if (fd == -1) {
        std::printf("Failed openinig %s\n", channel.device);
    }
    return fd != -1;
}

int RecordListener::listen()
{
    fd_set readSet;
    FD_ZERO(&readSet);
    FD_SET(fd, &readSet);
    for (;;) {
        if (selectForReading(fd, readSet, nullptr) == Readiness::timedOut) {
            std::puts("Select timed out");
            break;
        }
        usleep(pauseMicroseconds);
        if (!readBlock()) {
            break;
        }
    }
    close(fd);
    fd = -1;
    return 0;
}

/// One read step. Returns false only when the device is not open.
bool RecordListener::readBlock()
{
    suspicious = false;
    if (fd == -1) {
        return false;
    }
    std::array<std::byte, maxBlockSize> buffer;
    const ssize_t count = read(fd, buffer.data(), buffer.size());
    if (count < 0) {
        std::perror(channel.readErrorText);
        return true;
    }
    const auto size = static_cast<std::size_t>(count);
    if (size <= sizeof(ArmRecordHeader)) {
        std::printf("Did not read enough bytes, only: %i\n", static_cast<int>(count));
        return true;
    }
    handleRecords(std::span(buffer).first(size));
    return true;
}

void RecordListener::handleRecords(std::span<const std::byte> block)
{
    ArmRecordWalk walk(block);
    while (const auto record = walk.next()) {
        handleRecord(*record);
    }
    if (suspicious) {
        dumpBlock(block);
    }
}

void RecordListener::handleRecord(const ArmRecord& record)
{
    for (const Handler& handler : channel.handlers) {
        if (handler.tag == record.tag) {
            handler.handle(*this, record);
            return;
        }
    }
    if (channel.handleUnknown != nullptr) {
        channel.handleUnknown(record.tag);
    }
}
