#include "tests/FirmwareFiles.h"
#include "tests/ToolRun.h"

namespace {

const std::string head = "Running task: Intel HEX to binary\n";
const std::string caught = "Caught AppException: firmware/IntelHexParser.cpp ([...]): ";

constexpr std::uint32_t start = 0x08000000;
constexpr std::uint32_t next = start + chunkSize;

const std::string data = makeData(2 * chunkSize);
const std::string first = data.substr(0, chunkSize);
const std::string rows = hexRows(start, data);
const std::string sixteen = data.substr(0, 16);
const std::string row = hexRows(start, sixteen); // lines 1 and 2

const Chunks both{{start, data}};
const Chunks one{{start, sixteen}};

std::string replaced(std::string text, const std::string& old, const std::string& replacement)
{
    for (std::size_t i = 0; (i = text.find(old, i)) != text.npos; i += replacement.size()) {
        text.replace(i, old.size(), replacement);
    }
    return text;
}

const std::string done = "Program bytes written: 1024. Finishing file...\n";
const std::string done2 = "Program bytes written: 2048. Finishing file...\n";
const std::string remaining = "Using remaining data from last line\n";
const std::string crossing = "Write is crossing chunks\n" + remaining;
const std::string jump = "This write has jumped too far beyond our chunk.\n";
const std::string unaligned = caught + "Invalid line address\n";
const std::string backwards = "Address moved backwards\nParse Error on line: 4\n" + caught +
                              "Not currently handled backward jumping\n";
const std::string noData = "No actual program data in file\n";
const std::string noEnd = caught + "No more input data and end marker not located\n";
const std::string noRoom =
    caught + "Failed parsing any data lines and now out of buffer room. aborting\n";
const std::string twice = "Invalid file: Encountered ':' at least twice\n";
const std::string onLine1 = "Parse Error on line: 1\n" + caught;
const std::string handled = "Already handled SLAR: :040000\n";
const std::string entry = hexRecord(5, 0, "\x08\x02\x01\x31");
const std::string gap(16, '\xFF');
const Chunks farther{{start, data}, {start + 0x800, gap}, {start + 0xC00, sixteen}};
const Chunks gapped{{start, sixteen + gap + sixteen}};
const Chunks withEnd{{start, sixteen + std::string(0x3E0, '\xFF') + sixteen}};
const std::string largest(255, '\xFF');
const auto at = [](std::uint32_t address) { return hexRows(address, sixteen) + hexEnd; };
const auto behind = [](unsigned int offset) { return row + hexRecord(0, offset, sixteen); };

/// Texts of files, what is printed, and the chunks of the image.
const Rows<std::string, std::string, Chunks> conversions{
    {"rows of 2", hexRows(start, data, 2) + hexEnd, done2, both},
    {"rows of 40, a jump", hexRows(start, data, 40) + hexRecord(0, 0xC00, sixteen) + hexEnd,
     crossing + jump + remaining + "Program bytes written: 4096. Finishing file...\n", farther},
    {"rows of 255", hexRows(start, data, 255) + hexEnd, crossing + done2, both},
    {"a character too many", replaced(rows + hexEnd, "\n", "0\n"), done2, both},
    {"blanks and CR", replaced(rows + hexEnd, "\n", " \r\n"), done2, both},
    {"text in front and lower case", "x:020000040800f2\nx" + replaced(rows, "\n", "\nx") + hexEnd,
     done2, both},
    {"text behind the end", rows + hexEnd + "::\n", done2, both},
    {"over a border of 64 KiB", hexRows(0x0800FC00, data) + hexEnd, done2, {{0x0800FC00, data}}},
    {"the last chunk of all", hexRows(0xFFFFFC00, first) + hexEnd, done, {{0xFFFFFC00, first}}},
    {"the largest sum", hexRecord(0, 0, largest) + hexEnd, done, {{0, largest}}},
    {"no extended address", hexRecord(0, 0x410, sixteen) + hexEnd, done, {{0x410, sixteen}}},
    {"growing rows", hexRows(start, gap.substr(2)) + hexRecord(0, 0, sixteen) + hexEnd, done, one},
    {"in another order", behind(32) + hexRecord(0, 16, gap) + hexEnd, done, gapped},
    {"a gap in a full chunk", behind(0x3F0) + hexEnd, unaligned, withEnd},
    {"a jump", row + at(next), jump + remaining + done2, {one[0], {next, sixteen}}},
    {"a far jump", row + at(0x87FFFC00), jump + remaining + done2, {one[0], {0x87FFFC00, sixteen}}},
    {"2 GiB", row + at(0x88000000), backwards, {}},
    {"an unaligned jump", behind(0x410) + hexEnd, jump + unaligned, one},
    {"unaligned", hexRows(start + 16, first) + hexEnd, unaligned, {{start + 16, first}}},
    {"an empty record takes nothing back", row + hexRecord(0, 0, "") + hexEnd, done, one},
    {"an empty record", hexRecord(0, 0, "") + hexEnd, noData, {}},
    {"an empty one first", hexRecord(0, 0, "") + hexRecord(0, 16, gap) + hexEnd, done, {{0, gap}}},
    {"an end with data", row + hexRecord(1, 0x1234, "xy"), done, one},
    {"no end", rows + row.substr(0, row.size() - 1), noEnd, both},
    {"an end without a line feed", ":00000001FF", noEnd, {}},
    {"an entry point last", row + entry + hexEnd, handled + done, one},
    {"entry points first", entry + entry + row + hexEnd, handled + done, one},
    {"a further one of 5 bytes", row + hexRecord(5, 0xABCD, "12345") + hexEnd,
     "Already handled SLAR: :05abcd\n" + done, one},
    {"one of 3 bytes", hexRecord(5, 0, "123"), onLine1 + "Invalid data\n", {}},
    {"two colons", hexRows(start, gap).replace(30, 1, ":") + hexEnd, onLine1 + twice, {}},
    {"two colons, not read to the end", "::", "Parse Error on line: 0\n" + caught + twice, {}},
    {"a line that fits", std::string(4096 - hexEnd.size(), 'x') + hexEnd, noData, {}},
    {"a longer line", std::string(4097 - hexEnd.size(), 'x') + hexEnd, noRoom, {}},
};

class HexConversionTest : public ToolTest {
protected:
    /// Converts a HEX text and expects this output behind the task's name, the status that goes
    /// with it, and the image, which an existing link leads to.
    void expectConversion(const std::string& hex, const std::string& printed, const Chunks& chunks)
    {
        write("fw.hex", hex);
        shell("echo left by an earlier run >image; ln -sf image fw.hex.bin");
        const bool isComplete = printed.ends_with("Finishing file...\n");
        EXPECT_TRUE(run("--firmware-hex fw.hex").gave(head + printed, isComplete ? 0 : failed));
        EXPECT_TRUE(isSame(read("image"), imageOf(chunks, isComplete)));
    }
};

TEST_F(HexConversionTest, PlacesWhatTheFileSays)
{
    for (const auto& [what, hex, printed, chunks] : conversions) {
        SCOPED_TRACE(what);
        expectConversion(hex, printed, chunks);
    }
    for (std::size_t shift = 0; shift < 46; ++shift) { // wherever in a line a read ends
        SCOPED_TRACE(shift);
        const std::string text = std::string(shift, 'x') + replaced(rows, "\n", "\r\n");
        expectConversion(text + hexEnd, done2, both);
        expectConversion(text.substr(0, text.size() - 1), noEnd,
                         {{start, first}}); // no old line feed
    }
}

/// Lines that end a conversion, in front and behind a chunk; # stands for the number of the line.
TEST_F(HexConversionTest, RefusesBadLines)
{
    const std::string record = hexRecord(0, 0, sixteen);
    const std::string bad = "Parse Error on line: #\n" + caught;
    const std::string noStart =
        "Warning: missed starting on line: #\n" + caught + "Missed starting marker!\n";
    const std::string otherLength = "Error: Not enough data bytes in line\n";
    const auto changed = [&](std::size_t place, std::size_t count, const std::string& text) {
        return std::string(record).replace(place, count, text);
    };
    const Rows<std::string, std::string> cases{
        {"empty line", "\n", noStart},
        {"wrong first character", changed(0, 1, ";"), noStart},
        {"a colon", ":\n", bad + "Invalid input to parseLine!\n"},
        {"one digit", ":0\n", bad + "Invalid input to parseLine!\n"},
        {"three bytes", ":000000\n", "Error: Invalid line format. Not enough bytes\n"},
        {"four bytes", ":00000001\n", otherLength},
        {"byte missing", changed(11, 2, ""), otherLength},
        {"byte too many", changed(11, 0, "00"), otherLength},
        {"half a byte missing", changed(42, 1, ""), otherLength},
        {"CR inside", changed(20, 2, "\r0"), otherLength},
        {"wrong checksum", changed(4, 1, "1"), bad + "Invalid checksum encountered in file\n"},
        {"the same, short line", ":00000001FE\n", bad + "Invalid checksum encountered in file\n"},
        {"type 2", hexRecord(2, 0, "ab"), bad + "Extended segment address not supported\n"},
        {"type 3", hexRecord(3, 0, "abcd"), bad + "Start segment address not supported\n"},
        {"type 6", hexRecord(6, 0, ""), bad + "Unknown line format in file\n"},
        {"type 255", hexRecord(255, 0, ""), bad + "Unknown line format in file\n"},
        {"short extended address", hexRecord(4, 0, "1"), bad + "Invalid data\n"},
        {"long extended address", hexRecord(4, 0, "123"), bad + "Invalid data\n"},
        {"512 bytes", ":" + std::string(1024, '0') + "\n", otherLength},
        {"513 bytes", ":" + std::string(1026, '0') + "\n",
         "Caught AppException: firmware/IntelHexParser.h ([...]): Invalid params!\n"},
    };
    for (const auto& [what, line, printed] : cases) {
        SCOPED_TRACE(what);
        expectConversion(line + hexEnd, replaced(printed, "#", "1"), {});
        expectConversion(hexRows(start, first) + line, replaced(printed, "#", "66"),
                         {{start, first}});
    }
    const std::string noDigits = "/;@G`g \xB1"; // beside the digits in ASCII, and others
    for (std::size_t place = 1; place < record.size() - 1; ++place) {
        SCOPED_TRACE(place);
        const std::string line = changed(place, 1, noDigits.substr(place % noDigits.size(), 1));
        expectConversion(line + hexEnd, "Error: Invalid byte format in data\n", {});
    }
    const std::string many(0x80000, 'x'); // 512 chunks in 65,544 lines
    expectConversion(hexRows(0, many, 8) + "\n", replaced(noStart, "#", "65545"), {{0, many}});
}

TEST_F(HexConversionTest, ReportsFilesThatCannotBeOpened)
{
    EXPECT_TRUE(
        run("--firmware-hex none.hex").gave(head + "Failed to open hex firmware file\n", failed));
    EXPECT_EQ(read("none.hex.bin"), "(no file)");
    shell("mkdir fw.hex.bin && touch fw.hex");
    EXPECT_TRUE(
        run("--firmware-hex fw.hex").gave(head + "Failed to open binary firmware file\n", failed));
    const ToolResult result = run("--firmware-hex fw.hex.bin");
    EXPECT_TRUE(result.gave(head + caught + "Error reading input file\n", failed));
    EXPECT_GT(std::stoi(result.output.substr(result.output.find('(') + 1)), 0); // the line
}

} // namespace
