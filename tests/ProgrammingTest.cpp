#include "tests/FirmwareFiles.h"
#include "tests/ToolRun.h"

#include <cerrno>
#include <cstring>

namespace {

const std::string head = "Running task: arm-programming\n";
const std::string opening = head + "Opening bin file: fw.bin\nProgress: 1\n";
const std::string validating = opening + "Validating binary file...\n";
const std::string programming =
    validating + "Progress: 4\nBinary file validated.\n\n\nProgramming device...\n";

std::string errorText(int error)
{
    return "Error " + std::to_string(error) + ": " + std::strerror(error) + "\n";
}

std::string fails(int error)
{
    return "error=" + std::to_string(error) + "\n";
}

class ProgrammingTest : public ToolTest {
protected:
    ProgrammingTest() { write("fw.bin", image); }

    std::string data = makeData(3 * chunkSize);
    std::string image = makeImage(0x08000000, data);
};

TEST_F(ProgrammingTest, SendsEachPacketWithOneWriteAndOneSync)
{
    const ToolResult result = run("--program-vimbra fw.bin");
    EXPECT_EQ(result.output, programming + "Progress: 28\nProgress: 52\nProgress: 76\n"
                                           "Progress: 100\nProgress: 100\n");
    EXPECT_EQ(result.status, 0);
    const std::string readHeader = "read(fw.bin, 20) = 20\n";
    const std::string readData = "read(fw.bin, 1024) = 1024\n";
    const auto send = [&](std::size_t offset, std::size_t size) {
        return "write(/dev/arm-program, " + toHex(image.substr(offset, size)) +
               ") = " + std::to_string(size) + "\nfsync(/dev/arm-program) = 0\n";
    };
    std::string expected = "open(fw.bin, 0) = 0\n";
    for (int packet = 0; packet < 3; ++packet) {
        expected += readHeader + readData;
    }
    expected += readHeader + "lseek(fw.bin, 20, 0) = 20\nopen(/dev/arm-program, 1) = 0\n";
    for (std::size_t packet = 0; packet < 3; ++packet) {
        expected += readData + send(packet * packetSize, packetSize) + readHeader;
    }
    expected += send(3 * packetSize, 20) + "close(fw.bin) = 0\nclose(/dev/arm-program) = 0\n";
    EXPECT_EQ(read("trace"), expected);
    EXPECT_NE(result.errors.find("took 3 of 3 data packets, end marker"), std::string::npos);
}

TEST_F(ProgrammingTest, WritesProgressToTheProgressFile)
{
    write("many.bin", makeImage(0, makeData(120 * chunkSize)));
    const ToolResult result = run("--program-vimbra many.bin --progress-file p");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output.find("Progress"), std::string::npos);
    std::string lines = "1\n4\n";
    for (int packet = 0; packet < 121; ++packet) {
        lines += "4\n"; // a step of less than one percent
    }
    EXPECT_EQ(read("p"), lines + "100\n");
    // Each line is in the file before it is synced.
    const std::vector<std::string> syncs = result.callsOf({"fsync(p"});
    ASSERT_EQ(syncs.size(), 124);
    EXPECT_EQ(syncs[1], "fsync(p, 4) = 0");
    EXPECT_EQ(syncs[123], "fsync(p, 250) = 0");
}

