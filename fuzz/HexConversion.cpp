// The conversion of an Intel HEX file: what it prints and the image that it leaves.

#include "firmware/ArmFirmwareProgram.h"
#include "fuzz/FuzzTarget.h"
#include "fuzz/PlainReading.h"

#include <algorithm>
#include <filesystem>
#include <numeric>

namespace {

constexpr std::uint32_t chunkSize = 1024;
constexpr std::size_t bufferSize = 4096; // a line and what stands in front of it have to fit

std::string word(std::uint32_t value)
{
    return {static_cast<char>(value), static_cast<char>(value >> 8), static_cast<char>(value >> 16),
            static_cast<char>(value >> 24)};
}

unsigned int sumOf(const std::string& bytes)
{
    return std::accumulate(bytes.begin(), bytes.end(), 0U, [](unsigned int sum, char byte) {
        return (sum + static_cast<std::uint8_t>(byte)) % 256;
    });
}

struct PlainConversion {
    std::string printed;
    std::string image;
    unsigned int lineNumber = 0;
    std::string record; ///< as bytes
    std::uint32_t upperAddress = 0;
    std::uint32_t runningAddress = 0;
    bool isStarted = false;
    bool hasData = false;
    std::string chunk = std::string(chunkSize, '\xFF');
    std::uint32_t chunkAddress = 0;
    std::uint32_t chunkBytes = 0;
    bool isCarrying = false;
    std::string carried; ///< to the next chunk
    std::uint32_t packets = 0;

    explicit PlainConversion(std::string_view text)
    {
        try {
            while (takeLine(text)) {
                if (chunkBytes == chunkSize) {
                    appendPacket();
                    beginChunk();
                }
            }
            if (chunkBytes != 0) {
                appendPacket();
            }
            finish();
        } catch (const std::string& failure) {
            printed += failure + "\n";
        }
    }

    void check(bool isRight, const std::string& message, bool tellsLine = true)
    {
        if (!isRight) {
            printed += tellsLine ? "Parse Error on line: " + std::to_string(lineNumber) + "\n" : "";
            throw "Caught AppException: " + message;
        }
    }

    /// Takes a line from the front. Returns false behind the end-of-file record.
    bool takeLine(std::string_view& text)
    {
        const auto visible = text.substr(0, bufferSize);
        const std::size_t lineFeed = visible.find('\n');
        const std::size_t colon = visible.substr(0, lineFeed).find(':');
        check(colon == visible.substr(0, lineFeed).rfind(':'),
              "Invalid file: Encountered ':' at least twice");
        check(lineFeed != std::string::npos || visible.size() < bufferSize,
              "Failed parsing any data lines and now out of buffer room. aborting", false);
        check(lineFeed != std::string::npos, "No more input data and end marker not located",
              false);
        text.remove_prefix(lineFeed + 1);
        ++lineNumber;
        if (colon == std::string::npos) {
            printed += "Warning: missed starting on line: " + std::to_string(lineNumber) + "\n";
            check(false, "Missed starting marker!", false);
        }
        decode(visible.substr(colon, lineFeed + 1 - colon));
        return apply(plainBigEndian(record, 1, 2), static_cast<std::uint8_t>(record[0]));
    }

    void decode(std::string_view line)
    {
        check(line.size() > 3, "Invalid input to parseLine!");
        check((line.size() - 1) / 2 <= 512, "Invalid params!", false);
        record.clear();
        for (std::size_t i = 1;
             line[i] != '\r' && line[i] != '\n' && line[i + 1] != '\r' && line[i + 1] != '\n';
             i += 2) {
            if (plainDigit(line[i]) == -1 || plainDigit(line[i + 1]) == -1) {
                throw std::string("Error: Invalid byte format in data");
            }
            record += static_cast<char>(plainDigit(line[i]) * 16 + plainDigit(line[i + 1]));
        }
        if (record.size() < 4) {
            throw std::string("Error: Invalid line format. Not enough bytes");
        }
        if (record.size() != 5U + static_cast<std::uint8_t>(record[0])) {
            throw std::string("Error: Not enough data bytes in line");
        }
        check(sumOf(record) == 0, "Invalid checksum encountered in file");
    }

    bool apply(std::uint32_t address, unsigned int length)
    {
        const auto type = static_cast<std::uint8_t>(record[3]);
        check(type != 2, "Extended segment address not supported");
        check(type != 3, "Start segment address not supported");
        check(type <= 5, "Unknown line format in file");
        if (type == 0) {
            place(upperAddress + address, record.substr(4, length));
        } else if (type == 4) {
            check(length == 2, "Invalid data");
            upperAddress = plainBigEndian(record, 4, 2) * 0x10000;
        } else if (type == 5 && isStarted) {
            char line[50];
            std::snprintf(line, sizeof(line), "Already handled SLAR: :%02x%04x\n", length, address);
            printed += line;
        } else if (type == 5) {
            check(length == 4, "Invalid data");
            isStarted = true;
        }
        return type != 1;
    }

