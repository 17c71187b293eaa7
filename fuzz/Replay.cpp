// Hands each file of the corpora to its target, in builds without a fuzzer. Takes their folder.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

extern "C" {
using Target = int(const char* data, std::size_t size);
Target fuzzEventRecords, fuzzHexConversion;
}

int main(int /*argc*/, char** argv)
{
    for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[1])) {
        if (entry.is_directory()) {
            continue;
        }
        const std::string path = entry.path();
        std::cerr << path << std::endl; // names the file if the target ends the process
        std::ifstream file(path, std::ios::binary);
        const std::string input{std::istreambuf_iterator<char>(file), {}};
        const bool isHex = path.find("/HexConversion/") != std::string::npos;
        (isHex ? fuzzHexConversion : fuzzEventRecords)(input.data(), input.size());
    }
}
