// The conversion of an Intel HEX file: what it prints and the image that it leaves.

#include "firmware/ArmFirmwareProgram.h"
#include "fuzz/FuzzTarget.h"
#include "fuzz/PlainReading.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace {

constexpr std::uint32_t chunkSize = 1024;
constexpr std::size_t bufferSize = 4096; // a line and what stands in front of it have to fit

std::string word(std::uint32_t value)
{
    return {static_cast<char>(value), static_cast<char>(value >> 8), static_cast<char>(value >> 16),
            static_cast<char>(value >> 24)};
}

class PlainConversion {
public:
    explicit PlainConversion(const std::string& hexText) : text(hexText) {}

    std::string printed;
    std::string image;

    void run()
    {
        try {
            while (takeLine()) {
                if (chunkBytes == chunkSize) {
                    appendPacket();
                    beginChunk();
                }
            }
        } catch (const std::string& failure) {
            printed += failure + "\n";
            return;
        }
        if (chunkBytes != 0) {
            appendPacket();
        }
        if (packets == 0) {
            printed += "No actual program data in file\n";
            return;
        }
        printed += "Program bytes written: " + std::to_string(packets * chunkSize) +
                   ". Finishing file...\n";
        image.replace(4, 4, word(packets));
        image += word(0xFEED001C) + std::string(16, '\0');
    }

private:
    [[noreturn]] static void fail(const std::string& message)
    {
        throw "Caught AppException: " + message;
    }

    [[noreturn]] void failInLine(const std::string& message)
    {
        printed += "Parse Error on line: " + std::to_string(lineNumber) + "\n";
        fail(message);
    }

    /// Returns false behind the end-of-file record.
    bool takeLine()
    {
        const auto visible = std::string_view(text).substr(position, bufferSize);
        const std::size_t lineFeed = visible.find('\n');
        const auto line = visible.substr(0, lineFeed);
        const std::size_t colon = line.find(':');
        if (colon != line.rfind(':')) {
            failInLine("Invalid file: Encountered ':' at least twice");
        }
        if (lineFeed == std::string::npos) {
            fail(visible.size() == bufferSize
                     ? "Failed parsing any data lines and now out of buffer room. aborting"
                     : "No more input data and end marker not located");
        }
        position += lineFeed + 1;
        ++lineNumber;
        if (colon == std::string::npos) {
            printed += "Warning: missed starting on line: " + std::to_string(lineNumber) + "\n";
            fail("Missed starting marker!");
        }
        decode(visible.substr(colon, lineFeed + 1 - colon));
        return apply();
    }

    void decode(std::string_view line)
    {
        if (line.size() <= 3) {
            failInLine("Invalid input to parseLine!");
        }
        if ((line.size() - 1) / 2 > 512) {
            fail("Invalid params!");
        }
        record.clear();
        for (std::size_t i = 1; i + 1 < line.size(); i += 2) {
            const auto pair = line.substr(i, 2);
            if (pair.find_first_of("\r\n") != std::string::npos) {
                break;
            }
            if (plainDigit(pair[0]) == -1 || plainDigit(pair[1]) == -1) {
                throw std::string("Error: Invalid byte format in data");
            }
            record.push_back(
                static_cast<std::uint8_t>(plainDigit(pair[0]) * 16 + plainDigit(pair[1])));
        }
        if (record.size() < 4) {
            throw std::string("Error: Invalid line format. Not enough bytes");
        }
        if (record.size() != 5U + record[0]) {
            throw std::string("Error: Not enough data bytes in line");
        }
        unsigned int sum = 0;
        for (const std::uint8_t byte : record) {
            sum += byte;
        }
        if (sum % 256 != 0) {
            failInLine("Invalid checksum encountered in file");
        }
    }

    bool apply()
    {
        const std::uint32_t address = record[1] * 256U + record[2];
        switch (record[3]) {
        case 0:
            place(upperAddress + address);
            return true;
        case 1:
            return false;
        case 2:
            failInLine("Extended segment address not supported");
        case 3:
            failInLine("Start segment address not supported");
        case 4:
            if (record[0] != 2) {
                failInLine("Invalid data");
            }
            upperAddress = record[4] * 0x1000000U + record[5] * 0x10000U;
            return true;
        case 5:
            if (isStarted) {
                char line[50];
                std::snprintf(line, sizeof(line), "Already handled SLAR: :%02x%04x\n", record[0],
                              address);
                printed += line;
            } else if (record[0] != 4) {
                failInLine("Invalid data");
            }
            isStarted = true;
            return true;
        default:
            failInLine("Unknown line format in file");
        }
    }

