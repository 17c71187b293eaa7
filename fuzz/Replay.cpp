// Hands each file of the corpora to its target, in builds without a fuzzer. Takes their folder.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" {
using Target = int(const std::uint8_t* data, std::size_t size);
Target fuzzEventRecords, fuzzHexConversion, fuzzPicFileName, fuzzPicLine;
}

int main(int /*argc*/, char** argv)
{
    for (const auto& [name, target] :
         {std::pair<const char*, Target*>("/EventRecords", fuzzEventRecords),
          {"/HexConversion", fuzzHexConversion},
          {"/PicFileName", fuzzPicFileName},
          {"/PicLine", fuzzPicLine}}) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[1] + std::string(name))) {
            std::printf("%s\n", entry.path().c_str());
            std::fflush(stdout); // names the file if the target ends the process
            std::ifstream file(entry.path(), std::ios::binary);
            const std::vector<char> input{std::istreambuf_iterator<char>(file), {}};
            target(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
        }
    }
}
