#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

// What the fuzz targets share. They hold the tool against rules that every result has to keep, or
// against a second reading of its input that is as plain as it can be, without the tool's own code.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

inline std::string toText(const void* data, std::size_t size)
{
    return {static_cast<const char*>(data), size};
}

/// The value of the two hexadecimal digits in front, or -1.
inline int plainPair(std::string_view text)
{
    constexpr std::string_view digits = "0123456789abcdef0123456789ABCDEF";
    const std::size_t high = digits.find(text[0]);
    const std::size_t low = digits.find(text[1]);
    return std::max(high, low) == digits.npos ? -1 : static_cast<int>(high % 16 * 16 + low % 16);
}

/// Ends the process, after showing the rule, if it is broken.
inline void expect(bool isKept, const char* rule)
{
    if (!isKept) {
        std::fprintf(stderr, "--- not kept: %s\n", rule);
        std::abort();
    }
}

inline void expectSame(const std::string& actual, const std::string& expected)
{
    expect(actual == expected, (expected + "\n--- but\n" + actual).c_str());
}

/// What `run` prints on the stream.
template <class Function>
std::string capture(std::FILE*& stream, Function run)
{
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* const original = std::exchange(stream, open_memstream(&text, &size));
    run();
    std::fclose(std::exchange(stream, original));
    std::string printed(text, size);
    std::free(text);
    return printed;
}

/// A file in memory that has a path.
class MemoryFile {
public:
    std::string path() const { return "/proc/self/fd/" + std::to_string(fd); }

    void write(const std::string& text) const
    {
        expect(ftruncate(fd, 0) == 0 && pwrite(fd, text.data(), text.size(), 0) != -1, "written");
    }

private:
    int fd = memfd_create("fuzz", MFD_CLOEXEC);
};

/// What each device delivers from now on. Devices are always ready, and pauses take no time.
void deliver(const std::string& block);