TEST_F(ProgrammingTest, ConvertsAHexFileFirst)
{
    std::filesystem::create_directory(folder / "sub");
    write("sub/Fw.HEX", hexRows(0x08000000, data) + hexEnd);
    const ToolResult result = run("--program-vimbra sub/Fw.HEX");
    EXPECT_EQ(result.output, head + "Converting hex file: sub/Fw.HEX to binary\nProgress: 1\n"
                                    "Program bytes written: 3072. Finishing file...\n"
                                    "Opening bin file: /var/volatile/Fw.HEX.bin\nProgress: 5\n"
                                    "Validating binary file...\nProgress: 8\n"
                                    "Binary file validated.\n\n\nProgramming device...\n"
                                    "Progress: 31\nProgress: 54\nProgress: 77\nProgress: 100\n"
                                    "Progress: 100\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(read("volatile/Fw.HEX.bin"), image);

    write("bad.hex", hexRows(0x08000000, data));
    const ToolResult bad = run("--program-vimbra bad.hex");
    EXPECT_EQ(bad.status, failed);
    EXPECT_EQ(bad.callsOf({"open"}).size(), 0);
}

TEST_F(ProgrammingTest, RefusesFilesThatAreNoImages)
{
    struct Case {
        const char* argument;
        std::string output;
    };
    const std::vector<Case> cases{
        {"image", "Cannot determine file type, missing extension\n"},
        {"fw.rev2/image", "Unknown file type: fw.rev2/image\n"},
        {"fw.elf", "Unknown file type: fw.elf\n"},
        {"none.BIN", "Opening bin file: none.BIN\nProgress: 1\nFailed opening binary file\n"},
        {"none.hex", "Converting hex file: none.hex to binary\nProgress: 1\n"
                     "Failed to open hex firmware file\n"},
    };
    for (const Case& row : cases) {
        const ToolResult result = run(std::string("--program-vimbra ") + row.argument);
        EXPECT_EQ(result.output, head + row.output);
        EXPECT_EQ(result.status, failed);
    }
}

/// Whatever is wrong with an image is found before the device is opened.
TEST_F(ProgrammingTest, SendsNothingOfABadImage)
{
    const auto patched = [&](std::size_t offset, const std::string& bytes) {
        std::string copy = image;
        return copy.replace(offset, bytes.size(), bytes);
    };
    const std::string empty = littleEndian32(0);
    struct Case {
        std::string content;
        std::string output;
        std::string script;
    };
    const std::vector<Case> cases{
        {"", opening + "No bytes read!\nUnable to read header\n", ""},
        {image.substr(0, 19), opening + "Unable to read header\n", ""},
        {image, opening + errorText(EIO) + "Unable to read header\n", "fw.bin:read " + fails(EIO)},
        {patched(0, "\x1B"), opening + "Invalid header\n", ""},
        {patched(4, empty), opening + "Invalid header\n", ""},
        {patched(12, littleEndian32(1023)), opening + "Invalid header\n", ""},
        {patched(12, littleEndian32(1025)), opening + "Invalid header\n", ""},
        {image.substr(0, 20), validating + "No bytes read!\nNot enough actual data. P:0\n", ""},
        {image.substr(0, 2000), validating + "Not enough actual data. P:1\n", ""},
        {image, validating + errorText(EINTR) + "Not enough actual data. P:1\n",
         "fw.bin:read ok ok ok " + fails(EINTR)},
        {patched(2 * packetSize + 20, "?"), validating + "Invalid checksum at packet: 2\n", ""},
        {patched(1044 + 17, "\x01"), validating + "Invalid checksum at packet: 1\n", ""},
        {patched(1044 + 12, littleEndian32(1025)), validating + "Chunk size too big! P:1\n", ""},
        {patched(1044 + 12, empty), validating + "Empty packet! P:1\n", ""},
        {image.substr(0, 3 * packetSize),
         validating + "No bytes read!\nUnable to read packet header: 2\n", ""},
        {image.substr(0, 3 * packetSize + 19), validating + "Unable to read packet header: 2\n",
         ""},
        {patched(4, littleEndian32(2)), validating + "Binary stream does not contain end marker!\n",
         ""},
        {patched(4, littleEndian32(0xFFFFFFFF)),
         validating + "No bytes read!\nUnable to read packet header: 3\n", ""},
    };
    for (const Case& row : cases) {
        write("fw.bin", row.content);
        const ToolResult result = run("--program-vimbra fw.bin", row.script);
        EXPECT_EQ(result.output, row.output);
        EXPECT_EQ(result.status, failed) << row.output;
        EXPECT_EQ(result.callsOf({"open(/dev", "write"}).size(), 0) << row.output;
        EXPECT_EQ(result.lastCall(), "close(fw.bin) = 0") << row.output;
    }
}

/// Fails the calls of the programming pass: nothing is sent behind a failure, and all is closed.
TEST_F(ProgrammingTest, StopsAtTheFirstFailureOnTheWay)
{
    const std::string validated = "fw.bin:read ok ok ok ok ok ok ok "; // the first pass
    const std::string write = "/dev/arm-program:write ";
    struct Case {
        std::string script;
        std::string ending;
        std::size_t writes;
    };
    const std::vector<Case> cases{
        {write + fails(EIO), errorText(EIO) + "Failed writing to dev node at packet: 0\n", 1},
        {write + "ok count=0\n", "No bytes written!\nFailed writing to dev node at packet: 1\n", 2},
        {write + "ok ok count=1043\n", "Failed writing to dev node at packet: 2\n", 3},
        {write + "ok ok ok count=19\n", "Failed writing to dev node at packet: 3\n", 4},
        {validated + "flip=5\n", "Invalid checksum at packet: 0\n", 0},
        {validated + "ok flip=13\n", "Chunk size too big! P:1\n", 1},
        {validated + "ok ok count=7\n", "Not enough actual data. P:1\n", 1},
        {validated + "ok ok ok " + fails(EIO), errorText(EIO) + "Unable to read packet header: 1\n",
         2},
        {validated + "ok ok ok ok ok flip=0\n", "Empty packet! P:3\n", 3},
    };
    for (const Case& row : cases) {
        const ToolResult result = run("--program-vimbra fw.bin", row.script);
        EXPECT_TRUE(result.output.starts_with(programming)) << result.output;
        EXPECT_TRUE(result.output.ends_with(row.ending)) << result.output;
        EXPECT_EQ(result.status, failed) << row.ending;
        EXPECT_EQ(result.callsOf({"write"}).size(), row.writes) << row.ending;
        EXPECT_EQ(result.callsOf({"close"}).size(), 2) << row.ending;
    }
    const ToolResult noDevice =
        run("--program-vimbra fw.bin", "/dev/arm-program:open " + fails(ENOENT));
    EXPECT_EQ(noDevice.output, programming + "Failed opening program interface\n");
    EXPECT_EQ(noDevice.lastCall(), "close(fw.bin) = 0");
}

} // namespace
