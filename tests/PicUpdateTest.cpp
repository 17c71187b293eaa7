#include "pic/PicFileName.h"
#include "pic/PicFirmwareTask.h"
#include "pic/PicGlobals.h"
#include "tests/FirmwareFiles.h"
#include "tests/ToolRun.h"

#include <algorithm>

namespace {

const std::string row(16, 'r');
const std::string fourRows = row + row + row + row;
const std::string filler = fromHex("FF3FFF3FFF3FFF3FFF3FFF3FFF3FFF3F");
const std::string configuration = "CONFIGURATION!";
const std::string toConfiguration = hexRecord(4, 0, bigEndian16(0x30));

const std::string comms = "/dev/arm-comms";
const std::string undrained = comms + ":select timeout\n"; // leaves the scripted answers waiting
const std::string accepted(1, '\0');
const std::string refused = "\x01";
const std::string notNewer = "\xFE";

constexpr std::uint32_t replyTag = 0xfeedbe03;
constexpr std::size_t entryDataSize = 256;
constexpr std::uint32_t entrySize = 4 + entryDataSize;

/// A block with one PIC reply entry.
std::string reply(const std::string& data, std::uint32_t length = 1)
{
    return words({replyTag, entrySize, length}) + data +
           std::string(entryDataSize - data.size(), '\0');
}

std::string repeat(std::size_t count, const std::string& text)
{
    std::string all;
    for (; count != 0; --count) {
        all += text;
    }
    return all;
}

/// The data block command with its payload.
std::string block(const char* command, const std::string& address, const std::string& rows)
{
    const std::string bytes = fromHex(address) + rows;
    return command + toHex(bytes + static_cast<char>(checksumOf(bytes))) + ")\n";
}

TEST(PicFirmwareTask, ForgetsTheCommandBehindItsAnswer)
{
    const PicFirmwareTask task("");
    testing::internal::CaptureStdout();
    EXPECT_FALSE(task.sendPicCommand(lc::MoxArmControl::PicCmdBegin, 0, nullptr, checkPicResponse));
    EXPECT_EQ(task.checkGpsPicVersion(), -1);
    printPicUpdateErr(PicErrNoResponse);
    printPicUpdateErr(static_cast<PicUpdateErr>(-7));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              repeat(2, "PicUpdateErr: ArmCommFd not opened.\n") +
                  "PicUpdateErr: Didn't get a response.\nPicUpdateErr: Unknown Error -7.\n");
    EXPECT_EQ(Cmd, lc::MoxArmControl::PicCmdNone);
}

TEST(PicFileName, GivesDeviceAndVersions)
{
    const std::string most(173, '.'); // only 199 characters count
    const std::vector<std::tuple<std::string, int, std::array<std::uint16_t, 3>>> cases{
        {"/media/usb/orvel_x_base_x_user_3_1_20_9.hex.bak", 1, {3, 1, 20}},
        {"orvel_interface_base_user_1_2_3.hex", 1, {1, 2, 3}}, // the first one in the table
        {"orvel_charger_interface_user_1_2_3.hex", 2, {1, 2, 3}},
        {"a.hex/orvel_charger_user_-1_70000_ +5", 3, {65535, 4464, 5}},
        {"orvel_base_user_9999999999999999999_-9999999999999999999_4.hex", 1, {65535, 0, 4}},
        {"orvel_base_user_x_0x1F_010.hex", 1, {0, 0, 10}},
        {"orvel_base_user_1_2_3/kt4100_gps_v9.hex", 5, {9, 0, 0}},
        {"kt4100_gps_v2_10.hex", 5, {2, 10, 0}},
        {"kt4100_gps_v2_10_3_4.hex", 5, {2, 10, 3}},
        {"&*%PROBE&*%", 255, {0, 0, 0}},
        {most + "orvel_base_user_3_1_20.hex", 1, {3, 1, 20}},
    };
    for (const auto& [path, device, versions] : cases) {
        const auto name = parsePicFileName(path);
        EXPECT_TRUE(name && name->device == device && name->versions == versions) << path;
    }
    for (const std::string path :
         {"orvel_base_user_1_2.hex", "orvel_base_user_1_2_3.HEX", "orvel_base_user_1_2_3hex",
          "orvel_base_1_2_3.hex", "orvel_user_base_1_2_3.hex", "base_orvel_user_1_2_3.hex",
          "orvel_ac_adapter_user_1_2_3.hex", "Orvel_base_user_1_2_3.hex",
          "orvelbase_user_1_2_3.hex", "orvel_baseuser_1_2_3.hex", "orvel_base_user1_2_3_4.hex",
          "kt4100_gps_V7.hex", "kt4100_gps/orvel_base_user_1_2_3.hex", "_v1_kt4100_gps.hex",
          "./&*%PROBE&*%", ""}) {
        EXPECT_FALSE(parsePicFileName(path)) << path;
    }
    EXPECT_FALSE(parsePicFileName(most + ".orvel_base_user_3_1_20.hex"));
}

