#pragma once

#include <cstddef>
#include <sys/types.h>

/// Judges the result of a `read` or `write` that has to transfer `wanted` bytes; called right
/// behind it, since it takes errno. Prints `noneText` for 0 and the error for -1, nothing for
/// another count. Returns whether all bytes were transferred.
bool isCompleteTransfer(ssize_t result, std::size_t wanted, const char* noneText);
