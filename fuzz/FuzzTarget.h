#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

// What the fuzz targets share. They hold the tool against rules that every result has to keep.

/// A target, which returns 0. Where there is no fuzzer, each has a name of its own instead.
extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size);

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
