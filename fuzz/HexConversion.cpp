// The conversion of an Intel HEX file: what it prints and the image that it leaves.

#include "firmware/ArmFirmwareProgram.h"
#include "fuzz/FuzzTarget.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <optional>
#include <regex>
#include <vector>

namespace {

constexpr std::uint32_t chunkSize = 1024;
const std::string caught = "Caught AppException: ";
constexpr std::size_t bufferSize = 4096; // a line and what stands in front of it have to fit

std::string word(std::uint32_t value)
{
    return toText(&value, sizeof(value));
}

struct PlainConversion {
    std::string printed;
    std::string image;
    unsigned int lineNumber = 0;
    std::vector<unsigned int> record; ///< its bytes
    std::uint32_t upperAddress = 0;
    std::uint32_t runningAddress = 0;
    bool isStarted = false;
    std::optional<std::uint32_t> chunkAddress;
    std::string chunk;                  ///< as far as it is filled
    std::optional<std::string> carried; ///< to the next chunk
    std::uint32_t packets = 0;

    explicit PlainConversion(std::string_view text)
    {
        try {
            while (takeLine(text)) {
                if (chunk.size() == chunkSize) {
                    beginChunk();
                }
            }
            if (!chunk.empty()) {
                appendPacket();
            }
            check(packets != 0, "No actual program data in file");
            printed += "Program bytes written: " + std::to_string(packets * chunkSize) +
                       ". Finishing file...\n";
            image.replace(4, 4, word(packets)) += word(0xFEED001C) + std::string(16, '\0');
        } catch (const std::string& failure) {
            printed += failure + "\n";
        }
    }

    static void check(bool isRight, const std::string& failure)
    {
        if (!isRight) {
            throw std::string(failure);
        }
    }

    void checkLine(bool isRight, const std::string& message) const
    {
        check(isRight,
              "Parse Error on line: " + std::to_string(lineNumber) + "\n" + caught + message);
    }

    /// Takes a line from the front. Returns false behind the end-of-file record.
    bool takeLine(std::string_view& text)
    {
        const auto visible = text.substr(0, bufferSize);
        const auto line = visible.substr(0, visible.find('\n'));
        const std::size_t colon = line.find(':');
        checkLine(colon == line.rfind(':'), "Invalid file: Encountered ':' at least twice");
        check(line.size() < bufferSize,
              caught + "Failed parsing any data lines and now out of buffer room. aborting");
        check(line.size() < visible.size(),
              caught + "No more input data and end marker not located");
        text.remove_prefix(line.size() + 1);
        ++lineNumber;
        check(colon != std::string::npos,
              "Warning: missed starting on line: " + std::to_string(lineNumber) + "\n" + caught +
                  "Missed starting marker!");
        decode(visible.substr(colon, line.size() + 1 - colon));
        return apply(record[0], record[1] * 256 + record[2], record[3]);
    }

    void decode(std::string_view line)
    {
        checkLine(line.size() > 3, "Invalid input to parseLine!");
        check((line.size() - 1) / 2 <= 512, caught + "Invalid params!");
        record.clear();
        for (std::size_t i = 1, end = line.find_first_of("\r\n"); i + 1 < end; i += 2) {
            record.push_back(static_cast<unsigned int>(plainPair(line.substr(i))));
            check(record.back() < 256, "Error: Invalid byte format in data");
        }
        check(record.size() >= 4, "Error: Invalid line format. Not enough bytes");
        check(record.size() == 5 + record[0], "Error: Not enough data bytes in line");
        checkLine(std::accumulate(record.begin(), record.end(), 0U) % 256 == 0,
                  "Invalid checksum encountered in file");
    }

