// The answer to a command of a PIC. The input's first byte chooses the command and the PIC.

#include "fuzz/FuzzTarget.h"
#include "pic/GpsPicCheck.h"
#include "pic/PicGlobals.h"

#include <algorithm>

using lc::MoxArmControl;

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
    const auto command = static_cast<MoxArmControl::PicUpdateCmdType>(data[0] % 16);
    const std::string block = toText(data + 1, std::min(size - 1, maxBlockSize));
    deliver(block);
    resetPicGlobals();
    PicCommandChannel channel;
    channel.open();
    bool isAccepted = false;
    const std::string printed = capture([&] {
        isAccepted =
            channel.sendPicCommand(MoxArmControl::PicDevNone, command, {},
                                   data[0] >= 128 ? checkGpsPicResponse : checkPicResponse);
    });
    expect(isAccepted == (printed.find("PicUpdateErr: ") == std::string::npos), printed);
    expect(!isAccepted || block.size() > sizeof(ArmRecordHeader), printed);
    expect(Cmd == MoxArmControl::PicCmdNone && GpsPicMode >= 0 && GpsPicMode <= 255, printed);
    return 0;
}
