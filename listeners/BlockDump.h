#pragma once

#include <cstddef>
#include <span>

/// Prints a block that a handler found suspicious in hexadecimal, eight bytes a line, framed by two
/// banner lines.
void dumpBlock(std::span<const std::byte> block);
