#include "listeners/ArmTtyTestTask.h"

#include "base/Readiness.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <fcntl.h>
#include <span>
#include <unistd.h>

namespace {

constexpr const char* ttyDevice = "/dev/ttyARM0";
constexpr int timeoutSeconds = 1;
constexpr unsigned int pauseSeconds = 1; // lets bytes gather into one read
constexpr std::size_t bufferSize = 4096;
constexpr std::size_t bytesPerLine = 16;

void printBytes(std::span<const unsigned char> bytes)
{
    std::size_t printed = 0;
    for (const unsigned char byte : bytes) {
        std::printf("0x%02X ", byte);
        if (++printed % bytesPerLine == 0) {
            std::printf("\n");
        }
    }
    if (printed % bytesPerLine != 0) {
        std::printf("\n");
    }
}

} // namespace

int ArmTtyTestTask::run()
{
    fd = openForWaiting(ttyDevice, O_RDWR | O_NONBLOCK);
    if (fd == -1) {
        std::printf("Failed opening %s\n", ttyDevice);
        return -1;
    }
    listen();
    close(fd);
    fd = -1;
    return 0;
}

void ArmTtyTestTask::listen()
{
    for (;;) {
        if (waitForReading(fd, timeoutSeconds) == Readiness::timedOut) {
            std::puts("Timed out waiting for BT TTY data");
            continue;
        }
        const bool isOpen = readBlock();
        sleep(pauseSeconds);
        if (!isOpen) {
            return;
        }
    }
}

bool ArmTtyTestTask::readBlock() const
{
    if (fd == -1) {
        return false;
    }
    std::array<unsigned char, bufferSize> buffer;
    const ssize_t count = read(fd, buffer.data(), buffer.size());
    if (count < 0) {
        std::perror("Arm-tty read error");
        return true;
    }
    std::puts("Got some BT TTY data");
    printBytes(std::span(buffer).first(static_cast<std::size_t>(count)));
    return true;
}
