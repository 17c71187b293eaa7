#pragma once

#include <cstdio>
#include <string>

namespace simulator {

/// Opens a file of the machine, in the run's own directory if it is one of /var/volatile/. Returns
/// its descriptor, under which `findFile` finds it, or -1.
int openMachineFile(const std::string& path, int flags);

/// Opens a file of the machine as a stream. What the stream reads, writes and seeks goes through
/// the `OpenFile` of its descriptor. Returns null on failure.
std::FILE* openStream(const std::string& path, const char* mode);

/// The descriptor of a stream that `openStream` opened; -1 for any other.
int streamDescriptor(std::FILE* stream);

} // namespace simulator
