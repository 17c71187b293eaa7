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

struct StatusRegister {
    Register number;
    const char* label;
};

constexpr std::array<StatusRegister, 8> statusRegisters{{
    {errorStatus, "Read Error Status"},
    {deviceVersion, "Read Device Version"},
    {firmwareVersion, "Read Firmware Version"},
    {controlStatus, "Read Control/Status"},
    {majorVersion, "Read Major Vs"},
    {minorVersion, "Read Minor Vs"},
    {authDeviceId, "Read Auth Dev Id"},
    {controlStatus, "Read Auth Control/Status"},
}};

/// One pass through the chip's registers, with what the last read left behind.
class ReadOut {
public:
    void writeStatus();
    void printStatusRegisters();

    /// Returns the status of the task.
    int readCertificate();

private:
    bool read(std::uint8_t reg, int size)
    {
        return MoxArmControl::Ipad_Auth_Chip_Rx(reg, buffer.data(), size, &count);
    }
    int readPages(int length);

    std::array<unsigned char, bufferSize> buffer{};
    int count = 0; ///< bytes that the last read returned
};

void ReadOut::writeStatus()
{
    std::puts("Writing Status Byte");
    buffer[0] = 0;
    MoxArmControl::Ipad_Auth_Chip_Tx(controlStatus, buffer.data(), 1);
}

/// A register that can't be read shows what the read before it left in the buffer.
void ReadOut::printStatusRegisters()
{
    for (const StatusRegister& reg : statusRegisters) {
        read(reg.number, 1);
        std::printf("%s: %02X\n", reg.label, buffer[0]);
    }
}

int ReadOut::readCertificate()
{
    if (!read(certificateLength, 2)) {
        std::puts("Ipad Auth Read Fail");
        return 0;
    }
    if (count == 0) {
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
    return readPages(length);
}

int ReadOut::readPages(int length)
{
    std::uint8_t reg = certificateData;
    int remaining = length;
    while (remaining > 0) {
        const int page = std::min(remaining, maxPageSize);
        std::printf("[MFI] Cert try to read %d bytes\n", page);
        if (!read(reg, page)) {
            std::puts("Ipad_Auth_Chip_Rx() Failed.");
            return -1;
        }
        if (count <= 0) { // a negative one would never end the loop
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
    ReadOut readOut;
    readOut.writeStatus();
    readOut.printStatusRegisters();
    return readOut.readCertificate();
}
