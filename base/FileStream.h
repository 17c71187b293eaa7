#pragma once

#include <cstdio>
#include <memory>

/// Closes a stream with `fclose`.
struct FileStreamCloser {
    void operator()(std::FILE* stream) const noexcept { std::fclose(stream); }
};

/// Owner of an open stream.
using FileStream = std::unique_ptr<std::FILE, FileStreamCloser>;
