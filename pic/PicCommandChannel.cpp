#include "pic/PicCommandChannel.h"

#include "base/Readiness.h"
#include "pic/PicGlobals.h"

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <span>
#include <unistd.h>

using lc::MoxArmControl;

namespace {

constexpr const char* commDevice = "/dev/arm-comms";
constexpr int replyTimeoutSeconds = 1;
constexpr std::size_t drainSize = 10;
constexpr int maxEmptyReads = 100; // in a row, while draining

constexpr std::uint8_t upToDateStatus = 0xFE;

/// The result of the first entry that is not accepted; those behind it are not looked at. A reply
/// that was not received whole is bad data.
PicUpdateErr checkReply(const ArmRecord& reply, PicResponseCheck check)
{
    PicUpdateErr result = reply.cutShort ? PicErrBadData : PicErrNone;
    reply.forEach<DataEntry>(
        [&](const DataEntry& entry) { result = result == PicErrNone ? check(entry) : result; });
    return result;
}

/// The result of the first reply that is not accepted. A block without any counts as accepted.
PicUpdateErr checkReplyBlock(std::span<const std::byte> block, PicResponseCheck check)
{
    PicUpdateErr result = PicErrNone;
    ArmRecordWalk walk(block);
    for (auto record = walk.next(); record && result == PicErrNone; record = walk.next()) {
        if (record->tag == picReplyTag) {
            result = checkReply(*record, check);
        }
    }
    return result;
}

} // namespace

PicUpdateErr checkPicResponse(const DataEntry& entry)
{
    if (entry.length <= 0) {
        return PicErrNoResponseLen;
    }
    switch (entry.data[0]) {
    case acceptedPicStatus:
        return PicErrNone;
    case upToDateStatus:
        return PicErrUpToDate;
    default:
        return PicErrUpdateOrResponse;
    }
}

bool PicCommandChannel::open()
{
    ArmCommFd.reset(openForWaiting(commDevice, O_RDONLY | O_NONBLOCK));
    if (!ArmCommFd.isOpen()) {
        std::printf("Failed opening %s\n", commDevice);
    }
    return ArmCommFd.isOpen();
}

/// A device at its end of file can be read for ever, so empty reads are counted.
void PicCommandChannel::drain() const
{
    std::array<std::byte, drainSize> discarded;
    int count = 0;
    int emptyReads = 0;
    while (emptyReads < maxEmptyReads &&
           readArmComm(discarded.data(), discarded.size(), count, 0) == PicErrNone) {
        emptyReads = count == 0 ? emptyReads + 1 : 0;
    }
}

bool PicCommandChannel::send(MoxArmControl::PicUpdateDevType device,
                             MoxArmControl::PicUpdateCmdType command, int length,
                             std::uint8_t* data, PicResponseCheck check) const
{
    Cmd = command;
    MoxArmControl::Pic_Update_Comm_Tx(device, command, length, data);
    return waitForPicResponse(check);
}

bool PicCommandChannel::waitForPicResponse(PicResponseCheck check) const
{
    const PicUpdateErr result = readPicResponses(check);
    if (result != PicErrNone) {
        printPicUpdateErr(result);
    }
    Cmd = MoxArmControl::PicCmdNone;
    return result == PicErrNone;
}

PicUpdateErr PicCommandChannel::readPicResponses(PicResponseCheck check) const
{
    std::array<std::byte, maxBlockSize> block;
    int count = 0;
    const PicUpdateErr result = readArmComm(block.data(), block.size(), count, replyTimeoutSeconds);
    if (result != PicErrNone) {
        return result;
    }
    const auto size = static_cast<std::size_t>(count);
    if (size <= sizeof(ArmRecordHeader)) {
        return PicErrBadData;
    }
    return checkReplyBlock(std::span(block).first(size), check);
}

PicUpdateErr PicCommandChannel::readArmComm(std::byte* buffer, std::size_t size, int& count,
                                            int seconds) const
{
    const int fd = ArmCommFd.get();
    if (fd == -1) {
        return PicErrNotOpened;
    }
    switch (waitForReading(fd, seconds)) {
    case Readiness::failed:
        return PicErrWait;
    case Readiness::timedOut:
        return PicErrTimeout;
    case Readiness::ready:
        break;
    }
    count = static_cast<int>(read(fd, buffer, size));
    return count < 0 ? PicErrFileRead : PicErrNone;
}