/// A firmware file, and what its name says.
struct PicFile {
    std::string name;
    std::string information;
};

const PicFile battery{"orvel_base_user_3_1_20.hex", "1, Versions: 0003, 0001, 0020"};
const PicFile shoe{"orvel_interface_user_12_0_7.hex", "2, Versions: 0012, 0000, 0007"};
const PicFile charger{"orvel_charger_user_5_0_2.hex", "3, Versions: 0005, 0000, 0002"};
const PicFile gps{"kt4100_gps_v8.hex", "5, Versions: 0008, 0000, 0000"};
const std::string batteryUpdated = "Completed Orvel Bat Code Update\n";
const std::string gpsUpdated = "Completed KT4100 GPS PIC Code Update\n";

class PicUpdateTest : public ToolTest {
protected:
    /// Runs an update and returns the codes of the commands that were sent, one digit each, "!" if
    /// it failed, and behind a blank the output without the lines on the file.
    std::string update(const PicFile& file, const std::string& hex, const std::string& script = "")
    {
        write(file.name, hex);
        result = run("--program-pic " + file.name, script);
        const std::string head = "Running task: PIC Bootloader\nChecking File Name\nOpened file [" +
                                 file.name + "]\nParsed Info. Dev: " + file.information + "\n";
        EXPECT_TRUE(isSame(result.output.substr(0, head.size()), head));
        std::string codes;
        sent.clear();
        for (const std::string& call : result.callsOf({"Pic_Update_Comm_Tx("})) {
            sent += call.substr(call.find('(') + 1) + "\n";
            codes += sent[sent.rfind(',') - 1];
        }
        codes += result.status == failed ? "! " : " ";
        return codes + result.output.substr(std::min(head.size(), result.output.size()));
    }

    std::string sent; ///< the commands, each as "DEVICE, COMMAND, PAYLOAD)"
    ToolResult result;
};

TEST_F(PicUpdateTest, SendsWhatTheFileHolds)
{
    const std::string mixed = fromHex("3FFF00000000000000000000000000FF");
    const std::string swapped = fromHex("FF3F00000000000000000000000000FF");
    const std::string begin = "1, 0, )\n1, 2, 000300010014)\n";
    const Rows<PicFile, std::string, std::string, std::string> cases{
        // the file's name, its text, what is printed, what is sent
        {"battery pack", battery,
         hexRows(0x00010800, mixed + row + row + row + mixed) + hexRecord(0, 0, "") +
             toConfiguration + hexRecord(0, 0, configuration + "xy") +
             hexRecord(4, 0, bigEndian16(0x31)) + hexRecord(0, 0x10, "short") +
             hexRecord(2, 0, "ab") + ":0000\n" + hexEnd,
         "Not doing anything with line type 2\nInvalid num bytes in line 8\n" + batteryUpdated,
         begin + block("1, 4, ", "00010800", mixed + row + row + row) + "1, 5, " +
             toHex(configuration) + ")\n" +
             block("1, 4, ", "00010840", swapped + "short" + filler.substr(5) + filler + filler) +
             "1, 3, )\n1, 1, )\n"},
        {"shoe, no extended address, and a configuration of just its size", shoe,
         hexRecord(0, 0x800, row) + toConfiguration + hexRecord(0, 0, configuration),
         "Completed Orvel Shoe Code Update\n",
         "2, 0, )\n2, 2, c00c00000007)\n2, 5, " + toHex(configuration) + ")\n" +
             block("2, 4, ", "00000800", row + filler + filler + filler) + "2, 3, )\n2, 1, )\n"},
        {"charger, lines that end in other ways", charger,
         ":00000001fF\r\n:00000001FF0\n:00000001FF0\r\n:000000\r" + std::string(191, 'x') +
             "\n:00000001FF", // 200 characters are not too long
         "Invalid num bytes in line 0\nCompleted Orvel Charger Code Update\n",
         "3, 0, )\n3, 2, 000500000002)\n3, 3, )\n3, 1, )\n"},
        {"GPS board, which takes the low memory only", gps,
         hexRows(0x800, repeat(32, "\x3F\xFF")) + toConfiguration + hexRecord(0, 0, row + row) +
             hexRows(0x10000, row) + ":000000\n" + hexEnd,
         "GPS PIC Mode: 1\nGPS PIC Version: 1 (0x1)\nInvalid num bytes in line 6\n" + gpsUpdated,
         "5, 6, )\n5, 7, )\n5, 0, )\n5, 2, 000800000000)\n" +
             block("5, 4, ", "00000800", repeat(4, filler)) + "5, 3, )\n"},
    };
    for (const auto& [what, file, hex, output, expected] : cases) {
        EXPECT_TRUE(update(file, hex).ends_with(" " + output)) << what << result.output;
        EXPECT_EQ(result.status, 0) << what;
        EXPECT_EQ(sent, expected) << what;
    }
    for (const char* extended : {":000000041234\n", ":01000004123400\n", ":0900000412340012\n"}) {
        update(battery, extended + hexRecord(0, 0x5678, row)); // which the PIC may have no room for
        EXPECT_EQ(sent, begin + block("1, 4, ", "12345678", row + filler + filler + filler));
    }
}

