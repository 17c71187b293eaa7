// The look through a PIC's HEX file and the update behind it. The input's first byte chooses the
// PIC, which accepts each command.

#include "base/FileStream.h"
#include "fuzz/FuzzTarget.h"
#include "pic/PicFileLook.h"
#include "pic/PicUpdate.h"

#include <algorithm>
#include <numeric>
#include <regex>

using lc::MoxArmControl;

static std::string sent; ///< to the PIC: a digit for each command

bool MoxArmControl::Pic_Update_Comm_Tx(PicUpdateDevType /*device*/, PicUpdateCmdType command,
                                       int length, unsigned char* data)
{
    sent += std::to_string(command);
    expect(command != PicCmdConfig || length == 14, "14 bytes of configuration");
    expect(command != PicCmdDataBlock ||
               (length == 69 && std::accumulate(data, data + length, 0U) % 256 == 0),
           "69 bytes in a block, which add up to 0");
    return true;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string text = toText(data, size) + '\0';
    const FileStream file(fmemopen(&text[1], std::max<std::size_t>(size, 1) - 1, "r"));
    deliver(std::string("\x03\xbe\xed\xfe\x04\x01\0\0\1\0\0\0", 12) + std::string(256, '\0'));
    PicCommandChannel channel;
    channel.open();
    const PicDevice& device = allPicDevices()[std::uint8_t(text[0]) % allPicDevices().size()];
    const bool isGps = device.code == MoxArmControl::PicDevKt4100Gps;
    sent.clear();
    bool isAccepted = false;
    std::string output;
    const std::string warnings = capture(stderr, [&] {
        output = capture(stdout, [&] { isAccepted = lookThroughPicFile(file.get(), device); });
    });
    expect(sent.empty() &&
               (isAccepted ? output.empty() : output.starts_with("Error: ") && warnings.empty()),
           "an error for a refusal, warnings for what is accepted, nothing sent by the look");
    if (!isAccepted) {
        return 0;
    }
    expect(std::ftell(file.get()) == 0, "back at the start behind the look");
    std::int32_t lineCounter = 0;
    PicUpdate update({channel, device, {1, 2, 3}, file.get(), lineCounter});
    bool isComplete = false;
    output = capture(stdout, [&] { isComplete = update.run() == 0; });
    expect(isComplete == (output.find("Error: ") == std::string::npos) &&
               output.find("Error: ") == output.find("Error: Invalid "),
           "only lines that can't be decoded end the update of a file that was accepted");
    const std::string end = isComplete ? (isGps ? "3" : "31") : "";
    expect(std::regex_match(sent, std::regex((isGps ? "024*" : "02[45]*") + end)),
           "begin, versions, data and, of a complete update, its end");
    expect(!isComplete || std::fgetc(file.get()) == EOF, "the whole file in a complete update");
    expect(isComplete == output.ends_with(std::string(device.completionText) + "\n"), "its word");
    return 0;
}
