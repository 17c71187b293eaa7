// Hands files to a fuzz target, one after the other, in builds without a fuzzer.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

int replay(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    const std::string input{std::istreambuf_iterator<char>(file), {}};
    std::printf("%s (%zu bytes)\n", path.c_str(), input.size());
    std::fflush(stdout); // names the file if the target ends the process
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    return 1;
}

int replayFolder(const std::filesystem::path& folder)
{
    int count = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        count += entry.is_regular_file() ? replay(entry.path()) : 0;
    }
    return count;
}

} // namespace

/// Takes files and folders; status 1 if there is no file among them.
int main(int argc, char** argv)
{
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        count += std::filesystem::is_directory(argv[i]) ? replayFolder(argv[i]) : replay(argv[i]);
    }
    std::printf("%d inputs replayed\n", count);
    return count > 0 ? 0 : 1;
}