/// The GPS board is asked before its file is looked at; the device is open until the file is
/// closed.
TEST_F(PicUpdateTest, WaitsForEachAnswer)
{
    update(gps, hexRows(0x800, row) + hexEnd,
           "set globals shown\nset gps-mode 2\nset gps-version 7\n");
    const std::string answer =
        "select(/dev/arm-comms, 1.000000) = 1\nread(/dev/arm-comms, 4096) = 268\n";
    EXPECT_EQ(result.callsOf({"open", "fopen", "select", "read", "close"}),
              splitLines("open(/dev/arm-comms, 2048) = 0\nselect(/dev/arm-comms, 0.000000) = 0\n"
                         "fopen(kt4100_gps_v8.hex, r) = 0\n" +
                         repeat(2, answer) + "read(kt4100_gps_v8.hex, 4096) = 72\n" +
                         "read(kt4100_gps_v8.hex, 4096) = 0\n" + repeat(4, answer) +
                         "close(kt4100_gps_v8.hex) = 0\nclose(/dev/arm-comms) = 0\n"));
    EXPECT_TRUE(
        result.errors.starts_with("[simulated instrument] Cmd 6, GpsPicMode 254, GpsPicVersion 0\n"
                                  "[simulated instrument] Cmd 7, GpsPicMode 2, GpsPicVersion 0\n"
                                  "[simulated instrument] Cmd 0, GpsPicMode 2, GpsPicVersion 7\n"))
        << result.errors;
}

TEST_F(PicUpdateTest, DecidesOnTheGpsPicsModeAndVersion)
{
    const auto told = [](const std::string& mode, const std::string& version) {
        return " GPS PIC Mode: " + mode + "\nGPS PIC Version: " + version + "\n";
    };
    const std::string upToDate = "KT4100 GPS software already up-to-date.\n";
    const std::string noAnswer = " hex=" + toHex(words({0xfeedbe01, 1}) + "x");
    const std::string answer = comms + ":read hex=";
    const Rows<std::string, std::string> cases{
        {"older", "set gps-version 7", "67023" + told("1", "7 (0x7)") + gpsUpdated},
        {"32 bits, shown as the platform's long", "set gps-version 0x80000000",
         "67" + told("1", std::to_string(static_cast<long>(0x80000000)) + " (0x80000000)") +
             upToDate},
        {"to be updated", "set gps-mode 0\nset gps-version 9",
         "67023" + told("0", "9 (0x9)") + gpsUpdated},
        {"equal", "set gps-version 8", "67" + told("1", "8 (0x8)") + upToDate},
        {"no reply in any block", comms + ":read" + repeat(5, noAnswer), "67023 " + gpsUpdated},
        {"length 0", answer + toHex(reply(refused, 0)),
         "6 PicUpdateErr: Didn't get a response len.\n"
         "Error trying to get KT4100 GPS mode and version.\n"},
        {"negative length",
         answer + toHex(reply("\xFF", 0x80000000)) + " hex=" + toHex(reply(words({1 << 24}))),
         "67" + told("255", "1 (0x1)") + "GPS Board Not Powered.\n"},
    };
    for (const auto& [what, script, outcome] : cases) {
        EXPECT_EQ(update(gps, hexEnd, undrained + script), outcome) << what;
    }
}

