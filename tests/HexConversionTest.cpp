#include "base/Checksum.h"
#include "base/HexDigits.h"
#include "tests/FirmwareFiles.h"
#include "tests/ToolRun.h"

#include <algorithm>
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

TEST_F(HexConversionTest, TakesTheFormsThatToolsWrite)
{
    const std::string data = makeData(3000);
    const std::string plain = hexRows(0x0800F800, data, 32);
    const std::string all = plain + hexEnd;
    const auto withLineEnd = [&](const char* lineEnd) {
        return std::regex_replace(plain, std::regex("\n"), lineEnd) + hexEnd;
    };
    std::string lower = all;
    std::transform(lower.begin(), lower.end(), lower.begin(), ::tolower);
    const std::string start = hexRecord(5, 0, fromHex("08000131"));
    const Rows<std::string, std::string> cases{
        {"plain", all, ""},
        {"lower case", lower, ""},
        {"carriage returns", withLineEnd("\r\n"), ""},
        {"junk in front of colons", withLineEnd("\n \t;comment "), ""},
        {"junk in front of colons, carriage returns", withLineEnd("\r\n\r \t;comment "), ""},
        {"blanks in front of carriage returns", withLineEnd(" \r\n"), ""},
        {"a character too many", withLineEnd("x\n"), ""},
        {"much junk", std::string(4000, '.') + all, ""},
        {"start address first", start + all, ""},
        {"start addresses first", start + hexRecord(5, 1, "") + all,
         "Already handled SLAR: :000001\n"},
        {"start address last", plain + start + hexEnd, "Already handled SLAR: :040000\n"},
        {"bad start address last", plain + hexRecord(5, 0x12, "") + hexEnd,
         "Already handled SLAR: :000012\n"},
        {"more text", all + "not looked at\n::", ""},
    };
    for (const auto& [what, hex, output] : cases) {
        EXPECT_TRUE(isSame(convert(hex), head + output + finished(3072))) << what;
        EXPECT_EQ(status, 0) << what;
        EXPECT_TRUE(isSame(read("fw.hex.bin"), makeImage(0x0800F800, filled(data, 3072)))) << what;
    }
}

TEST_F(HexConversionTest, PlacesRecordsIntoChunks)
{
    const std::string crossing = "Write is crossing chunks\nUsing remaining data from last line\n";
    const std::string jump = "This write has jumped too far beyond our chunk.\n";
    const std::string unaligned = "Caught AppException: IntelHexParser.cpp: Invalid line address\n";
    const std::string data = makeData(1055);
    const std::string row = data.substr(0, 16);
    const auto at = [&](unsigned int address) { return hexRecord(0, address, row); };
    const std::string two = makeImage(0x08000000, filled(data, 2048));
    const Rows<std::string, std::string, std::string> cases{
        // what, lines, output, image of a successful run
        {"rows of 24 bytes", hexRows(0x08000000, data, 24), crossing + finished(2048), two},
        {"rows of 255 bytes", hexRows(0x08000000, data, 255), crossing + finished(2048), two},
        {"224 bytes in front of a border",
         hexRows(0x08000000, data.substr(0, 800), 200) + hexRecord(0, 800, data.substr(800)),
         crossing + finished(2048), two},
        {"last chunk of all", hexRows(0xFFFFFC00, row), finished(1024),
         makeImage(0xFFFFFC00, filled(row))},
        {"no extended address", at(0x0400), finished(1024), makeImage(0x0400, filled(row))},
        {"a jump", base + at(0x0000) + at(0x0400),
         jump + "Using remaining data from last line\n" + finished(2048),
         makeImage(0x08000000, filled(row) + filled(row))},
        {"one unaligned chunk", base + at(0x0010), finished(1024),
         makeImage(0x08000010, filled(row))},
        {"twice the same", base + at(0x0020) + at(0x0020) + hexRecord(0, 0x0030, ""),
         finished(1024), makeImage(0x08000020, filled(row))},
        {"an unaligned jump", base + at(0x0000) + at(0x0404), jump + unaligned, ""},
        {"full behind a gap", base + at(0x0000) + at(0x03F0), unaligned, ""},
        {"more than one unaligned chunk", hexRows(0x08000010, makeData(1024)), unaligned, ""},
        {"backwards", base + at(0x0400) + at(0x0000),
         "Address moved backwards\nParse Error on line: 3\n"
         "Caught AppException: IntelHexParser.cpp: Not currently handled backward jumping\n",
         ""},
    };
    for (const auto& [what, lines, output, image] : cases) {
        EXPECT_TRUE(isSame(convert(lines + hexEnd), head + output)) << what;
        EXPECT_EQ(status, image.empty() ? failed : 0) << what;
        EXPECT_TRUE(image.empty() || isSame(read("fw.hex.bin"), image)) << what;
    }
}

