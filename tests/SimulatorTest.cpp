#include "lc/MoxArmControl.h"
#include "simulator/PicBootloader.h"
#include "simulator/ProgrammingDevice.h"
#include "tests/FirmwareFiles.h"
#include "tests/ToolRun.h"

#include <sstream>

// A run on the simulated instrument proves something only as far as that is strict.

namespace {

/// What is refused changes nothing, so that all of it can be offered on the way.
TEST(ProgrammingDevice, TakesAnImageInOrderOnly)
{
    // Type, index and address of each packet, a byte that is wrong or too many, and the verdict.
    std::istringstream steps(R"(
        1B 1 0 0 -    1C 0 0 0 -    1A 0 0 0 -    1A 2 0 C -    1A 2 0 10 -   1A 2 0 11 -
        1A 2 0 800 -  1A 2 0 0 +    1A 2 400 0 -  1B 1 0 0 -    1B 0 400 0 -  1B 2 400 0 -
        1C 0 0 0 -    1B 1 400 0 +  1B 2 800 0 -  1C 1 0 0 -    1C 0 1 0 -    1C 0 0 C -
        1C 0 0 10 -   1C 0 0 800 -  1C 0 0 0 +    1C 0 0 0 -)");
    simulator::ProgrammingDevice device;
    std::uint32_t type = 0, index = 0, address = 0, wrong = 0;
    for (char verdict = 0; steps >> std::hex >> type >> index >> address >> wrong >> verdict;) {
        const std::string data(type == 0x1C ? 0 : chunkSize, 'd');
        std::string packet = imagePacket(0xFEED0000 + type, index, address, data);
        packet.resize(packet.size() + wrong / 0x800);
        char& byte = packet[wrong % 0x800];
        byte = static_cast<char>(wrong % 0x800 == 0 ? byte : byte ^ 1);
        EXPECT_EQ(device.take({packet.begin(), packet.end()}), verdict == '+') << steps.tellg();
    }
}

TEST(PicBootloader, TakesAnUpdateInOrderOnly)
{
    const Rows<int, std::string> cases{
        // commands, their payloads (of a block the address; 14 is one with a wrong checksum) and
        // the answers
        {"battery pack", 1, R"(
            4 00000000 01      2 000100000001 01  3 . 01          0 78 01        8 . 01   0 . 00
            4 00000000 01      2 0001000000 01    2 000100000000 fe    2 C00100000001 01
            2 000100000001 00  2 000100000001 01  4 00000008 01   4 002FFFD0 01  4 0000000000 01
            14 00000000 01     4 00000800 00      4 00000830 01   4 002FFFC0 00  1 . 01   5 C0 01
            5 C0C1C2C3C4C5C6C7C8C9CACBCCCD 00     6 . 01   7 . 01   3 . 00       4 00300000 01
            1 . 00   1 . 01   0 . 00   2 000100000001 fe   2 000100000002 00   4 00000000 00)"},
        {"shoe", 2, "0 . 00   2 000100000001 01   2 C00100000001 00"},
        {"GPS board", 5, R"(
            6 . 01   7 . 00000001   0 . 00   2 000000000000 00   4 0000FFD0 01   4 0000FFC0 00
            1 . 01   5 C0C1C2C3C4C5C6C7C8C9CACBCCCD 01   3 . 00   3 . 01   1 . 01)"},
    };
    EXPECT_FALSE(lc::MoxArmControl::Pic_Update_Comm_Tx({}, {}, 0, nullptr)); // to no PIC
    for (const auto& [what, device, commands] : cases) {
        std::istringstream steps(commands);
        simulator::PicBootloader pic(device);
        int command = 0;
        for (std::string digits, expected; steps >> command >> digits >> expected;) {
            std::string payload = fromHex(digits);
            if (command % 10 == 4) {
                payload.append(64, 'r');
                payload += static_cast<char>(int(checksumOf(payload)) + command / 10);
            }
            const auto answer = pic.answer(command % 10, {payload.begin(), payload.end()});
            EXPECT_EQ(toHex({answer.begin(), answer.end()}), expected) << what << steps.tellg();
        }
    }
}

} // namespace
