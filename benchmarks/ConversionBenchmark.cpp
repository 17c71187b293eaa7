// Compares the conversion of a HEX file by vimbra-tool with objcopy and srec_cat: processor time,
// pair by pair on the same file. Usage: conversion-benchmark [MIB-OF-DATA [PAIRS]]

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

struct Measurement {
    double seconds; ///< of processor time, that of the system included
    double peakMib; ///< resident size
};

/// Writes rows of 16 bytes from address 0x08000000 on, as linkers' tools do.
void writeHexFile(const std::filesystem::path& path, std::size_t size)
{
    constexpr std::size_t rowSize = 16;
    constexpr std::size_t bankSize = 0x10000;
    constexpr unsigned int firstBank = 0x0800;
    std::ofstream file(path);
    std::mt19937 random(1);
    const auto writeRecord = [&](unsigned int type, std::size_t address,
                                 const std::vector<unsigned int>& data) {
        char text[3];
        unsigned int sum = 0;
        const auto writeByte = [&](std::size_t byte) {
            std::snprintf(text, sizeof(text), "%02X", static_cast<unsigned int>(byte & 0xFF));
            file << text;
            sum += static_cast<unsigned int>(byte & 0xFF);
        };
        file << ':';
        for (const std::size_t byte : {data.size(), address >> 8, address, std::size_t{type}}) {
            writeByte(byte);
        }
        for (const unsigned int byte : data) {
            writeByte(byte);
        }
        writeByte(0U - sum);
        file << "\r\n";
    };
    std::vector<unsigned int> row(rowSize);
    for (std::size_t offset = 0; offset < size; offset += rowSize) {
        if (offset % bankSize == 0) {
            const auto bank = static_cast<unsigned int>(firstBank + offset / bankSize);
            writeRecord(4, 0, {bank >> 8, bank & 0xFF});
        }
        std::generate(row.begin(), row.end(),
                      [&] { return static_cast<unsigned int>(random() & 0xFF); });
        writeRecord(0, offset % bankSize, row);
    }
    writeRecord(1, 0, {});
}

double toSeconds(const timeval& time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

/// Runs a command once, its output thrown away. Returns nothing if it fails or is not installed.
std::optional<Measurement> runOnce(std::vector<std::string> command)
{
    std::vector<char*> arguments(command.size() + 1); // the last one null
    std::transform(command.begin(), command.end(), arguments.begin(),
                   [](std::string& word) { return word.data(); });
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int error =
        posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    rusage usage{};
    if (error != 0 || wait4(child, &status, 0, &usage) == -1 || status != 0) {
        return std::nullopt;
    }
    return Measurement{toSeconds(usage.ru_utime) + toSeconds(usage.ru_stime),
                       static_cast<double>(usage.ru_maxrss) / 1024};
}

/// Runs both commands in turn, once to warm up and then `pairs` times, and prints how the processor
/// times compare. Returns false if one of them fails.
bool compare(const std::vector<std::string>& tool, const std::vector<std::string>& other, int pairs)
{
    std::vector<double> ratios;
    Measurement last{};
    for (int pair = -1; pair < pairs; ++pair) {
        const auto own = runOnce(tool);
        const auto others = runOnce(other);
        if (!own || !others) {
            return false;
        }
        if (pair >= 0) {
            ratios.push_back(own->seconds / others->seconds);
        }
        last = *own;
    }
    std::sort(ratios.begin(), ratios.end());
    std::printf("%.3f of the processor time of %s (%.3f to %.3f in %d pairs), peak %.1f MiB\n",
                ratios[ratios.size() / 2], other[0].c_str(), ratios.front(), ratios.back(), pairs,
                last.peakMib);
    return true;
}

} // namespace

int main(int argc, char* argv[])
{
    const std::size_t mib = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 32;
    const int pairs = argc > 2 ? std::max(1, std::atoi(argv[2])) : 9; // NOLINT(cert-err34-c)
    std::string folder = std::filesystem::temp_directory_path() / "conversion-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) {
        std::perror("Failed creating a folder");
        return 1;
    }
    const std::string hex = folder + "/fw.hex";
    const std::string bin = folder + "/fw.dat";
    writeHexFile(hex, mib << 20);
    std::printf("%zu MiB of data\n", mib);
    const std::vector<std::string> tool{VIMBRA_TOOL, "--firmware-hex", hex};
    const std::vector<std::vector<std::string>> others{
        {"objcopy", "-I", "ihex", "-O", "binary", hex, bin},
        {"srec_cat", hex, "-intel", "-offset", "-0x08000000", "-o", bin, "-binary"}};
    int status = 0;
    for (const auto& other : others) {
        if (!compare(tool, other, pairs)) {
            std::printf("%s or vimbra-tool: failed or not installed\n", other[0].c_str());
            status = 1;
        }
    }
    std::filesystem::remove_all(folder);
    return status;
}
