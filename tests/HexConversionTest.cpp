#include "base/Checksum.h"
#include "base/HexDigits.h"
#include "base/HexGroups.h"
#include "tests/FirmwareFiles.h"
#include "tests/ToolRun.h"

#include <array>
#include <cstdlib>
#include <regex>

namespace {

/// Every character at every place of a group that is decoded at once, and of the pairs behind it.
TEST(HexDigits, AreDecodedTogetherAsEachAlone)
{
    constexpr std::size_t pairs = HexGroups::groupPairs + 3;
    std::array<std::uint8_t, 1024> bytes{};
    for (std::size_t place = 0; place < 2 * pairs; ++place) {
        for (int character = 0; character < 256; ++character) {
            std::string text = "0123456789abcdefABCDEF";
            text[place] = static_cast<char>(character);
            const auto sum = decodeHexDigits(text.data(), pairs, bytes.data());
            ASSERT_EQ(sum.has_value(), hexDigitValue(text[place]) >= 0) << text;
            for (std::size_t pair = 0; sum && pair < pairs; ++pair) {
                ASSERT_EQ(bytes[pair], hexPairValue(&text[2 * pair])) << text;
            }
            ASSERT_TRUE(!sum || *sum == byteSum(std::span(bytes).first(pairs))) << text;
        }
    }
    for (const std::size_t count : std::array<std::size_t, 4>{8, 9, 16, bytes.size()}) {
        const std::string largest(2 * count, 'F'); // sums do not run into each other
        EXPECT_EQ(decodeHexDigits(largest.data(), count, bytes.data()), -count % 256) << count;
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
        const std::regex place(R"((IntelHexParser\.(?:h|cpp)) \(\d+\))");
        return std::regex_replace(result.output, place, "$1");
    }

    int status = 0;
};

const std::string head = "Running task: Intel HEX to binary\n";

/// The fuzz targets' corpora hold many more texts.
TEST_F(HexConversionTest, TellsWhatItDidAndWhatIsWrong)
{
    const std::string data = makeData(2048);
    const std::string rows = hexRows(0x08000000, data);
    const std::string whole = makeImage(0x08000000, data);
    const std::string uncounted = std::string(whole).replace(4, 4, words({0}));
    const std::string twoPackets = uncounted.substr(0, 2 * packetSize);
    const std::string place = "Caught AppException: firmware/IntelHexParser.";
    const Rows<std::string, std::string, std::string, int> cases{
        {"good", rows + hexEnd, "Program bytes written: 2048. Finishing file...\n", whole, 0},
        {"no end", rows, place + "cpp: No more input data and end marker not located\n", twoPackets,
         failed},
        {"long line", ":" + std::string(1026, '0') + "\n" + hexEnd, place + "h: Invalid params!\n",
         "", failed},
        {"bad digit", ":000000G1FF\n" + hexEnd, "Error: Invalid byte format in data\n", "", failed},
    };
    for (const auto& [what, hex, output, image, expectedStatus] : cases) {
        EXPECT_EQ(convert(hex), head + output) << what;
        EXPECT_EQ(status, expectedStatus) << what;
        EXPECT_TRUE(isSame(read("fw.hex.bin"), image)) << what;
    }
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
    const std::string padded = data + std::string(147 * chunkSize - data.size(), '\xFF');
    const std::string cd = "cd '" + folder.string() + "' && ";
    for (const char* command :
         {"objcopy -I binary -O ihex --change-addresses 0x08000000 fw.dat fw.hex",
          "srec_cat fw.dat -binary -offset 0x08000000 -o fw.hex -intel -obs=255"}) {
        ASSERT_EQ(std::system((cd + command).c_str()), 0) << command;
        EXPECT_EQ(run("--firmware-hex fw.hex").status, 0) << command;
        EXPECT_TRUE(isSame(read("fw.hex.bin"), makeImage(0x08000000, padded))) << command;
    }
}

} // namespace