/// An accepted block is followed by the next command, whose answer does not come in time.
TEST_F(PicUpdateTest, JudgesTheFirstBlockBehindACommand)
{
    const std::string other = words({0xfeedbe01, 3}) + "xyz";
    const std::string good = reply(accepted);
    const std::string two = words({replyTag, 2 * entrySize}) + good.substr(8);
    const std::string upToDate = "PIC version already up-to-date or newer.";
    const std::string waits = comms + ":select timeout ";
    const auto reads = [&](const std::string& data) {
        return waits + "ok timeout\n" + comms + ":read hex=" + toHex(data);
    };
    const Rows<std::string, std::string> cases{
        // behind the script the failure, if the block is not accepted
        {"the wait fails", waits + "error=9", "Error waiting for ARM Comm FD."},
        {"time-out", waits + "timeout", "Timed out waiting for ARM Comm FD."},
        {"the read fails", undrained + comms + ":read error=5", "File Read Error."},
        {"a header alone", reads("12345678"), "Bad Data Error."},
        {"another record", reads(other), ""},
        {"accepted", reads(good), ""},
        {"no entry", reads(words({replyTag, 259}) + std::string(259, '\x01')), ""},
        {"not newer", reads(reply(notNewer)), upToDate},
        {"refused", reads(reply(refused)), "Update or Response Err."},
        {"length 0", reads(reply(notNewer, 0)), "Didn't get a response len."},
        {"negative length", reads(reply(accepted, 0x80000000)), "Didn't get a response len."},
        {"17 bits of length", reads(reply(accepted, 0x10000)), ""},
        {"behind another record", reads(other + reply("\x02") + good), "Update or Response Err."},
        {"second entry", reads(two + words({1}) + notNewer + std::string(255, 'x')), upToDate},
        {"one of two entries", reads(two), "Bad Data Error."},
        {"an endless reply", reads(good + words({replyTag, 0xFFFFFFF8}) + "x"), "Bad Data Error."},
        {"another record cut short", reads(other + words({0xfeedbe02, 9}) + "x"), ""},
    };
    for (const auto& [what, script, failure] : cases) {
        EXPECT_EQ(update(battery, hexEnd, script),
                  failure.empty() ? "02! PicUpdateErr: Timed out waiting for ARM Comm FD.\n"
                                  : "0! PicUpdateErr: " + failure + "\n")
            << what;
    }
}

/// The GPS PIC's check knows the commands. None is refused by a query's answer.
TEST_F(PicUpdateTest, StopsAtTheFirstRefusal)
{
    const std::string all = "6702443";
    for (std::size_t failing = 2; failing < all.size(); ++failing) {
        for (const std::string& status : {refused, notNewer}) {
            const std::string script = undrained + comms + ":read" + repeat(failing, " ok") +
                                       " hex=" + toHex(reply(status));
            const std::string outcome = update(gps, hexRows(0x800, fourRows + row), script);
            EXPECT_TRUE(outcome.starts_with(all.substr(0, failing + 1) + "! ") &&
                        outcome.ends_with("PicUpdateErr: Update or Response Err.\n"))
                << outcome;
        }
    }
}