    void place(std::uint32_t address)
    {
        if (!hasData) {
            chunkAddress = runningAddress = address;
        }
        hasData = isStarted = true;
        const std::uint32_t offset = address - chunkAddress;
        if (offset >= 0x80000000) {
            printed += "Address moved backwards\n";
            failInLine("Not currently handled backward jumping");
        }
        carried.clear();
        isCarrying = false;
        if (offset >= chunkSize) {
            printed += "This write has jumped too far beyond our chunk.\n";
            chunkBytes = chunkSize;
            runningAddress = address;
        }
        for (std::uint32_t i = 0; i < record[0]; ++i) {
            const char byte = static_cast<char>(record[4 + i]);
            if (offset + i >= chunkSize) {
                carried += byte;
                continue;
            }
            chunk[offset + i] = byte;
            ++runningAddress;
        }
        if (offset < chunkSize) {
            chunkBytes = std::min(offset + record[0], chunkSize);
        }
        isCarrying = offset >= chunkSize || !carried.empty();
        if (offset < chunkSize && isCarrying) {
            printed += "Write is crossing chunks\n";
        }
    }

    void appendPacket()
    {
        unsigned int sum = 0;
        for (const char byte : chunk) {
            sum += static_cast<std::uint8_t>(byte);
        }
        image += word(packets == 0 ? 0xFEED001A : 0xFEED001B) + word(packets) + word(chunkAddress) +
                 word(chunkSize) + word((256 - sum % 256) % 256) + chunk;
        ++packets;
    }

    void beginChunk()
    {
        chunkAddress = runningAddress;
        if (chunkAddress % chunkSize != 0) {
            fail("Invalid line address");
        }
        if (isCarrying) {
            printed += "Using remaining data from last line\n";
        }
        chunkBytes = static_cast<std::uint32_t>(carried.size());
        runningAddress += chunkBytes;
        chunk = carried + std::string(chunkSize - chunkBytes, '\xFF');
        carried.clear();
        isCarrying = false;
    }

    const std::string& text;
    std::size_t position = 0;
    unsigned int lineNumber = 0;
    std::vector<std::uint8_t> record;
    std::uint32_t upperAddress = 0;
    std::uint32_t runningAddress = 0;
    bool isStarted = false;
    bool hasData = false;
    std::string chunk = std::string(chunkSize, '\xFF');
    std::uint32_t chunkAddress = 0;
    std::uint32_t chunkBytes = 0;
    std::string carried;     ///< to the next chunk
    bool isCarrying = false; ///< perhaps no bytes
    std::uint32_t packets = 0;
};

/// Takes the place in the source out of a message.
std::string withoutPlace(const std::string& printed)
{
    const std::string head = "Caught AppException: ";
    const std::size_t begin = printed.find(head);
    return begin == std::string::npos ? printed
                                      : printed.substr(0, begin + head.size()) +
                                            printed.substr(printed.find("): ", begin) + 3);
}

/// Gives each line the byte count and the checksum that fit, which a fuzzer hardly finds.
std::string repaired(const std::string& text)
{
    std::string result;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line); result += line + "\n") {
        const std::size_t begin = line.find(':') + 1;
        const std::size_t end = std::min(line.find('\r'), line.size());
        const auto isDigit = [](char digit) { return plainDigit(digit) != -1; };
        if (end < begin + 10 || (end - begin) % 2 != 0 ||
            !std::all_of(&line[begin], &line[end], isDigit)) {
            continue;
        }
        const auto put = [&line](std::size_t at, std::size_t value) {
            line[at] = "0123456789abcdef"[value / 16 % 16];
            line[at + 1] = "0123456789ABCDEF"[value % 16];
        };
        put(begin, (end - begin) / 2 - 5);
        int sum = 0;
        for (std::size_t i = begin; i < end - 2; i += 2) {
            sum += plainDigit(line[i]) * 16 + plainDigit(line[i + 1]);
        }
        put(end - 2, static_cast<std::size_t>(256 - sum % 256));
    }
    return result;
}

void check(const std::string& text)
{
    static const MemoryFile hex;
    static const MemoryFile image;
    static const std::string folder = std::filesystem::temp_directory_path() / "";
    hex.write(text);
    image.write("left by an earlier run");
    ArmFirmwareTask task(hex.path(), folder + "fuzz-" + std::to_string(getpid()) + "-");
    std::filesystem::create_symlink(image.path(), task.outputPath());
    const std::string printed = capture([&] { task.run(); });
    std::filesystem::remove(task.outputPath());
    PlainConversion plain(text);
    plain.run();
    expectSame(withoutPlace(printed), plain.printed);
    expectSame(image.read(), plain.image);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text = toText(data, size);
    check(text);
    check(repaired(text));
    return 0;
}
