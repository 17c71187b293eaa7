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

constexpr int firstOwnDescriptor = 100; // out of the way of the program's

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

void openReports()
{
    reportDescriptor = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, firstOwnDescriptor);
    const char* const path = std::getenv("VIMBRA_SIM_TRACE");
    if (path == nullptr || *path == '\0') {
        return;
    }
    const int opened = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (opened == -1) {
        refuseToStart(std::string("trace ") + path + ": " + std::strerror(errno));
    }
    traceDescriptor = fcntl(opened, F_DUPFD_CLOEXEC, firstOwnDescriptor);
    close(opened);
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