/// A line that can't be decoded ends the update at its place, behind the full blocks; all else is
/// found before the PIC is told anything.
TEST_F(PicUpdateTest, RefusesBadFiles)
{
    const std::string badByte = "024! Error: Invalid byte format in data\n";
    const std::string badStart = "024! Error: Invalid start character in HEX file.\n";
    const std::string longRow = hexRecord(0, 0x800, row + "x");
    const std::string wide = ":00000001FF\r" + std::string(115, 'x') + "\n"; // 128 characters
    const std::string most = repeat(0x1000000 / wide.size(), wide);
    const Rows<std::string, std::string> cases{
        {"empty line", "\n" + longRow, badStart},
        {"empty line behind the end", hexEnd + "\r\n" + longRow, badStart},
        {"half a byte at the end", ":00000001F", badByte},
        {"blank inside", ":0000 01FF\n" + longRow, badByte},
        {"too long", ":" + std::string(300, '0') + "\n" + longRow, badByte},
        {"data missing", ":02080000AABC\n",
         "! Error: Fewer data bytes in line than its byte count says\n"},
        {"long row", longRow, "! Error: Program row of more than 16 bytes\n"},
        {"short configuration", toConfiguration + hexRecord(0, 0, row.substr(0, 13)),
         "! Error: Configuration record of fewer than 14 bytes\n"},
        {"extended address of one byte", ":0200000400\n",
         "! Error: Extended address record without an address\n"},
    };
    for (const auto& [what, lines, outcome] : cases) {
        EXPECT_EQ(update(battery, hexRows(0x800, fourRows + row) + lines), outcome) << what;
    }
    EXPECT_EQ(update(battery, hexEnd, battery.name + ":read ok error=5\n"),
              "! Error: HEX file can't be read to its end\n");
    EXPECT_EQ(update(battery, most + ":"), "! Error: HEX file of more than 16 MiB\n");
    EXPECT_EQ(update(battery, most), "0231 " + batteryUpdated);
    shell("mkfifo fifo_" + battery.name);
    const std::string writing = " & cat " + battery.name + " >fifo_" + battery.name + "; wait $!";
    EXPECT_TRUE(
        run("--program-pic fifo_" + battery.name + writing).output.ends_with(batteryUpdated));
}

/// What is programmed in another way than the file may mean it is said on standard error, in front
/// of the first command.
TEST_F(PicUpdateTest, WarnsOfWhatMayNotBeMeant)
{
    const auto stray = [](const std::string& address) {
        return "Warning: the program row at " + address +
               " does not lie 16 bytes behind the one before it; in a block each row takes 16 "
               "bytes, in the order of the file, and only the first one's address counts\n";
    };
    const std::string noRows = "Warning: no program rows for this PIC in the file\n";
    const std::string noEnd =
        "Warning: the file has no end-of-file record; it may have been cut off\n";
    const auto undecodable = [](const std::string& line) {
        return "Warning: line " + line +
               " of the file can't be decoded; the update will end there, unfinished\n";
    };
    const std::string endsShort = hexRows(0x800, fourRows.substr(8)); // at 0x838
    const std::string inPieces = ":00\r" + std::string(196, 'x') + ":00\n";
    const Rows<std::string, std::string> cases{
        {"consecutive", hexRows(0x7F0, fourRows + row) + hexEnd, ""},
        {"elsewhere", endsShort + hexRows(0x700, row) + hexEnd, ""},
        {"at a filler", endsShort + hexRows(0x838, row) + hexEnd, stray("00000838")},
        {"in a filler", endsShort + hexRows(0x83F, row) + hexEnd, stray("0000083F")},
        {"behind a filler", endsShort + hexRows(0x840, row) + hexEnd, ""},
        {"gaps, no end", hexRows(0x800, fourRows + row) + hexRows(0x85A, row) + hexRows(0x10, row),
         stray("0000085A") + noEnd},
        {"no rows, no end", toConfiguration + hexRecord(0, 0, row), noRows + noEnd},
        {"short rows and a cut line", hexRows(0x12800, row, 6) + ":1",
         stray("00012806") + undecodable("5")},
        {"no more lines than looked at", inPieces + ":00" + '\0' + "\nx\nx\n", undecodable("3")},
    };
    for (const auto& [what, hex, warnings] : cases) {
        update(battery, hex, "set globals shown\n");
        EXPECT_EQ(result.errors.substr(0, result.errors.find("[simulated")), warnings) << what;
    }
}

/// Draining goes on behind an empty read, but not for ever: what comes then answers a command.
TEST_F(PicUpdateTest, ThrowsAwayWhatWaitsOnTheDevice)
{
    constexpr std::size_t most = 100; // empty reads
    EXPECT_EQ(update(battery, hexEnd,
                     comms + ":read" + repeat(most - 1, " hex=") + " hex=0102030405060708090a" +
                         repeat(most, " hex=") + " hex=" + toHex(reply(accepted))),
              "0231 " + batteryUpdated);
    EXPECT_EQ(result.callsOf({"read(/dev/arm-comms, 10)"}).size(), 2 * most);
}

} // namespace