/// Each text stands behind two good lines; good ones follow it if it is a whole line.
TEST_F(HexConversionTest, RefusesBadInput)
{
    const auto caught = [](const std::string& text) {
        return "Caught AppException: IntelHexParser.cpp: " + text + "\n";
    };
    const auto parseError = [&](const std::string& text, int line = 3) {
        return "Parse Error on line: " + std::to_string(line) + "\n" + caught(text);
    };
    const std::string noEnd = caught("No more input data and end marker not located");
    const std::string noRoom =
        caught("Failed parsing any data lines and now out of buffer room. aborting");
    const std::string twoColons = parseError("Invalid file: Encountered ':' at least twice", 2);
    const std::string noColon =
        "Warning: missed starting on line: 3\n" + caught("Missed starting marker!");
    const std::string badByte = "Error: Invalid byte format in data\n";
    const std::string wrongCount = "Error: Not enough data bytes in line\n";
    const std::string good = hexRows(0x08000004, makeData(2000)) + hexEnd;
    const Rows<std::string, std::string> cases{
        {"nothing more", "", noEnd},
        {"end without a line feed", ":00000001FF", noEnd},
        {"no colon", "no colon", noEnd},
        {"two colons", ":00:0001FF\n", twoColons},
        {"a carriage return alone", ":00000001FF\r:", twoColons},
        {"empty line", "\n", noColon},
        {"wrong first character", ";" + good.substr(1), noColon},
        {"half a byte", ":0\n", parseError("Invalid input to parseLine!")},
        {"one byte", ":00\n", "Error: Invalid line format. Not enough bytes\n"},
        {"513 bytes", ":" + std::string(1026, '0') + "\n",
         "Caught AppException: IntelHexParser.h: Invalid params!\n"},
        {"512 bytes", ":" + std::string(1024, '0') + "\n", wrongCount},
        {"an endless line", ":" + std::string(4096, '0') + "\n", noRoom},
        {"endless junk", std::string(5000, '.'), noRoom},
        {"blank inside", ":0000 01FF\n", badByte},
        {"bad digit", ":000000G1FF\n", badByte},
        {"bad digit and carriage return", ":000000g1FF\r\n", badByte},
        {"bad digit in the count", ":0x000001FF\n", badByte},
        {"byte missing", ":04000000616263FF\n", wrongCount},
        {"byte too many", ":0300000061626364FF\n", wrongCount},
        {"wrong checksum", ":00000001FE\n", parseError("Invalid checksum encountered in file")},
        {"type 2", hexRecord(2, 0, "ab"), parseError("Extended segment address not supported")},
        {"type 3", hexRecord(3, 0, "abcd"), parseError("Start segment address not supported")},
        {"long extended address", hexRecord(4, 0, "abc"), parseError("Invalid data")},
        {"type 6", hexRecord(6, 0, ""), parseError("Unknown line format in file")},
    };
    for (const auto& [what, text, output] : cases) {
        const std::string more = text.ends_with('\n') ? good : "";
        EXPECT_EQ(convert(base + hexRecord(0, 0, "abcd") + text + more), head + output) << what;
        EXPECT_EQ(status, failed) << what;
        EXPECT_EQ(read("fw.hex.bin"), "") << what;
    }
    EXPECT_EQ(convert(hexRecord(5, 0, "abc")), head + parseError("Invalid data", 1));
    EXPECT_EQ(convert(hexEnd), head + "No actual program data in file\n");
    EXPECT_EQ(status, failed);

    // Packets that were finished before stay, without a count.
    const std::string data = makeData(2048);
    EXPECT_EQ(convert(hexRows(0x08000000, data)), head + noEnd);
    std::string uncounted = makeImage(0x08000000, data).replace(4, 4, words({0}));
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
