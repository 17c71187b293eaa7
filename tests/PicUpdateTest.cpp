#include "pic/PicCommandChannel.h"
#include "pic/PicGlobals.h"
#include "tests/FirmwareFiles.h"
#include "tests/ToolRun.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace {

const std::string row(16, 'r');
const std::string filler = fromHex("FF3FFF3FFF3FFF3FFF3FFF3FFF3FFF3F");
const std::string comms = "/dev/arm-comms";

/// A block with one PIC reply entry.
std::string reply(const std::string& data, std::uint32_t length = 1)
{
    return words({0xfeedbe03, 260, length}) + data + std::string(256 - data.size(), '\0');
}

std::string payloadOfBlock(const std::string& address, const std::string& rows)
{
    return toHex(address + rows + static_cast<char>(checksumOf(address + rows)));
}

TEST(PicCommandChannel, ForgetsTheCommandBehindItsAnswer)
{
    Cmd = lc::MoxArmControl::PicCmdNone;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(PicCommandChannel().sendPicCommand(
        lc::MoxArmControl::PicDevOrvelBat, lc::MoxArmControl::PicCmdBegin, {}, checkPicResponse));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "PicUpdateErr: ArmCommFd not opened.\n");
    EXPECT_EQ(Cmd, lc::MoxArmControl::PicCmdNone);
}

TEST(PicUpdateErr, HasATextForEveryCode)
{
    testing::internal::CaptureStdout();
    printPicUpdateErr(PicErrNoResponse);
    printPicUpdateErr(static_cast<PicUpdateErr>(-7));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "PicUpdateErr: Didn't get a response.\nPicUpdateErr: Unknown Error -7.\n");
}

class PicUpdateTest : public ToolTest {
protected:
    /// Runs an update and returns the output behind the lines on the file.
    std::string update(const std::string& name, const std::string& hex,
                       const std::string& script = "")
    {
        write(name, hex);
        result = run("--program-pic " + name, script);
        const std::string head = "Running task: PIC Bootloader\nChecking File Name\nOpened file [" +
                                 name + "]\nParsed Info. Dev: ";
        EXPECT_TRUE(result.output.starts_with(head)) << result.output;
        return result.output.substr(result.output.find('\n', head.size()) + 1);
    }

    /// The commands sent, each as "DEVICE, COMMAND, PAYLOAD".
    std::vector<std::string> commands() const
    {
        std::vector<std::string> sent;
        const std::string call = "Pic_Update_Comm_Tx(";
        for (const std::string& line : result.callsOf({call})) {
            sent.push_back(line.substr(call.size(), line.size() - call.size() - 1));
        }
        return sent;
    }

    ToolResult result;
    const std::string battery = "orvel_base_user_3_1_20.hex";
    const std::string gps = "kt4100_gps_v8.hex";
    const std::string toConfiguration = hexRecord(4, 0, bigEndian16(0x30));
};

TEST_F(PicUpdateTest, SendsAnOrvelUpdate)
{
    const std::string pairs = fromHex("3FFF00000000000000000000000000FF");
    const std::string configuration = "CONFIGURATION!";
    const std::string address = fromHex("00010800");
    EXPECT_EQ(update(battery,
                     hexRows(0x00010800, pairs + row + row + row + pairs) + hexRecord(0, 0, "") +
                         toConfiguration + hexRecord(0, 0, configuration + "xy") +
                         hexRecord(4, 0, bigEndian16(0x31)) + hexRecord(0, 0x10, row.substr(0, 5)) +
                         hexRecord(2, 0, "ab") + ":0000\n" + hexEnd),
              "Not doing anything with line type 2\nInvalid num bytes in line 8\n"
              "Completed Orvel Bat Code Update\n");
    EXPECT_EQ(result.status, 0);
    const std::string swapped = fromHex("FF3F00000000000000000000000000FF");
    const std::vector<std::string> expected{
        "1, 0, ",
        "1, 2, 000300010014",
        "1, 4, " + payloadOfBlock(address, pairs + row + row + row),
        "1, 5, " + toHex(configuration),
        "1, 4, " + payloadOfBlock(fromHex("00010840"),
                                  swapped + "rrrrr" + filler.substr(5) + filler + filler),
        "1, 3, ",
        "1, 1, "};
    EXPECT_EQ(commands(), expected);
    std::vector<std::string> channelCalls = result.callsOf({"open(/dev", "select", "read(/dev"});
    channelCalls.resize(4);
    EXPECT_EQ(channelCalls, (std::vector<std::string>{"open(/dev/arm-comms, 2048) = 0",
                                                      "select(/dev/arm-comms, 0.000000) = 0",
                                                      "select(/dev/arm-comms, 1.000000) = 1",
                                                      "read(/dev/arm-comms, 4096) = 268"}));
    EXPECT_EQ(result.lastCall(), "close(/dev/arm-comms) = 0");
}

