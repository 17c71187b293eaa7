#include "base/Checksum.h"
#include "base/HexDigits.h"
#include "tests/FirmwareFiles.h"
#include "tests/ToolRun.h"

#include <array>
#include <cstdlib>
#include <regex>

namespace {

/// Every character at every place of eight digits that are decoded at once, and of those behind.
TEST(HexDigits, AreDecodedTogetherAsEachAlone)
{
    constexpr std::size_t pairs = 11;
    std::array<std::uint8_t, pairs> bytes{};
    for (std::size_t place = 0; place < 2 * pairs; ++place) {
        for (int character = 0; character < 256; ++character) {
            std::string text = "0123456789abcdefABCDEF";
            text[place] = static_cast<char>(character);
            const auto sum = decodeHexDigits(text.data(), pairs, bytes.data());
            ASSERT_EQ(sum.has_value(), hexDigitValue(text[place]) >= 0) << text;
            for (std::size_t pair = 0; sum && pair < pairs; ++pair) {
                ASSERT_EQ(bytes[pair], hexPairValue(&text[2 * pair])) << text;
            }
            ASSERT_TRUE(!sum || *sum == byteSum(bytes)) << text;
        }
    }
}

class HexConversionTest : public ToolTest {
protected:
    /// Converts a HEX text and returns what the task printed, without the lines of source places.
    std::string convert(const std::string& hex)
    {
        write("fw.hex", hex);
        const ToolResult result = run("--firmware-hex fw.hex");
        status = result.status;
        const std::regex place(R"(firmware/(IntelHexParser\.(?:h|cpp)) \(\d+\))");
        return std::regex_replace(result.output, place, "$1");
    }

    int status = 0;
};

const std::string head = "Running task: Intel HEX to binary\n";
const std::string base = hexRecord(4, 0, bigEndian16(0x0800));

std::string finished(std::size_t bytes)
{
    return "Program bytes written: " + std::to_string(bytes) + ". Finishing file...\n";
}

std::string filled(const std::string& data, std::size_t size = chunkSize)
{
    return data + std::string(size - data.size(), '\xFF');
}

/// Some of what the corpus of the fuzz target holds, with the results written out.
TEST_F(HexConversionTest, ConvertsOrRefuses)
{
    const std::string carry = "Using remaining data from last line\n";
    const std::string jump = "This write has jumped too far beyond our chunk.\n";
    const std::string caught = "Caught AppException: IntelHexParser.cpp: ";
    const std::string third = "Parse Error on line: 3\n" + caught;
    const std::string noRoom =
        caught + "Failed parsing any data lines and now out of buffer room. aborting\n";
    const std::string data = makeData(1055);
    const std::string row = data.substr(0, 16);
    const auto at = [&](unsigned int address) { return hexRecord(0, address, row); };
    const std::string two = makeImage(0x08000000, filled(data, 2048));
    const std::string one = makeImage(0x08000000, filled(row));
    const std::string start = hexRecord(5, 0, fromHex("08000131"));
    const std::string good = base + at(0);
    const Rows<std::string, std::string, std::string> cases{
        // what, lines, output, image of a successful run
        {"rows of 24 bytes", hexRows(0x08000000, data, 24),
         "Write is crossing chunks\n" + carry + finished(2048), two},
        {"a jump", good + at(0x0400), jump + carry + finished(2048),
         makeImage(0x08000000, filled(row) + filled(row))},
        {"a jump to an unaligned address", good + at(0x0404),
         jump + caught + "Invalid line address\n", ""},
        {"backwards", base + at(0x0400) + at(0x0000),
         "Address moved backwards\n" + third + "Not currently handled backward jumping\n", ""},
        {"start addresses", start + good + start,
         "Already handled SLAR: :040000\n" + finished(1024), one},
        {"junk", base + std::string(4000, '.') + at(0), finished(1024), one},
        {"endless junk", good + std::string(5000, '.'), noRoom, ""},
        {"two colons", good + ":00:0001FF\n",
         "Parse Error on line: 2\n" + caught + "Invalid file: Encountered ':' at least twice\n",
         ""},
        {"empty line", good + "\n",
         "Warning: missed starting on line: 3\n" + caught + "Missed starting marker!\n", ""},
        {"one byte", good + ":00\n", "Error: Invalid line format. Not enough bytes\n", ""},
        {"513 bytes", good + ":" + std::string(1026, '0') + "\n",
         "Caught AppException: IntelHexParser.h: Invalid params!\n", ""},
        {"bad digit", good + ":000000G1FF\n", "Error: Invalid byte format in data\n", ""},
        {"byte missing", good + ":04000000616263FF\n", "Error: Not enough data bytes in line\n",
         ""},
        {"wrong checksum", good + ":00000001FE\n", third + "Invalid checksum encountered in file\n",
         ""},
        {"type 2", good + hexRecord(2, 0, "ab"), third + "Extended segment address not supported\n",
         ""},
        {"nothing", "", "No actual program data in file\n", ""},
    };
    for (const auto& [what, lines, output, image] : cases) {
        EXPECT_TRUE(isSame(convert(lines + hexEnd), head + output)) << what;
        EXPECT_EQ(status, image.empty() ? failed : 0) << what;
        EXPECT_TRUE(image.empty() || isSame(read("fw.hex.bin"), image)) << what;
    }
}

/// Packets that were finished before a failure stay, without a count.
TEST_F(HexConversionTest, LeavesUnfinishedPackets)
{
    const std::string data = makeData(2048);
    convert(hexRows(0x08000000, data) + "\n");
    const std::string uncounted = makeImage(0x08000000, data).replace(4, 4, words({0}));
    EXPECT_TRUE(isSame(read("fw.hex.bin"), uncounted.substr(0, 2 * packetSize)));
}

TEST_F(HexConversionTest, ReportsFilesThatCannotBeOpened)
{
    const std::string noFile = "Failed to open hex firmware file\n";
    EXPECT_TRUE(run("--firmware-hex none.hex").gave(head + noFile, failed));
    EXPECT_EQ(read("none.hex.bin"), "(no file)");

    std::filesystem::create_directories(folder / "fw.hex.bin");
    EXPECT_EQ(convert(":"), head + "Failed to open binary firmware file\n");
    EXPECT_EQ(status, failed);
    const ToolResult folderGiven = run("--firmware-hex fw.hex.bin");
    EXPECT_NE(folderGiven.output.find("Error reading input file"), std::string::npos);
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
        EXPECT_TRUE(
            isSame(read("fw.hex.bin"), makeImage(0x08000000, filled(data, 147 * chunkSize))))
            << command;
    }
}

} // namespace
