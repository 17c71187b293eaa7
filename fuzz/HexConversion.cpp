// The conversion of an Intel HEX file: what it may print, and the image that goes with it.

#include "firmware/ArmFirmwareProgram.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size);

namespace {

/// Ends the process, after showing the rule, if it is broken.
void expect(bool isKept, const char* rule)
{
    if (!isKept) {
        std::fprintf(stderr, "--- not kept: %s\n", rule);
        std::abort();
    }
}

constexpr std::size_t packetSize = 20 + 1024;
const std::string finished = "Program bytes written: ";

/// Lines that fail a conversion, and those that only tell of it, by their beginnings.
const std::vector<const char*> failures{"Caught AppException: firmware/IntelHexParser.",
                                        "Error: Invalid ", "Error: Not enough data bytes in line",
                                        "No actual program data in file"};
const std::vector<const char*> remarks{
    "Parse Error on line: ",    "Warning: missed starting on line: ",
    "Already handled SLAR: :",  "This write has jumped too far beyond our chunk.",
    "Write is crossing chunks", "Using remaining data from last line",
    "Address moved backwards"};

bool isOneOf(const std::string& line, const std::vector<const char*>& texts)
{
    return std::any_of(texts.begin(), texts.end(),
                       [&](const char* text) { return line.starts_with(text); });
}

/// Returns whether the conversion was finished.
bool checkPrinted(const std::string& printed)
{
    std::istringstream lines(printed);
    std::string line;
    while (std::getline(lines, line) && isOneOf(line, remarks)) {
    }
    expect(line.starts_with(finished) || isOneOf(line, failures), printed.c_str());
    expect(printed.ends_with(line + "\n"), "nothing behind the last word");
    return line.starts_with(finished);
}

void checkImage(const std::string& image, bool isFinished)
{
    const std::size_t count = image.size() / packetSize;
    expect(image.size() == count * packetSize + (isFinished ? 20 : 0), "whole packets");
    for (std::size_t i = 0; i < count + (isFinished ? 1 : 0); ++i) {
        std::array<std::uint32_t, 5> header{};
        std::memcpy(header.data(), &image[i * packetSize], sizeof(header));
        std::uint32_t sum = 0;
        for (const char byte : image.substr(i * packetSize + 20, 1024)) {
            sum -= static_cast<unsigned char>(byte);
        }
        const std::size_t index = isFinished && i == 0 ? count : i;
        expect(i == count ? header == std::array<std::uint32_t, 5>{0xFEED001C}
                          : header[0] == (i == 0 ? 0xFEED001A : 0xFEED001B) && header[1] == index &&
                                header[3] == 1024 && header[4] == (sum & 0xFF),
               "right headers");
    }
}

/// What the conversion prints.
std::string convert(const std::string& hex)
{
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* const original = std::exchange(stdout, open_memstream(&text, &size));
    ArmFirmwareTask(hex, "").run();
    std::fclose(std::exchange(stdout, original));
    std::string printed(text, size);
    std::free(text);
    return printed;
}

} // namespace

int LLVMFuzzerTestOneInput(const char* data, std::size_t size)
{
    std::string folder = "/tmp/fuzz-XXXXXX";
    expect(mkdtemp(folder.data()) != nullptr, "a folder");
    const std::string hex = folder + "/hex";
    const std::string bin = hex + ".bin";
    std::ofstream(hex) << std::string_view(data, size);
    std::ofstream(bin) << "left by an earlier run";
    const std::string printed = convert(hex);
    std::ifstream file(bin);
    const std::string image{std::istreambuf_iterator<char>(file), {}};
    unlink(hex.c_str());
    unlink(bin.c_str());
    rmdir(folder.c_str());
    checkImage(image, checkPrinted(printed));
    return 0;
}