TEST_F(PicUpdateTest, MarksTheVersionsOfTheShoe)
{
    EXPECT_EQ(update("orvel_interface_user_12_0_7.hex", hexEnd),
              "Completed Orvel Shoe Code Update\n");
    EXPECT_EQ(commands(),
              (std::vector<std::string>{"2, 0, ", "2, 2, c00c00000007", "2, 3, ", "2, 1, "}));
    EXPECT_EQ(update("orvel_charger_user_5_0_2.hex", ""), "Completed Orvel Charger Code Update\n");
}

TEST_F(PicUpdateTest, SendsAGpsUpdateOfTheLowProgramMemory)
{
    const std::string pairs = fromHex("3FFF3FFF3FFF3FFF3FFF3FFF3FFF3FFF");
    EXPECT_EQ(update(gps, hexRows(0x800, pairs + pairs + pairs + pairs) + toConfiguration +
                              hexRecord(0, 0, row + row) + hexRows(0x10000, row) + ":000000\n" +
                              hexEnd),
              "GPS PIC Mode: 1\nGPS PIC Version: 1 (0x1)\nInvalid num bytes in line 6\n"
              "Completed KT4100 GPS PIC Code Update\n");
    EXPECT_EQ(commands(),
              (std::vector<std::string>{
                  "5, 6, ", "5, 7, ", "5, 0, ", "5, 2, 000800000000",
                  "5, 4, " + payloadOfBlock(fromHex("00000800"), filler + filler + filler + filler),
                  "5, 3, "}));
}

TEST_F(PicUpdateTest, DecidesOnTheGpsPicsModeAndVersion)
{
    struct Case {
        std::string settings;
        std::string ending;
        std::size_t commands;
    };
    const std::string updated = "Completed KT4100 GPS PIC Code Update\n";
    const std::string upToDate = "KT4100 GPS software already up-to-date.\n";
    const std::string noAnswer = toHex(words({0xfeedbe01, 1}) + "x");
    const std::vector<Case> cases{
        {"set gps-version 7\n", "GPS PIC Version: 7 (0x7)\n" + updated, 5},
        {"set gps-version 8\n", "GPS PIC Version: 8 (0x8)\n" + upToDate, 2},
        {"set gps-version 65536\n", "GPS PIC Version: 65536 (0x10000)\n" + upToDate, 2},
        {"set gps-mode 0\nset gps-version 9\n", "GPS PIC Version: 9 (0x9)\n" + updated, 5},
        {"set gps-mode 255\n", "GPS PIC Version: 1 (0x1)\nGPS Board Not Powered.\n", 2},
        {"set pic silent\n",
         "PicUpdateErr: Timed out waiting for ARM Comm FD.\n"
         "Error trying to get KT4100 GPS mode and version.\n",
         1},
        {comms + ":read hex=" + noAnswer + " hex=" + noAnswer + " hex=" + noAnswer +
             " hex=" + noAnswer + " hex=" + noAnswer + "\n",
         updated, 5},
    };
    for (const Case& entry : cases) {
        const std::string drained =
            comms + ":select timeout\n"; // leaves the answers where they are
        EXPECT_TRUE(update(gps, hexEnd, entry.settings + drained).ends_with(entry.ending))
            << result.output;
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(commands().size(), entry.commands) << entry.settings;
    }
    const std::string refusal =
        comms + ":select timeout\n" + comms + ":read hex=" + toHex(reply("\x01")) +
        " hex=" + toHex(reply(std::string(4, '\0'))) + " hex=" + toHex(reply("\xFE")) + "\n";
    EXPECT_EQ(update(gps, hexEnd, refusal), "GPS PIC Mode: 1\nGPS PIC Version: 0 (0x0)\n"
                                            "PicUpdateErr: Update or Response Err.\n");
    EXPECT_EQ(result.status, failed);
}

