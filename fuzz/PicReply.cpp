// The answer to a command of a PIC. The input's first byte chooses the command and the PIC.

#include "fuzz/FuzzTarget.h"
#include "fuzz/PlainReading.h"
#include "pic/GpsPicCheck.h"
#include "pic/PicGlobals.h"

#include <algorithm>

using lc::MoxArmControl;

namespace {

struct PlainReply {
    std::string failure;
    std::int64_t mode = gpsPicModeUnknown;
    std::int64_t version = 0;

    PlainReply(const std::string& block, bool isGps, int command)
    {
        failure = block.size() <= 8 ? "Bad Data Error." : "";
        for (const PlainRecord& record : plainRecords(block)) {
            if (record.tag != 0xfeedbe03 || !failure.empty()) {
                continue;
            }
            failure = record.isCutShort ? "Bad Data Error." : "";
            for (std::size_t i = 0; i + 260 <= record.payload.size() && failure.empty(); i += 260) {
                take(record.payload.substr(i, 260), isGps, command);
            }
        }
    }

private:
    void take(const std::string& entry, bool isGps, int command)
    {
        const std::uint32_t length = plainWord(entry, 0);
        if (length == 0 || (length >= 0x80000000 && !isGps)) {
            failure = "Didn't get a response len.";
        } else if (isGps && command == 6) {
            mode = plainBigEndian(entry, 4, 1);
        } else if (isGps && command == 7) {
            version = plainBigEndian(entry, 4, 4);
        } else if (entry[4] == '\xFE' && !isGps) {
            failure = "PIC version already up-to-date or newer.";
        } else if (entry[4] != '\0' && (!isGps || command <= 5)) {
            failure = "Update or Response Err.";
        }
    }
};

std::string describe(const std::string& failure, std::int64_t mode, std::int64_t version)
{
    return failure + " mode " + std::to_string(mode) + " version " + std::to_string(version);
}

} // namespace

bool MoxArmControl::Pic_Update_Comm_Tx(PicUpdateDevType /*device*/, PicUpdateCmdType /*command*/,
                                       int /*length*/, unsigned char* /*data*/)
{
    return true;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const bool isGps = data[0] >= 128;
    const auto command = static_cast<MoxArmControl::PicUpdateCmdType>(data[0] % 16);
    const std::string block = toText(data + 1, std::min(size - 1, maxBlockSize));
    deliver(block);
    resetPicGlobals();
    PicCommandChannel channel;
    channel.open();
    bool isAccepted = false;
    const std::string printed = capture([&] {
        isAccepted = channel.sendPicCommand(MoxArmControl::PicDevNone, command, {},
                                            isGps ? checkGpsPicResponse : checkPicResponse);
    });
    const PlainReply plain(block, isGps, command);
    const std::string expected =
        plain.failure.empty() ? "" : "PicUpdateErr: " + plain.failure + "\n";
    expectSame(describe(isAccepted ? "" : printed.substr(printed.find("PicUpdateErr")), GpsPicMode,
                        GpsPicVersion),
               describe(expected, plain.mode, plain.version));
    expectSame(std::to_string(Cmd), "255");
    return 0;
}
