#include "listeners/ArmCommTestTask.h"

#include "base/BigEndian.h"
#include "lc/MoxArmControl.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

using lc::MoxArmControl;

namespace {

enum Register : std::uint8_t {
    deviceVersion = 0x00,
    firmwareVersion = 0x01,
    majorVersion = 0x02,
    minorVersion = 0x03,
    authDeviceId = 0x04,
    errorStatus = 0x05,
    controlStatus = 0x10,
    certificateLength = 0x30, ///< 2 bytes, big-endian
    certificateData = 0x31,   ///< and the registers behind it, a page each
};

constexpr int maxPageSize = 128;
constexpr int bufferSize = 1024;

using Buffer = std::array<unsigned char, bufferSize>;

struct StatusRegister {
    Register number;
    const char* format;
};

constexpr std::array<StatusRegister, 8> statusRegisters{{
    {errorStatus, "Read Error Status: %02X\n"},
    {deviceVersion, "Read Device Version: %02X\n"},
    {firmwareVersion, "Read Firmware Version: %02X\n"},
    {controlStatus, "Read Control/Status: %02X\n"},
    {majorVersion, "Read Major Vs: %02X\n"},
    {minorVersion, "Read Minor Vs: %02X\n"},
    {authDeviceId, "Read Auth Dev Id: %02X\n"},
    {controlStatus, "Read Auth Control/Status: %02X\n"},
}};

void writeStatus(Buffer& buffer)
{
    std::puts("Writing Status Byte");
    buffer[0] = 0;
    MoxArmControl::Ipad_Auth_Chip_Tx(controlStatus, buffer.data(), 1);
}

/// A register that can't be read shows what the read before it left in the buffer.
void printStatusRegisters(Buffer& buffer)
{
    for (const StatusRegister& reg : statusRegisters) {
        int count = 0;
        MoxArmControl::Ipad_Auth_Chip_Rx(reg.number, buffer.data(), 1, &count);
        std::printf(reg.format, buffer[0]);
    }
}

/// Fetches a certificate of `length` bytes. Returns the status of the task.
int readCertificate(Buffer& buffer, int length)
{
    std::uint8_t reg = certificateData;
    int remaining = length;
    while (remaining > 0) {
        const int page = std::min(remaining, maxPageSize);
        std::printf("[MFI] Cert try to read %d bytes\n", page);
        int count = 0;
        if (!MoxArmControl::Ipad_Auth_Chip_Rx(reg, buffer.data(), page, &count)) {
            std::puts("Ipad_Auth_Chip_Rx() Failed.");
            return -1;
        }
        if (count <= 0) {
            std::puts("[MFI] Auth failed reading");
            return -1;
        }
        std::printf("[MFI] Was able to fetch %d of %d bytes\n", count, page);
        ++reg;
        remaining -= count;
    }
    return 0;
}

} // namespace

int ArmCommTestTask::run()
{
    Buffer buffer{};
    writeStatus(buffer);
    printStatusRegisters(buffer);

    int count = 0;
    if (!MoxArmControl::Ipad_Auth_Chip_Rx(certificateLength, buffer.data(), 2, &count)) {
        std::puts("Ipad Auth Read Fail");
        return 0;
    }
    if (count <= 0) {
        std::puts("Invalid Length read for MFI Certificate");
        return -1;
    }
    const int length = readBigEndian16(buffer.data());
    if (length >= bufferSize) {
        std::printf("Invalid Length (%i) read for MFI Certificate\n", length);
        return -1;
    }
    std::printf("Read Certificate Length: %d\n", length);
    buffer.fill(0);
    return readCertificate(buffer, length);
}
