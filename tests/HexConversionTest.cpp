#include "tests/FirmwareFiles.h"
#include "tests/ToolRun.h"

#include <algorithm>
#include <regex>

namespace {

class HexConversionTest : public ToolTest {
protected:
    /// Converts a HEX text and returns what the task printed, without the lines of source places.
    std::string convert(const std::string& hex)
    {
        write("fw.hex", hex);
        const ToolResult result = run("--firmware-hex fw.hex");
        status = result.status;
        const std::string head = "Running task: Intel HEX to binary\n";
        EXPECT_EQ(result.output.substr(0, head.size()), head);
        const std::regex place(R"(firmware/(IntelHexParser\.(?:h|cpp)) \(\d+\))");
        return std::regex_replace(result.output.substr(head.size()), place, "$1");
    }

    int status = 0;
};

std::string finished(std::size_t bytes)
{
    return "Program bytes written: " + std::to_string(bytes) + ". Finishing file...\n";
}

std::string filled(const std::string& data, std::size_t size = 1024)
{
    return data + std::string(size - data.size(), '\xFF');
}

const std::string base = hexRecord(4, 0, bigEndian16(0x0800));

TEST_F(HexConversionTest, MakesOnePacketPerChunk)
{
    const std::string data = makeData(2048);
    EXPECT_EQ(convert(hexRows(0x08000000, data) + hexEnd), finished(2048));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(read("fw.hex.bin"), makeImage(0x08000000, data));

    EXPECT_EQ(convert(hexRows(0xFFFFFC00, data.substr(0, 100)) + hexEnd), finished(1024));
    EXPECT_EQ(read("fw.hex.bin"), makeImage(0xFFFFFC00, filled(data.substr(0, 100))));
}

TEST_F(HexConversionTest, TakesTheFormsThatToolsWrite)
{
    const std::string data = makeData(3000);
    const std::string plain = hexRows(0x0800F800, data, 32);
    std::string lower = plain + hexEnd;
    std::transform(lower.begin(), lower.end(), lower.begin(), ::tolower);
    struct Case {
        std::string hex;
        std::string output;
    };
    const std::vector<Case> cases{
        {plain + hexEnd, ""},
        {lower, ""},
        {std::regex_replace(plain + hexEnd, std::regex("\n"), "\r\n"), ""},
        {std::regex_replace(plain, std::regex("\n"), "\n \t;comment ") + hexEnd, ""},
        {std::string(4000, '.') + plain + hexEnd, ""},
        {hexRecord(5, 0, fromHex("08000131")) + plain + hexEnd, ""},
        {hexRecord(5, 0, fromHex("08000131")) + hexRecord(5, 1, "") + plain + hexEnd,
         "Already handled SLAR: :000001\n"},
        {plain + hexEnd + "not looked at\n::", ""},
        {plain + hexRecord(5, 0, fromHex("080000C1")) + hexEnd, "Already handled SLAR: :040000\n"},
        {plain + hexRecord(5, 0x12, "") + hexEnd, "Already handled SLAR: :000012\n"},
    };
    for (const Case& row : cases) {
        EXPECT_EQ(convert(row.hex), row.output + finished(3072));
        EXPECT_EQ(status, 0);
        EXPECT_EQ(read("fw.hex.bin"), makeImage(0x0800F800, filled(data, 3072)));
    }
}

TEST_F(HexConversionTest, PlacesRecordsIntoChunks)
{
    const std::string crossing = "Write is crossing chunks\nUsing remaining data from last line\n";
    const std::string jump = "This write has jumped too far beyond our chunk.\n";
    const std::string jumping = jump + "Using remaining data from last line\n";
    const std::string unaligned = "Caught AppException: IntelHexParser.cpp: Invalid line address\n";
    const std::string data = makeData(1032);
    const std::string row = data.substr(0, 16);
    const auto at = [&](unsigned int address) { return hexRecord(0, address, row); };
    struct Case {
        std::string hex;
        std::string output;
        std::string image; ///< of a successful run
    };
    const std::vector<Case> cases{
        {hexRows(0x08000000, data, 24), crossing + finished(2048),
         makeImage(0x08000000, filled(data, 2048))},
        {hexRows(0x08000000, data, 255), crossing + finished(2048),
         makeImage(0x08000000, filled(data, 2048))},
        {base + at(0x0000) + at(0x0400), jumping + finished(2048),
         makeImage(0x08000000, filled(row) + filled(row))},
        {base + at(0x0010), finished(1024), makeImage(0x08000010, filled(row))},
        {base + at(0x0020) + at(0x0020) + hexRecord(0, 0x0030, ""), finished(1024),
         makeImage(0x08000020, filled(row))},
        {base + at(0x0000) + at(0x0404), jump + unaligned, ""},
        // The running address lags behind a gap, so a chunk that is filled behind one can't be
        // left.
        {base + at(0x0000) + at(0x03F0), unaligned, ""},
        {hexRows(0x08000010, makeData(1024)), unaligned, ""},
        {base + at(0x0400) + at(0x0000),
         "Address moved backwards\nParse Error on line: 3\n"
         "Caught AppException: IntelHexParser.cpp: Not currently handled backward jumping\n",
         ""},
    };
    for (const Case& entry : cases) {
        EXPECT_EQ(convert(entry.hex + hexEnd), entry.output) << entry.hex;
        EXPECT_EQ(status, entry.image.empty() ? failed : 0) << entry.hex;
        if (!entry.image.empty()) {
            EXPECT_EQ(read("fw.hex.bin"), entry.image) << entry.hex;
        }
    }
}

TEST_F(HexConversionTest, RefusesBadInput)
{
    const auto caught = [](const std::string& text) {
        return "Caught AppException: IntelHexParser.cpp: " + text + "\n";
    };
    const auto parseError = [&](int line, const std::string& text) {
        return "Parse Error on line: " + std::to_string(line) + "\n" + caught(text);
    };
    const std::string noEnd = caught("No more input data and end marker not located");
    const std::string twoColons = "Invalid file: Encountered ':' at least twice";
    struct Case {
        std::string hex;
        std::string output;
    };
    const std::vector<Case> cases{
        {"", noEnd},
        {":00000001FF", noEnd},
        {"no colon", noEnd},
        {":00:0001FF\n", parseError(2, twoColons)},
        {":00000001FF\r:", parseError(2, twoColons)},
        {"\n" + hexEnd,
         "Warning: missed starting on line: 3\n" + caught("Missed starting marker!")},
        {":0\n", parseError(3, "Invalid input to parseLine!")},
        {":00\n", "Error: Invalid line format. Not enough bytes\n"},
        {":" + std::string(1026, '0') + "\n",
         "Caught AppException: IntelHexParser.h: Invalid params!\n"},
        {":" + std::string(1024, '0') + "\n", "Error: Not enough data bytes in line\n"},
        {":" + std::string(4096, '0') + "\n",
         caught("Failed parsing any data lines and now out of buffer room. aborting")},
        {std::string(5000, '.'),
         caught("Failed parsing any data lines and now out of buffer room. aborting")},
        {":0000 01FF\n", "Error: Invalid byte format in data\n"},
        {":000000G1FF\n", "Error: Invalid byte format in data\n"},
        {":04000000616263FF\n", "Error: Not enough data bytes in line\n"},
        {":0300000061626364FF\n", "Error: Not enough data bytes in line\n"},
        {":00000001FE\n", parseError(3, "Invalid checksum encountered in file")},
        {hexRecord(2, 0, "ab"), parseError(3, "Extended segment address not supported")},
        {hexRecord(3, 0, "abcd"), parseError(3, "Start segment address not supported")},
        {hexRecord(4, 0, "abc"), parseError(3, "Invalid data")},
        {hexRecord(6, 0, ""), parseError(3, "Unknown line format in file")},
    };
    for (const Case& row : cases) {
        EXPECT_EQ(convert(base + hexRecord(0, 0, "abcd") + row.hex), row.output) << row.hex;
        EXPECT_EQ(status, failed) << row.hex;
        EXPECT_EQ(read("fw.hex.bin"), "") << row.hex;
    }
    EXPECT_EQ(convert(hexRecord(5, 0, "abc")), parseError(1, "Invalid data"));
    EXPECT_EQ(convert(hexEnd), "No actual program data in file\n");
    EXPECT_EQ(read("fw.hex.bin"), "");
}

TEST_F(HexConversionTest, LeavesUnfinishedPacketsWithoutACount)
{
    const std::string data = makeData(2048);
    EXPECT_EQ(convert(hexRows(0x08000000, data) + "\n"),
              "Warning: missed starting on line: 130\n"
              "Caught AppException: IntelHexParser.cpp: Missed starting marker!\n");
    EXPECT_EQ(status, failed);
    const std::string image = makeImage(0x08000000, data);
    const std::string uncounted = image.substr(0, 4) + littleEndian32(0) + image.substr(8);
    EXPECT_EQ(read("fw.hex.bin"), uncounted.substr(0, 2 * packetSize));
}

TEST_F(HexConversionTest, ReportsFilesThatCannotBeOpened)
{
    const std::string head = "Running task: Intel HEX to binary\n";
    EXPECT_EQ(run("--firmware-hex none.hex").output, head + "Failed to open hex firmware file\n");
    EXPECT_EQ(read("none.hex.bin"), "(no file)");

    write("fw.hex", ":");
    std::filesystem::create_directory(folder / "fw.hex.bin");
    const ToolResult unwritable = run("--firmware-hex fw.hex");
    EXPECT_EQ(unwritable.output, head + "Failed to open binary firmware file\n");
    EXPECT_EQ(unwritable.status, failed);

    std::filesystem::create_directory(folder / "d");
    EXPECT_NE(run("--firmware-hex d").output.find("Error reading input file"), std::string::npos);
}

/// Files that others' tools wrote from a binary give its bytes back.
TEST_F(HexConversionTest, ConvertsWhatObjcopyAndSrecCatWrite)
{
    const std::string data = makeData(150000);
    write("fw.dat", data);
    const std::string cd = "cd '" + folder.string() + "' && ";
    for (const char* command :
         {"objcopy -I binary -O ihex --change-addresses 0x08000000 fw.dat fw.hex",
          "srec_cat fw.dat -binary -offset 0x08000000 -o fw.hex -intel -line-length 77",
          "srec_cat fw.dat -binary -offset 0x08000000 -o fw.hex -intel -obs=255"}) {
        ASSERT_EQ(std::system((cd + command).c_str()), 0) << command;
        EXPECT_EQ(run("--firmware-hex fw.hex").status, 0) << command;
        EXPECT_EQ(read("fw.hex.bin"), makeImage(0x08000000, filled(data, 147 * chunkSize)))
            << command;
    }
}

} // namespace
