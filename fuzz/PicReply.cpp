// The answer to a command of a PIC. The input's first byte chooses the command and the PIC.

#include "fuzz/FuzzTarget.h"
#include "pic/GpsPicCheck.h"
#include "pic/PicGlobals.h"

#include <algorithm>
#include <cstring>

using lc::MoxArmControl;

bool MoxArmControl::Pic_Update_Comm_Tx(PicUpdateDevType /*device*/, PicUpdateCmdType /*command*/,
                                       int /*length*/, unsigned char* /*data*/)
{
    return true;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input = toText(data, size) + '\0';
    const auto command = static_cast<MoxArmControl::PicUpdateCmdType>(input[0] & 0xF);
    const bool isGps = (input[0] & 0x80) != 0;
    const std::string block = input.substr(1, std::min(input.size() - 2, maxBlockSize));
    deliver(block);
    PicCommandChannel channel;
    channel.open();
    bool isAccepted = false;
    const std::string printed = capture(stdout, [&] {
        isAccepted = channel.sendPicCommand(MoxArmControl::PicDevNone, command, {},
                                            isGps ? checkGpsPicResponse : checkPicResponse);
    });
    expect(isAccepted == (printed.find("PicUpdateErr: ") == std::string::npos), "failures told");
    expect(!isAccepted || block.size() > 8, "no answer in a header alone");
    ArmRecordHeader header{};
    std::memcpy(&header, block.data(), std::min(block.size(), sizeof(header)));
    expect(!isAccepted || header.tag != picReplyTag || header.length <= block.size() - 8,
           "no answer in a part of a reply");
    expect(Cmd == 255, "no reply is awaited any more");
    return 0;
}