    bool apply(unsigned int length, std::uint32_t address, unsigned int type)
    {
        checkLine(type != 2, "Extended segment address not supported");
        checkLine(type != 3, "Start segment address not supported");
        checkLine(type <= 5, "Unknown line format in file");
        if (type == 0) {
            place(upperAddress + address, std::string(record.begin() + 4, record.end() - 1));
        } else if (type == 4) {
            checkLine(length == 2, "Invalid data");
            upperAddress = (record[4] * 256 + record[5]) * 0x10000;
        } else if (type == 5 && isStarted) {
            char line[50];
            std::snprintf(line, sizeof(line), "Already handled SLAR: :%02x%04x\n", length, address);
            printed += line;
        } else if (type == 5) {
            checkLine(length == 4, "Invalid data");
            isStarted = true;
        }
        return type != 1;
    }

    void place(std::uint32_t address, const std::string& data)
    {
        isStarted = true;
        if (!chunkAddress) {
            chunkAddress = runningAddress = address;
        }
        const std::uint32_t offset = address - *chunkAddress;
        printed += offset >= 0x80000000 ? "Address moved backwards\n" : "";
        checkLine(offset < 0x80000000, "Not currently handled backward jumping");
        if (offset >= chunkSize) {
            printed += "This write has jumped too far beyond our chunk.\n";
            runningAddress = address;
            carried = data;
            chunk.resize(chunkSize, '\xFF');
            return;
        }
        const std::string fitting = data.substr(0, chunkSize - offset);
        chunk.resize(std::max(chunk.size(), offset + fitting.size()), '\xFF');
        chunk.replace(offset, fitting.size(), fitting);
        runningAddress += static_cast<std::uint32_t>(fitting.size());
        if (fitting != data) {
            printed += "Write is crossing chunks\n";
            carried = data.substr(fitting.size());
        }
    }

    void appendPacket()
    {
        chunk.resize(chunkSize, '\xFF');
        image += word(packets == 0 ? 0xFEED001A : 0xFEED001B) + word(packets) +
                 word(chunkAddress.value_or(0)) + word(chunkSize) +
                 word(-std::accumulate(chunk.begin(), chunk.end(), 0U) & 0xFF) + chunk;
        ++packets;
    }

    void beginChunk()
    {
        appendPacket();
        check(runningAddress % chunkSize == 0, caught + "Invalid line address");
        printed += carried ? "Using remaining data from last line\n" : "";
        chunkAddress = runningAddress;
        chunk = carried.value_or("");
        carried.reset();
        runningAddress += static_cast<std::uint32_t>(chunk.size());
    }
};

/// Gives lines the byte counts and the checksums that fit, which a fuzzer hardly finds.
std::string repaired(std::string text)
{
    constexpr std::string_view digits = "0123456789abcdefABCDEF";
    for (std::size_t i = text.find(':'); i != std::string::npos; i = text.find(':', i + 1)) {
        const std::size_t stop = std::min(text.find_first_not_of(digits, i + 1), text.size());
        const std::size_t pairs = (stop - i - 1) / 2;
        std::size_t sum = 0;
        for (std::size_t pair = 0; pair < pairs && pairs >= 5; ++pair) {
            const std::size_t at = i + 1 + 2 * pair;
            const auto old = static_cast<std::size_t>(plainPair(text.substr(at, 2)));
            const std::size_t length = pairs - 5;
            const std::size_t value = pair == 0 ? length : (pair == length + 4 ? -sum : old);
            text[at] = digits[value / 16 % 16];
            text[at + 1] = digits[value % 16];
            sum += value;
        }
    }
    return text;
}

void check(const std::string& text)
{
    const std::string hex =
        std::filesystem::temp_directory_path() / ("fuzz-" + std::to_string(getpid()));
    const std::string image = hex + ".bin";
    std::ofstream(hex) << text;
    std::ofstream(image) << "left by an earlier run";
    const std::string printed = capture(stdout, [&] { ArmFirmwareTask(hex, "").run(); });
    std::ifstream file(image);
    const std::string written{std::istreambuf_iterator<char>(file), {}};
    std::filesystem::remove(hex);
    std::filesystem::remove(image);
    const PlainConversion plain(text);
    static const std::regex place(R"((AppException: ).*\): )"); // in the source
    expectSame(std::regex_replace(printed, place, "$1"), plain.printed);
    expectSame(written, plain.image);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    check(toText(data, size));
    check(repaired(toText(data, size)));
    return 0;
}