TEST_F(PicUpdateTest, JudgesTheFirstBlockBehindACommand)
{
    const std::string other = words({0xfeedbe01, 3}) + "xyz";
    const std::string good = reply(std::string(1, '\0'));
    const std::string two = words({0xfeedbe03, 520}) + good.substr(8);
    const std::string accepted = "Timed out waiting for ARM Comm FD."; // at the next command
    const auto read = [](const std::string& block) { return ":read hex=" + toHex(block); };
    struct Case {
        std::string script;
        std::string error;
    };
    const std::vector<Case> cases{
        {":select timeout error=9", "Error waiting for ARM Comm FD."},
        {":select timeout timeout", "Timed out waiting for ARM Comm FD."},
        {":read error=5", "File Read Error."},
        {read(""), "Bad Data Error."},
        {read("12345678"), "Bad Data Error."},
        {read(other), accepted},
        {read(good), accepted},
        {read(words({0xfeedbe03, 259}) + std::string(259, '\x01')), accepted},
        {read(reply("\xFE")), "PIC version already up-to-date or newer."},
        {read(reply("\x01")), "Update or Response Err."},
        {read(reply("\xFE", 0)), "Didn't get a response len."},
        {read(reply(std::string(1, '\0'), 0x80000000)), "Didn't get a response len."},
        {read(other + reply("\x02") + good), "Update or Response Err."},
        {read(two + words({1}) + "\xFE" + std::string(255, 'x')),
         "PIC version already up-to-date or newer."},
        {read(two), "Bad Data Error."},
        {read(good.substr(0, 267)), "Bad Data Error."},
        {read(good + words({0xfeedbe03, 0xFFFFFFF8}) + "x"), "Bad Data Error."},
        {read(other + words({0xfeedbe02, 9}) + "x"), accepted},
    };
    for (const Case& entry : cases) {
        const bool drains = entry.script.find("select") == std::string::npos;
        EXPECT_EQ(update(battery, hexEnd,
                         comms + entry.script + "\n" +
                             (drains ? comms + ":select timeout ok timeout\n" : std::string())),
                  "PicUpdateErr: " + entry.error + "\n")
            << entry.script;
        EXPECT_EQ(result.status, failed);
        EXPECT_EQ(commands().size(), entry.error == accepted && drains ? 2 : 1) << entry.script;
        EXPECT_EQ(result.lastCall(), "close(/dev/arm-comms) = 0");
    }
}

/// Lets each command of a good update be refused, and throw, in turn.
TEST_F(PicUpdateTest, StopsAtTheFirstFailure)
{
    const std::string hex = hexRows(0x800, row + row + row + row + row) + toConfiguration +
                            hexRecord(0, 0, row) + hexEnd;
    update(battery, hex);
    const std::vector<std::string> all = commands();
    ASSERT_EQ(all.size(), 7);
    const std::string good = " hex=" + toHex(reply(std::string(1, '\0')));
    std::string earlier;
    std::string earlierCalls;
    for (std::size_t failing = 0; failing < all.size(); ++failing) {
        const std::vector<std::string> sent(all.begin(),
                                            all.begin() + static_cast<std::ptrdiff_t>(failing) + 1);
        EXPECT_EQ(update(battery, hex,
                         comms + ":select timeout\n" + comms + ":read" + earlier +
                             " hex=" + toHex(reply("\x01")) + "\n"),
                  "PicUpdateErr: Update or Response Err.\n");
        EXPECT_EQ(commands(), sent);
        EXPECT_EQ(update(battery, hex, "Pic_Update_Comm_Tx" + earlierCalls + " throw=x\n"),
                  "Caught unknown error\n");
        EXPECT_EQ(commands(), sent);
        EXPECT_EQ(result.status, failed);
        EXPECT_EQ(result.lastCall(), "close(/dev/arm-comms) = 0");
        earlier += good;
        earlierCalls += " ok";
    }
}

/// A line that can't be decoded ends the update at its place.
TEST_F(PicUpdateTest, EndsAtALineThatCannotBeDecoded)
{
    const std::string badByte = "Error: Invalid byte format in data\n";
    const std::string badStart = "Error: Invalid start character in HEX file.\n";
    const std::vector<std::pair<std::string, std::string>> cases{
        {"\n", badStart},
        {hexEnd + "\r\n", badStart},
        {":00000001F", badByte},
        {":0000 01FF\n", badByte},
        {":" + std::string(300, '0') + "\n", badByte},
    };
    const std::string rows = hexRows(0x800, row + row + row + row);
    for (const auto& [line, error] : cases) {
        EXPECT_EQ(update(battery, rows + line + rows + hexRecord(0, 0, row + "x")), error) << line;
        EXPECT_EQ(result.status, failed) << line;
        EXPECT_EQ(commands().size(), 3) << line; // begin, versions, the block in front of it
    }
}

