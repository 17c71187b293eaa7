#include "simulator/Report.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace simulator {

namespace {

int traceDescriptor = -1;
int reportDescriptor = -1;

/// Writes a line, whether or not somebody still reads it: the program under test is not to die of
/// what its instrument says.
void writeLine(int descriptor, const std::string& line)
{
    const int error = errno;
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    [[maybe_unused]] const ssize_t written = write(descriptor, line.data(), line.size());
    std::signal(SIGPIPE, before);
    errno = error;
}

} // namespace

int moveAway(int descriptor)
{
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, 100);
    close(descriptor);
    return moved;
}

void openReports()
{
    reportDescriptor = moveAway(dup(STDERR_FILENO));
    const char* const path = std::getenv("VIMBRA_SIM_TRACE");
    if (path == nullptr || *path == '\0') {
        return;
    }
    // By another name than the program's calls, which are traced.
    const int opened = openat(AT_FDCWD, path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (opened == -1) {
        refuseToStart(std::string("trace ") + path + ": " + std::strerror(errno));
    }
    traceDescriptor = moveAway(opened);
}

void trace(const std::string& line)
{
    if (traceDescriptor != -1) {
        writeLine(traceDescriptor, line + "\n");
    }
}

void report(const char* format, ...)
{
    std::array<char, 1000> text{};
    va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    writeLine(reportDescriptor, std::string("[simulated instrument] ") + text.data() + "\n");
}

void refuseToStart(const std::string& reason)
{
    report("%s", reason.c_str());
    _exit(255);
}

} // namespace simulator
