#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

// What the fuzz targets share. They hold the tool against rules that every result has to keep, or
// against a second reading of its input that is as plain as it can be, without the tool's own code.

/// A target, which returns 0. Where there is no fuzzer, each has a name of its own instead.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

inline std::string toText(const void* data, std::size_t size)
{
    return {static_cast<const char*>(data), size};
}

/// The value of the two hexadecimal digits at `place`, or -1.
inline int plainPair(const std::string& text, std::size_t place)
{
    const std::string digits = "0123456789abcdef0123456789ABCDEF";
    const std::size_t high = digits.find(text[place]);
    const std::size_t low = digits.find(text[place + 1]);
    return high == digits.npos || low == digits.npos ? -1
                                                     : static_cast<int>(high % 16 * 16 + low % 16);
}

/// Ends the process, after showing the rule, if it is broken.
inline void expect(bool isKept, const char* rule)
{
    if (!isKept) {
        std::fprintf(stderr, "--- not kept: %s\n", rule);
        std::abort();
    }
}

/// What `run` prints on standard output.
template <class Function>
std::string capture(Function run)
{
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* const original = std::exchange(stdout, open_memstream(&text, &size));
    run();
    std::fclose(std::exchange(stdout, original));
    std::string printed(text, size);
    std::free(text);
    return printed;
}
