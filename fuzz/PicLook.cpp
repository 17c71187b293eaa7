// The look through a PIC's HEX file and the update behind it, which have to agree. The input's
// first byte chooses the PIC, which accepts each command.

#include "base/FileStream.h"
#include "fuzz/FuzzTarget.h"
#include "pic/PicFileLook.h"
#include "pic/PicUpdate.h"

#include <numeric>

using lc::MoxArmControl;

namespace {

std::string sent;    ///< the codes of the commands
bool isSound = true; ///< the payloads have their sizes, and the blocks their checksum

std::string printedBy(PicUpdate& update, int& status)
{
    sent.clear();
    return capture([&] { status = update.run(); });
}

/// What only the look may refuse.
bool isRefusal(const std::string& printed)
{
    return printed.find("Error: Program row") != std::string::npos ||
           printed.find("Error: Configuration") != std::string::npos ||
           printed.find("Error: Fewer data") != std::string::npos ||
           printed.find("Error: Extended") != std::string::npos;
}

} // namespace

bool MoxArmControl::Pic_Update_Comm_Tx(PicUpdateDevType /*device*/, PicUpdateCmdType command,
                                       int length, unsigned char* data)
{
    sent += std::to_string(command);
    const bool isBlock = command == PicCmdDataBlock;
    const int size = isBlock                     ? 69
                     : command == PicCmdConfig   ? 14
                     : command == PicCmdVersions ? 6
                                                 : 0;
    isSound = isSound && length == size &&
              (!isBlock || std::accumulate(data, data + length, 0U) % 256 == 0);
    return true;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2) {
        return 0;
    }
    deliver(std::string("\x03\xbe\xed\xfe\x04\x01\0\0\1\0\0\0", 12) + std::string(256, '\0'));
    PicCommandChannel channel;
    channel.open();
    const PicDevice& device = allPicDevices()[data[0] % allPicDevices().size()];
    std::string text = toText(data + 1, size - 1);
    const FileStream file(fmemopen(text.data(), text.size(), "r"));
    sent.clear();
    bool isAccepted = false;
    const std::string looked =
        capture([&] { isAccepted = lookThroughPicFile(file.get(), device); });
    expect(sent.empty() && isAccepted != looked.starts_with("Error: "), looked);

    // Once more, whatever the look said: it has to have foreseen what the update refuses.
    std::rewind(file.get());
    std::int32_t lineCounter = 0;
    PicUpdate update({channel, device, {1, 2, 3}, file.get(), lineCounter});
    int status = 0;
    const std::string printed = printedBy(update, status);
    expect(isSound && isRefusal(printed) != isAccepted, looked + printed);
    const std::string ending = device.takesFinish ? "31" : "3";
    expect(sent.starts_with("02") && (status == 0) == sent.ends_with(ending) &&
               (status == 0) == printed.ends_with(std::string(device.completionText) + "\n"),
           sent + printed);
    return 0;
}
