#include "listeners/RecordListener.h"

#include "base/Readiness.h"

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <span>
#include <unistd.h>

namespace {
constexpr useconds_t pauseMicroseconds = 100'000; // lets records gather into one block
}

void dumpBlock(const std::byte* block, std::size_t bytes)
{
    constexpr std::size_t bytesPerLine = 8;
    std::printf("****************Maybe broken?: %i\n", static_cast<int>(bytes));
    for (std::size_t i = 0; i < bytes; ++i) {
        const bool endsLine = (i + 1) % bytesPerLine == 0;
        std::printf(endsLine ? "%02x \n" : "%02x ", std::to_integer<unsigned int>(block[i]));
    }
    std::puts("\n*****************************************");
}

bool RecordListener::openDevice()
{
    fd = openForWaiting(device, O_RDONLY | O_NONBLOCK);
    if (fd == -1) {
        std::printf("Failed openinig %s\n", device);
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

bool RecordListener::readBlock()
{
    suspicious = false;
    if (fd == -1) {
        return false;
    }
    std::array<std::byte, maxBlockSize> buffer;
    const ssize_t count = read(fd, buffer.data(), buffer.size());
    if (count < 0) {
        std::perror(readErrorText);
        return true;
    }
    const auto size = static_cast<std::size_t>(count);
    if (size <= sizeof(ArmRecordHeader)) {
        std::printf("Did not read enough bytes, only: %i\n", static_cast<int>(count));
        return true;
    }
    ArmRecordWalk walk(std::span<const std::byte>(buffer).first(size));
    while (const auto record = walk.next()) {
        handleRecord(*record);
    }
    if (suspicious) {
        dumpBlock(buffer.data(), size);
    }
    return true;
}
