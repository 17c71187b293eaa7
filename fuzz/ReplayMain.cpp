// Hands the files of folders to a fuzz target, one after the other, in builds without a fuzzer.

#include "fuzz/FuzzTarget.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

/// Takes folders; status 1 if there is no file in them.
int main(int argc, char** argv)
{
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::vector<std::uint8_t> input{std::istreambuf_iterator<char>(file), {}};
            std::printf("%s (%zu bytes)\n", entry.path().c_str(), input.size());
            std::fflush(stdout); // names the file if the target ends the process
            LLVMFuzzerTestOneInput(input.data(), input.size());
            ++count;
        }
    }
    std::printf("%d inputs replayed\n", count);
    return count > 0 ? 0 : 1;
}
