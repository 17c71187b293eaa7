// The answer to a command of a PIC: what is printed of it. The input's first byte chooses the
// command and the PIC.

#include "fuzz/FuzzTarget.h"
#include "fuzz/PlainReading.h"
#include "pic/GpsPicCheck.h"
#include "pic/PicGlobals.h"

#include <algorithm>

using lc::MoxArmControl;

namespace {

std::string plainReply(const std::string& block, bool isGps, int command)
{
    std::string printed;
    const std::string failure = "PicUpdateErr: ";
    if (block.size() <= 8) {
        return failure + "Bad Data Error.\n";
    }
    for (const PlainRecord& record : plainRecords(block)) {
        if (record.tag != 0xfeedbe03) {
            continue;
        }
        if (record.isCutShort) {
            return printed + failure + "Bad Data Error.\n";
        }
        for (std::size_t i = 0; i + 260 <= record.payload.size(); i += 260) {
            const std::uint32_t length = plainWord(record.payload, i);
            const std::uint32_t status = plainWord(record.payload, i + 4) % 256;
            if (length == 0 || (length >= 0x80000000 && !isGps)) {
                return printed + failure + "Didn't get a response len.\n";
            }
            if (isGps && command == 6) {
                printed += "GPS PIC Mode: " + std::to_string(status) + "\n";
            } else if (isGps && command == 7) {
                const std::uint32_t version = __builtin_bswap32(plainWord(record.payload, i + 4));
                char line[60];
                std::snprintf(line, sizeof(line), "GPS PIC Version: %ld (0x%X)\n",
                              static_cast<long>(version), version);
                printed += line;
            } else if (isGps && command > 7) {
                continue;
            } else if (status == 0xFE && !isGps) {
                return failure + "PIC version already up-to-date or newer.\n";
            } else if (status != 0) {
                return failure + "Update or Response Err.\n";
            }
        }
    }
    return printed;
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
    PicCommandChannel channel;
    channel.open();
    const bool isGps = data[0] >= 128;
    const auto command = static_cast<MoxArmControl::PicUpdateCmdType>(data[0] % 16);
    const std::string block = toText(data + 1, std::min(size - 1, std::size_t{4096}));
    deliver(block);
    bool isAccepted = false;
    const std::string printed = capture([&] {
        isAccepted = channel.sendPicCommand(MoxArmControl::PicDevNone, command, {},
                                            isGps ? checkGpsPicResponse : checkPicResponse);
    });
    expectSame(printed, plainReply(block, isGps, command));
    if (isAccepted != (printed.find("PicUpdateErr") == std::string::npos) || Cmd != 255) {
        std::abort();
    }
    return 0;
}
