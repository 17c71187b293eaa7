#include "tests/FirmwareFiles.h"
#include "tests/ToolRun.h"

#include <csignal>

namespace {

const std::string head = "Running task: arm-programming\n";
const std::string opening = head + "Opening bin file: fw.bin\nProgress: 1\n";
const std::string validating = opening + "Validating binary file...\n";
const std::string programming =
    validating + "Progress: 4\nBinary file validated.\n\n\nProgramming device...\n";
const std::string ioError = "Error 5: Input/output error\n";

class ProgrammingTest : public ToolTest {
protected:
    ProgrammingTest()
    {
        write("fw.bin", image);
        write("fw.hex", hexRows(0x08000000, data) + hexEnd);
        write(battery, hexRows(0x800, data.substr(0, 80)) + hexRows(0x900, "is warned of"));
    }

    std::string patched(std::size_t offset, const std::string& bytes) const
    {
        return std::string(image).replace(offset, bytes.size(), bytes);
    }

    const std::string data = makeData(3 * chunkSize);
    const std::string image = imageOf({{0x08000000, data}});
    const std::string battery = "orvel_base_user_3_1_20.hex";
};

TEST_F(ProgrammingTest, SendsEachPacketWithOneWriteAndOneSync)
{
    const ToolResult result = run("--program-vimbra fw.bin", "set flash 0x08000000-0x08000bff");
    EXPECT_TRUE(result.gave(programming + "Progress: 28\nProgress: 52\nProgress: 76\n"
                                          "Progress: 100\nProgress: 100\n"));
    const std::string chunk = "read(fw.bin, 1024) = 1024\n";
    std::string checking = "open(fw.bin, 0) = 0\n";
    std::string sending = "lseek(fw.bin, 20, 0) = 20\nopen(/dev/arm-program, 1) = 0\n";
    for (std::size_t offset = 0; offset < image.size(); offset += packetSize) {
        const std::string packet = image.substr(offset, packetSize);
        const std::string reads =
            "read(fw.bin, 20) = 20\n" + (packet.size() == packetSize ? chunk : "");
        checking += reads;
        sending += (offset == 0 ? chunk : reads) + "write(/dev/arm-program, " + toHex(packet) +
                   ") = " + std::to_string(packet.size()) + "\nfsync(/dev/arm-program) = 0\n";
    }
    EXPECT_TRUE(isSame(read("trace"),
                       checking + sending + "close(fw.bin) = 0\nclose(/dev/arm-program) = 0\n"));
}

TEST_F(ProgrammingTest, WritesProgressToTheProgressFile)
{
    write("seven.bin", imageOf({{0, "\1" + std::string(6 * chunkSize - 1, '\0')}})); // sums 255, 0
    const ToolResult result = run("--program-vimbra seven.bin --progress-file p");
    EXPECT_TRUE(result.gave(head + "Opening bin file: seven.bin\nValidating binary file...\nBinary "
                                   "file validated.\n\n\nProgramming device...\n"));
    EXPECT_TRUE(isSame(read("p"), "1\n4\n17\n30\n43\n56\n69\n82\n95\n100\n"));
    // Each line is in the file before it is synced.
    EXPECT_EQ(result.callsOf({"fsync(p"}).size(), 10);
    EXPECT_EQ(result.callsOf({"fsync(p, 4)", "fsync(p, 29)"}).size(), 2);
}

TEST_F(ProgrammingTest, ConvertsAHexFileFirst)
{
    shell("mkdir -p sub/usb");
    write("sub/usb/Fw.HEX", hexRows(0x08000000, data) + hexEnd);
    const std::string program = "--program-vimbra sub/usb/Fw.HEX";
    const std::string begun = head + "Converting hex file: sub/usb/Fw.HEX to binary\nProgress: 1\n";
    for (const std::string obstacle : {"touch", "ln other", "ln -s ../other", "mkfifo"}) {
        SCOPED_TRACE(obstacle);
        shell("echo old >other; rm -f volatile/*; " + obstacle + " volatile/Fw.HEX.bin");
        EXPECT_TRUE(run(program, "/var/volatile/Fw.HEX.bin:unlink error=1")
                        .gave(begun + "Failed to open binary firmware file\n", failed));
        EXPECT_TRUE(run(program).gave(
            begun + "Program bytes written: 3072. Finishing file...\n"
                    "Opening bin file: /var/volatile/Fw.HEX.bin\nProgress: 5\n"
                    "Validating binary file...\nProgress: 8\n[...]device...\n"
                    "Progress: 31\nProgress: 54\nProgress: 77\nProgress: 100\nProgress: 100\n"));
        EXPECT_TRUE(isSame(read("volatile/Fw.HEX.bin"), image));
        EXPECT_TRUE(isSame(read("other"), "old\n"));
    }
    write("bad.hex", hexRows(0x08000000, data));
    EXPECT_EQ(run("--program-vimbra bad.hex").callsOf({"open"}).size(), 0);
}

TEST_F(ProgrammingTest, TellsTheKindOfAFileByItsExtension)
{
    write("fw.v2.bin", image);
    write("volatile/none.hex.bin", "older");
    const Rows<std::string, int> cases{
        {"image", "Cannot determine file type, missing extension\n", failed},
        {"fw.rev2/image", "Unknown file type: fw.rev2/image\n", failed},
        {"fw.elf", "Unknown file type: fw.elf\n", failed},
        {"none.BIN", "Opening bin file: none.BIN\nProgress: 1\nFailed opening binary file\n",
         failed},
        {"none.hex",
         "Converting hex file: none.hex to binary\nProgress: 1\nFailed to open hex[...]", failed},
        {"./fw.bin", "Opening bin file: ./fw.bin\nProgress: 1\nValidating[...]", 0},
        {"fw.v2.bin", "Opening bin file: fw.v2.bin\nProgress: 1\nValidating[...]", 0},
    };
    for (const auto& [path, output, status] : cases) {
        EXPECT_TRUE(run(std::string("--program-vimbra ") + path).gave(head + output, status))
            << path;
    }
    EXPECT_EQ(read("volatile/none.hex.bin"), "older");
}

/// Whatever is wrong with an image is found before the device is opened.
TEST_F(ProgrammingTest, SendsNothingOfABadImage)
{
    const std::string none = "No bytes read!\n";
    const std::string badHeader = opening + "Invalid header\n";
    const std::string tooBig = validating + "Chunk size too big! P:1\n";
    const std::string badSum = validating + "Invalid checksum at packet: ";
    const auto length = [&](std::uint32_t packet, std::uint32_t value) {
        return patched(packet * packetSize + 12, words({value}));
    };
    const auto count = [&](std::uint32_t value) { return patched(4, words({value})); };
    const auto cut = [&](std::size_t size) { return image.substr(0, size); };
    const Rows<std::string, std::string> cases{
        {"empty", "", opening + none + "Unable to read header\n"},
        {"header cut", cut(19), opening + "Unable to read header\n"},
        {"wrong first type", patched(0, "\x1B"), badHeader},
        {"no packets", count(0), badHeader},
        {"short first packet", length(0, 1023), badHeader},
        {"long first packet", length(0, 1025), badHeader},
        {"no data", cut(20), validating + none + "Not enough actual data. P:0\n"},
        {"data cut", cut(2000), validating + "Not enough actual data. P:1\n"},
        {"wrong data", patched(2 * packetSize + 20, "?"), badSum + "2\n"},
        {"25 bits of checksum", patched(packetSize + 19, "\x01"), badSum + "1\n"},
        {"long packet", length(1, 1025), tooBig},
        {"17 bits of length", length(1, 0x10004), tooBig},
        {"empty packet", length(1, 0), validating + "Empty packet! P:1\n"},
        {"no end", imageOf({{0, std::string(300 * chunkSize, 'x')}}).substr(0, 300 * packetSize),
         validating + none + "Unable to read packet header: 299\n"},
        {"end cut", cut(3 * packetSize + 19), validating + "Unable to read packet header: 2\n"},
        {"fewer", count(2), validating + "Binary stream does not contain end marker!\n"},
        {"17 bits", count(0x10003), validating + none + "Unable to read packet header: 3\n"},
        {"more", count(0xFFFFFFFF), validating + none + "Unable to read packet header: 3\n"},
    };
    for (const auto& [what, content, output] : cases) {
        write("fw.bin", content);
        const ToolResult result = run("--program-vimbra fw.bin");
        EXPECT_TRUE(result.gave(output, failed)) << what;
        EXPECT_EQ(result.callsOf({"open(/dev", "write"}).size(), 0) << what;
    }
}

TEST_F(ProgrammingTest, ReportsWhatFailsOnTheWay)
{
    const std::string reads = "fw.bin:read ok ok ok ok ok ok ok "; // the first pass
    const std::string writes = "/dev/arm-program:write ";
    const std::string failedAt = "Failed writing to dev node at packet: ";
    const Rows<std::string, std::string, std::size_t> cases{
        // the script, the last lines, the packets sent
        {"no file header", "fw.bin:read error=5", ioError + "Unable to read header\n", 0},
        {"no data", "fw.bin:read ok ok ok error=4",
         "Error 4: Interrupted system call\nNot enough actual data. P:1\n", 0},
        {"no device", "/dev/arm-program:open error=2", "Failed opening program interface\n", 0},
        {"write fails", writes + "error=5", ioError + failedAt + "0\n", 1},
        {"nothing written", writes + "ok count=0", "No bytes written!\n" + failedAt + "1\n", 2},
        {"packet written in part", writes + "ok ok count=1043", failedAt + "2\n", 3},
        {"end marker written in part", writes + "ok ok ok count=19", failedAt + "3\n", 4},
        {"below the memory", "set flash 0x08000001-0x08000bff", ioError + failedAt + "0\n", 1},
        {"beyond the memory", "set flash 0x08000000-0x08000bfe", ioError + failedAt + "2\n", 3},
        {"other data", reads + "flip=5", "Invalid checksum at packet: 0\n", 0},
        {"other length", reads + "ok flip=13", "Chunk size too big! P:1\n", 1},
        {"fewer data", reads + "ok ok count=7", "Not enough actual data. P:1\n", 1},
        {"no header", reads + "ok ok ok error=5", ioError + "Unable to read packet header: 1\n", 2},
        {"other end marker", reads + "ok ok ok ok ok flip=0", "Empty packet! P:3\n", 3},
    };
    for (const auto& [what, script, ending, sent] : cases) {
        const ToolResult result = run("--program-vimbra fw.bin", script);
        EXPECT_TRUE(result.gave(head + "[...]" + ending, failed)) << what;
        EXPECT_EQ(result.callsOf({"write"}).size(), sent) << what;
    }
    // An end marker may stand in front of the last packet; what the device makes of it is its own.
    write("fw.bin", patched(4, words({2})).substr(0, packetSize) +
                        imagePacket(0xFEED001C, 0, 0, "") +
                        image.substr(2 * packetSize, packetSize));
    EXPECT_TRUE(run("--program-vimbra fw.bin")
                    .gave(programming + "Progress: 36\n" + ioError + failedAt + "1\n", failed));
}

/// Runs that write hardware outlive their reader and their terminal; no others do.
TEST_F(ProgrammingTest, OutlivesItsReaderAndItsTerminal)
{
    const std::string program = "--program-vimbra fw.bin --progress-file p";
    const std::string writes = "/dev/arm-program:write signal=";
    const std::string update = "--program-pic " + battery;
    const std::string leaving = " >fifo 2>&1 & read line <fifo; wait $!"; // behind the task's name
    shell("mkfifo fifo");
    const Rows<int, std::string, std::string, std::string> cases{
        {"image", 0, program, "", "fw.bin:open signal=1\n" + writes + "25 signal=13"},
        {"progress file", 0, program, "", "p:close signal=1"},
        {"image, reader leaves", 0, program, leaving, ""},
        {"image, interrupted", endedBy + SIGINT, program, "", writes + "2"},
        {"image, quit", endedBy + SIGQUIT, program, "", writes + "3"},
        {"image, ended", endedBy + SIGTERM, program, "", writes + "15"},
        {"HEX", 0, "--program-vimbra fw.hex", "", "fw.hex:fopen signal=1\nfw.hex:close signal=13"},
        {"PIC", 0, update, "", "/dev/arm-comms:open signal=1\nPic_Update_Comm_Tx signal=13"},
        {"PIC, reader leaves", 0, update, leaving, ""},
        {"PIC, ended", endedBy + SIGTERM, update, "", "Pic_Update_Comm_Tx signal=15"},
        {"chip", endedBy + SIGHUP, "--comm-listen", "", "Ipad_Auth_Chip_Rx signal=1"},
        {"chip, no reader", endedBy + SIGPIPE, "--comm-listen", "", "Ipad_Auth_Chip_Rx signal=13"},
        {"conversion", endedBy + SIGHUP, "--firmware-hex fw.hex", "", "fw.hex:fopen signal=1"},
        {"listener", endedBy + SIGHUP, "--event-listen", "", "/dev/arm-events:select signal=1"},
        {"listener, reader leaves", endedBy + SIGPIPE, "--event-listen", leaving, ""},
    };
    for (const auto& [what, status, command, redirection, script] : cases) {
        const ToolResult result = run(command + redirection, script);
        EXPECT_EQ(result.status, status) << what;
        if (status == 0) {
            EXPECT_EQ(result.calls.size(), run(command).calls.size()) << what;
        }
    }
}

/// A device or file that took the number of a standard descriptor would get messages.
TEST_F(ProgrammingTest, KeepsMessagesAwayFromDevicesAndFiles)
{
    EXPECT_TRUE(run("--version <&-", "set fail \"1 error=2\"").gave("", failed)); // no /dev/null
    run("--program-vimbra fw.hex"); // leaves an image for each of the runs to replace
    for (const std::string& arguments :
         {std::string("--program-vimbra fw.hex --progress-file p"), "--program-pic " + battery}) {
        shell("rm -f p");
        ASSERT_EQ(run(arguments).status, 0);
        const std::string trace = read("trace");
        const std::string progress = read("p");
        for (const char* closed :
             {"<&-", ">&-", "2>&-", "<&- >&-", "<&- 2>&-", ">&- 2>&-", "<&- >&- 2>&-"}) {
            EXPECT_EQ(run(arguments + " " + closed).status, 0) << closed;
            EXPECT_TRUE(isSame(read("trace"), "[...]" + trace)) << closed; // opens /dev/null before
            EXPECT_TRUE(isSame(read("p"), progress)) << closed;
            EXPECT_TRUE(isSame(read("volatile/fw.hex.bin"), image)) << closed;
        }
    }
}

} // namespace
