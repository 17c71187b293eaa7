// Compares the conversion of a HEX file by vimbra-tool with objcopy and srec_cat, in one run on the
// same file. Usage: conversion-benchmark [MIB-OF-DATA [RUNS]]

#include <algorithm>
#include <chrono>
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
    double seconds; ///< best of all runs
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
        file << '\n';
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

/// Runs a command once, its output thrown away. Returns nothing if it fails or is not installed.
std::optional<Measurement> runOnce(std::vector<std::string> command)
{
    std::vector<char*> arguments(command.size() + 1); // the last one null
    std::transform(command.begin(), command.end(), arguments.begin(),
                   [](std::string& word) { return word.data(); });
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    const auto start = std::chrono::steady_clock::now();
    pid_t child = 0;
    const int error =
        posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    rusage usage{};
    if (error != 0 || wait4(child, &status, 0, &usage) == -1 || status != 0) {
        return std::nullopt;
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    return Measurement{elapsed.count(), static_cast<double>(usage.ru_maxrss) / 1024};
}

/// The best of several runs, behind one that warms up.
std::optional<Measurement> measure(const std::vector<std::string>& command, int runs)
{
    std::optional<Measurement> best = runOnce(command);
    for (int run = 0; best && run < runs; ++run) {
        const auto next = runOnce(command);
        if (next) {
            best = Measurement{run == 0 ? next->seconds : std::min(best->seconds, next->seconds),
                               std::max(best->peakMib, next->peakMib)};
        }
    }
    return best;
}

} // namespace

int main(int argc, char* argv[])
{
    const std::size_t mib = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 64;
    const int runs = argc > 2 ? std::atoi(argv[2]) : 5; // NOLINT(cert-err34-c)
    const auto folder = std::filesystem::temp_directory_path() /
                        ("vimbra-conversion-benchmark-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    const std::string hex = folder / "fw.hex";
    const std::string bin = folder / "fw.dat";
    writeHexFile(hex, mib << 20);

    const auto tool = measure({VIMBRA_TOOL, "--firmware-hex", hex}, runs);
    const auto version = measure({VIMBRA_TOOL, "--version"}, runs);
    if (!tool || !version) {
        std::puts("vimbra-tool failed");
        std::filesystem::remove_all(folder);
        return 1;
    }
    std::printf("%zu MiB of data\nvimbra-tool: %.3f s, peak %.1f MiB (--version: %.1f MiB)\n", mib,
                tool->seconds, tool->peakMib, version->peakMib);
    const std::vector<std::vector<std::string>> others{
        {"objcopy", "-I", "ihex", "-O", "binary", hex, bin},
        {"srec_cat", hex, "-intel", "-offset", "-0x08000000", "-o", bin, "-binary"}};
    for (const auto& command : others) {
        if (const auto other = measure(command, runs)) {
            std::printf("%s: %.3f s, %.1f times as long\n", command[0].c_str(), other->seconds,
                        other->seconds / tool->seconds);
        } else {
            std::printf("%s: failed or not installed\n", command[0].c_str());
        }
    }
    std::filesystem::remove_all(folder);
    return 0;
}