    void place(std::uint32_t address, const std::string& data)
    {
        if (!hasData) {
            chunkAddress = runningAddress = address;
        }
        hasData = isStarted = true;
        const std::uint32_t offset = address - chunkAddress;
        if (offset >= 0x80000000) {
            printed += "Address moved backwards\n";
            check(false, "Not currently handled backward jumping");
        }
        if (offset >= chunkSize) {
            printed += "This write has jumped too far beyond our chunk.\n";
            runningAddress = address;
        }
        const std::size_t fitting =
            offset < chunkSize ? std::min<std::size_t>(data.size(), chunkSize - offset) : 0;
        chunk.replace(std::min(offset, chunkSize), fitting, data, 0, fitting);
        carried = data.substr(fitting);
        isCarrying = offset >= chunkSize || !carried.empty();
        printed += isCarrying && offset < chunkSize ? "Write is crossing chunks\n" : "";
        if (isCarrying) {
            chunkBytes = chunkSize;
        } else if (offset + fitting != 0) {
            chunkBytes = static_cast<std::uint32_t>(offset + fitting);
        }
        runningAddress += static_cast<std::uint32_t>(fitting);
    }

    void appendPacket()
    {
        image += word(packets == 0 ? 0xFEED001A : 0xFEED001B) + word(packets) + word(chunkAddress) +
                 word(chunkSize) + word((256 - sumOf(chunk)) % 256) + chunk;
        ++packets;
    }

    void beginChunk()
    {
        check(runningAddress % chunkSize == 0, "Invalid line address", false);
        printed += isCarrying ? "Using remaining data from last line\n" : "";
        chunkAddress = runningAddress;
        chunkBytes = static_cast<std::uint32_t>(carried.size());
        runningAddress += chunkBytes;
        chunk = carried + std::string(chunkSize - chunkBytes, '\xFF');
        carried.clear();
        isCarrying = false;
    }

    void finish()
    {
        if (packets == 0) {
            throw std::string("No actual program data in file");
        }
        printed += "Program bytes written: " + std::to_string(packets * chunkSize) +
                   ". Finishing file...\n";
        image.replace(4, 4, word(packets));
        image += word(0xFEED001C) + std::string(16, '\0');
    }
};

/// Takes the place in the source out of a message.
std::string withoutPlace(std::string printed)
{
    const std::string head = "Caught AppException: ";
    const std::size_t place = printed.find(head) + head.size();
    return printed.find(head) == std::string::npos
               ? printed
               : printed.erase(place, printed.find("): ", place) + 3 - place);
}

/// Writes two hexadecimal digits.
void putByte(std::string& text, std::size_t position, std::size_t value)
{
    constexpr const char* digits = "0123456789abcdef";
    text[position] = digits[value / 16 % 16];
    text[position + 1] = digits[value % 16];
}

/// Gives each line of ten digits and more the byte count and the checksum that fit, which a fuzzer
/// hardly finds.
std::string repaired(std::string text)
{
    for (std::size_t i = text.find(':'); i != std::string::npos; i = text.find(':', i + 1)) {
        const std::size_t stop = text.find_first_not_of("0123456789abcdefABCDEF", i + 1);
        const std::size_t pairs = (std::min(stop, text.size()) - i - 1) / 2;
        if (pairs < 5) {
            continue;
        }
        putByte(text, i + 1, pairs - 5);
        std::size_t sum = 0;
        for (std::size_t at = i + 1; at < i + 2 * pairs - 1; at += 2) {
            sum -= static_cast<std::size_t>(plainDigit(text[at]) * 16 + plainDigit(text[at + 1]));
        }
        putByte(text, i + 2 * pairs - 1, sum);
    }
    return text;
}

void check(const std::string& text)
{
    static const MemoryFile hex;
    static const MemoryFile image;
    const std::string folder = std::filesystem::temp_directory_path() / "";
    hex.write(text);
    image.write("left by an earlier run");
    ArmFirmwareTask task(hex.path(), folder + "fuzz-" + std::to_string(getpid()) + "-");
    std::filesystem::create_symlink(image.path(), task.outputPath());
    const std::string printed = capture([&] { task.run(); });
    std::filesystem::remove(task.outputPath());
    const PlainConversion plain(text);
    expectSame(withoutPlace(printed), plain.printed);
    expectSame(image.read(), plain.image);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    check(toText(data, size));
    check(repaired(toText(data, size)));
    return 0;
}
