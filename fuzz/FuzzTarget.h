#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

// What the fuzz targets share. Most of them hold the tool against a second reading of its rules
// that is as plain as it can be: digit by digit, without buffers and without the tool's own code.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

inline std::string toText(const std::uint8_t* data, std::size_t size)
{
    return {reinterpret_cast<const char*>(data), size};
}

/// The text as far as a NUL.
inline std::string upToNul(const std::string& text)
{
    return text.substr(0, text.find('\0'));
}

/// Ends the process, after showing the text, if something is not as it has to be.
inline void expect(bool isRight, const std::string& text)
{
    if (!isRight) {
        std::fprintf(stderr, "%s\n", text.c_str());
        std::abort();
    }
}

inline void expectSame(const std::string& actual, const std::string& expected)
{
    expect(actual == expected, "--- actual\n" + actual + "\n--- expected\n" + expected);
}

/// What `run` prints on standard output and standard error.
template <class Function>
std::string capture(Function run)
{
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* const memory = open_memstream(&text, &size);
    std::FILE* const output = std::exchange(stdout, memory);
    std::FILE* const errors = std::exchange(stderr, memory);
    run();
    stdout = output;
    stderr = errors;
    std::fclose(memory);
    std::string printed(text, size);
    std::free(text);
    return printed;
}

/// A file in memory that has a path.
class MemoryFile {
public:
    MemoryFile() : fd(memfd_create("fuzz", MFD_CLOEXEC)) {}

    std::string path() const { return "/proc/self/fd/" + std::to_string(fd); }

    void write(const std::string& text) const
    {
        if (ftruncate(fd, 0) != 0 || pwrite(fd, text.data(), text.size(), 0) == -1) {
            std::abort();
        }
    }

    std::string read() const
    {
        std::string text(static_cast<std::size_t>(lseek(fd, 0, SEEK_END)), '\0');
        return pread(fd, text.data(), text.size(), 0) == -1 ? "" : text;
    }

private:
    int fd;
};

/// What each device delivers from now on. Devices are always ready, and pauses take no time.
void deliver(const std::string& block);