/// A record that can't be sent as it stands is found before the PIC is told anything.
TEST_F(PicUpdateTest, RefusesBadRecordsBeforeAnythingIsSent)
{
    struct Case {
        std::string hex;
        std::string error;
    };
    const std::string noAddress = "Extended address record without an address";
    const std::vector<Case> cases{
        {":02080000AABC\n", "Fewer data bytes in line than its byte count says"},
        {hexRecord(0, 0x800, row + "x"), "Program row of more than 16 bytes"},
        {toConfiguration + hexRecord(0, 0, row.substr(0, 13)),
         "Configuration record of fewer than 14 bytes"},
        {":0000000400\n", noAddress},
        {":0100000400FB\n", noAddress},
        {":0200000400\n", noAddress},
        {":0200000400FA\n", noAddress},
        {":020000040000\n", noAddress},
    };
    const std::string rows = row + row + row + row;
    for (const Case& entry : cases) {
        EXPECT_EQ(update(battery, hexRows(0x800, rows) + entry.hex + hexRows(0x840, rows) + hexEnd),
                  "Error: " + entry.error + "\n")
            << entry.hex;
        EXPECT_EQ(commands().size(), 0) << entry.hex;
        EXPECT_EQ(result.status, failed) << entry.hex;
    }
}

/// What is programmed in another way than the file may mean it is said on standard error.
TEST_F(PicUpdateTest, WarnsOfRowsThatDoNotFollow)
{
    struct Case {
        const char* what;
        std::string hex;
        std::string warning; ///< the beginning of it
    };
    const std::string four = hexRows(0x800, row + row + row + row);
    const std::string none = "Warning: no program rows for this PIC in the file\n";
    const std::vector<Case> cases{
        {"consecutive", hexRows(0x7F0, row + row + row + row + row), ""},
        {"a gap between blocks", four + hexRows(0x900, row), ""},
        {"a gap", four + hexRows(0x840, row) + hexRows(0x85A, row) + hexRows(0x10, row),
         "Warning: the program row at 0000085A does not follow"},
        {"short rows", hexRows(0x12800, row, 6), "Warning: the program row at 00012806 does"},
        {"no rows", toConfiguration + hexRecord(0, 0, row) + hexEnd, none},
        {"not read to the end", "\n", ""},
    };
    for (const Case& entry : cases) {
        update(battery, entry.hex);
        const std::string own = result.errors.substr(0, result.errors.find("[simulated"));
        EXPECT_EQ(own.substr(0, entry.warning.size()), entry.warning) << entry.what;
        EXPECT_EQ(std::count(own.begin(), own.end(), '\n'), entry.warning.empty() ? 0 : 1)
            << entry.what;
    }
}

TEST_F(PicUpdateTest, ReportsFilesAndDevicesThatCannotBeOpened)
{
    const std::string head = "Running task: PIC Bootloader\n";
    result = run("--program-pic " + battery);
    EXPECT_EQ(result.output, head + "Checking File Name\nFailed to open pic firmware file. Ensure "
                                    "proper name format.\n");
    EXPECT_EQ(result.status, failed);
    EXPECT_EQ(result.lastCall(), "close(/dev/arm-comms) = 0");

    result = run("--program-pic " + battery, comms + ":open error=2\n");
    EXPECT_EQ(result.output, head + "Failed opening /dev/arm-comms\n");
    EXPECT_EQ(result.status, failed);
}

/// Draining goes on behind an empty read, but not for ever.
TEST_F(PicUpdateTest, ThrowsAwayWhatWaitsOnTheDevice)
{
    const std::string good = " hex=" + toHex(reply(std::string(1, '\0')));
    update(battery, hexEnd,
           comms + ":read hex=01 hex= hex=0102030405060708090a hex=11\n" + comms +
               ":select ok ok ok ok timeout\n");
    EXPECT_EQ(
        result.callsOf({"read(/dev/arm-comms, 10)", "Pic_Update_Comm_Tx(1, 0"}),
        (std::vector<std::string>{"read(/dev/arm-comms, 10) = 1", "read(/dev/arm-comms, 10) = 0",
                                  "read(/dev/arm-comms, 10) = 10", "read(/dev/arm-comms, 10) = 1",
                                  "Pic_Update_Comm_Tx(1, 0, )"}));

    std::string empty;
    for (int read = 0; read < 99; ++read) {
        empty += " hex=";
    }
    update(battery, hexEnd, comms + ":read" + empty + " hex=01" + empty + " hex=" + good + "\n");
    EXPECT_EQ(result.callsOf({"read(/dev/arm-comms, 10)"}).size(), 200);
    EXPECT_EQ(result.output.find("PicUpdateErr"), std::string::npos);
}

} // namespace
