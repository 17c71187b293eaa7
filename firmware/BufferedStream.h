#pragma once

#include "base/FileStream.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <string>

/// A stream with a buffer of 64 KiB of its own, for files that are read or written as a whole.
class BufferedStream {
public:
    /// Opens the file in one of the modes of `fopen`. Returns false if that fails.
    bool open(const std::string& path, const char* mode)
    {
        stream.reset(std::fopen(path.c_str(), mode));
        if (stream) {
            std::setvbuf(stream.get(), buffer.data(), _IOFBF, buffer.size());
        }
        return stream != nullptr;
    }

    /// The stream, or null while none is open.
    [[nodiscard]] std::FILE* get() const { return stream.get(); }

private:
    static constexpr std::size_t bufferSize = 65536;

    std::array<char, bufferSize> buffer; ///< outlives the stream
    FileStream stream;
};
