#include "simulator/PicBootloader.h"
#include "simulator/ProgrammingDevice.h"
#include "tests/FirmwareFiles.h"
#include "tests/ToolRun.h"

#include <sstream>

// A run on the simulated instrument proves something only as far as that is strict.

namespace {

class SimulatorTest : public ToolTest {};

TEST_F(SimulatorTest, RefusesWrongScripts)
{
    const Rows<std::string> cases{
        // what is said of each of the lines
        {"the setting \"pic\" takes normal, silent, late or refuse, not", "set pic loud"},
        {"takes three numbers", "set pic-version 1.2\nset pic-version 1.2.65536"},
        {"takes a number of 32 bits", "set gps-version 0x100000000\nset gps-version 0x1ffffffffff"},
        {"takes FIRST-LAST", "set flash 2-1\nset flash 0-0x100000000\nset flash \"0-1 ok\""},
        {"takes real or fast", "set clock slow"},
        {"takes hidden or shown", "set globals x\nset globals \"\""},
        {"takes \"K OUTCOME\"", "set fail 1\nset fail \"0 ok\"\nset fail \"1 x\"\nset fail \"1 \""},
        {"there are clock fail flash globals gps-mode gps-version pic pic-version", "set x y"},
        {"a setting is \"set NAME VALUE\"", "set pic\nset pic late late"},
        {"a quotation mark is missing", "GetLcdEnabled \"ok"},
        {"no call has the key", "GetTime ok\nx:sync ok\nread ok\nx:sleep ok"},
        {"no simulated device is called \"/dev/x\"", "/dev/x:read ok"},
        {"no outcome is called \"x\"", "x:read ok x=1"},
        {" has no outcome ", "sleep error=5\nx:read false\nx:write ok,hex=00\nusleep throw=x"},
        {" has not the form", "x:read error=1x\nx:read short=\nx:read hex=0g\nx:read count"},
        {"an outcome is missing", "x:read ok,\nx:read \"\""},
    };
    for (const auto& [complaint, lines] : cases) {
        for (const std::string& line : splitLines(lines)) {
            const std::string errors = run("--version >&2", line).errors;
            EXPECT_TRUE(errors.starts_with("[simulated instrument] script script: line 2: "));
            EXPECT_NE(errors.find(complaint), std::string::npos) << errors;
            EXPECT_EQ(splitLines(errors).size(), 1) << errors;
        }
    }
    shell("rm script; mkdir script");
    EXPECT_TRUE(run("--version").errors.ends_with(" script script: can't be read\n"));
}

TEST_F(SimulatorTest, LosesNothingBehindShortCounts)
{
    const std::string data = makeData(3 * chunkSize);
    write("fw.hex", hexRows(0x08000000, data) + hexEnd);
    run("--firmware-hex fw.hex", "fw.hex:read short short\nfw.hex.bin:write short count=7\n");
    EXPECT_TRUE(isSame(read("fw.hex.bin"), makeImage(0x08000000, data)));
}

/// What is refused changes nothing, so that all of it can be offered on the way.
TEST(ProgrammingDevice, TakesAnImageInOrderOnly)
{
    // Type, index and address of each packet, a byte that is wrong or too many, and the verdict.
    std::istringstream steps("1B 1 0 0 -  1C 0 0 0 -  1A 0 0 0 -  1A 2 0 C -  1A 2 0 10 -  "
                             "1A 2 0 11 -  1A 2 0 800 -  1A 2 0 0 +  1A 2 400 0 -  1B 1 0 0 -  "
                             "1B 0 400 0 -  1B 2 400 0 -  1C 0 0 0 -  1B 1 400 0 +  1B 2 800 0 -  "
                             "1C 1 0 0 -  1C 0 1 0 -  1C 0 0 C -  1C 0 0 10 -  1C 0 0 800 -  "
                             "1C 0 0 0 +  1C 0 0 0 -");
    simulator::ProgrammingDevice device;
    std::uint32_t type = 0, index = 0, address = 0, wrong = 0;
    for (char verdict = 0; steps >> std::hex >> type >> index >> address >> wrong >> verdict;) {
        std::string packet = imagePacket(0xFEED0000 + type, index, address,
                                         type == 0x1C ? "" : std::string(chunkSize, 'd'));
        packet.resize(packet.size() + wrong / 0x800);
        packet[wrong % 0x800] ^= wrong % 0x800 == 0 ? 0 : 1;
        EXPECT_EQ(device.take({packet.begin(), packet.end()}), verdict == '+') << steps.tellg();
    }
}

TEST(PicBootloader, TakesAnUpdateInOrderOnly)
{
    const Rows<int, std::string> cases{
        // The PIC; commands, their payloads, of a block its address, and what is answered. 14 is
        // a block with a wrong checksum.
        {"battery pack", 1,
         "4 00000000 - 2 000100000001 - 3 . - 0 78 - 8 . - 0 . + 4 00000000 - 2 0001000000 - "
         "2 000100000000 = 2 C00100000001 - 2 000100000001 + 2 000100000001 - 4 00000008 - "
         "4 002FFFD0 - 4 0000000000 - 14 00000000 - 4 00000800 + 4 00000830 - 4 002FFFC0 + 1 . - "
         "5 C0 - 5 C0C1C2C3C4C5C6C7C8C9CACBCCCD + 3 . + 4 00300000 - 1 . + 1 . - 0 . + "
         "2 000100000001 = 2 000100000002 + 4 00000000 +"},
        {"shoe", 2, "0 . + 2 000100000001 - 2 C00100000001 +"},
        {"GPS board", 5,
         "0 . + 2 000000000000 + 4 0000FFD0 - 4 0000FFC0 + 1 . - "
         "5 C0C1C2C3C4C5C6C7C8C9CACBCCCD - 3 . + 3 . - 1 . -"},
    };
    for (const auto& [what, device, commands] : cases) {
        std::istringstream steps(commands);
        simulator::PicBootloader pic(device);
        int command = 0;
        std::string digits;
        for (char verdict = 0; steps >> command >> digits >> verdict;) {
            std::string payload = fromHex(digits);
            if (command % 10 == 4) {
                payload.append(64, 'r');
                payload += static_cast<char>(checksumOf(payload) + command / 10);
            }
            const int status = pic.answer(command % 10, {payload.begin(), payload.end()}).front();
            EXPECT_EQ(status == 0   ? '+'
                      : status == 1 ? '-'
                                    : '=',
                      verdict)
                << what << steps.tellg();
        }
    }
}

} // namespace
