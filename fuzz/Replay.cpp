// Hands each file of a folder to a fuzz target, in builds without a fuzzer.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size);

int main(int /*argc*/, char** argv)
{
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        std::cerr << entry.path() << "\n"; // names the file if the target ends the process
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string input{std::istreambuf_iterator<char>(file), {}};
        LLVMFuzzerTestOneInput(input.data(), input.size());
    }
}
