#include "app/AppException.h"
#include "app/Options.h"
#include "app/Progress.h"
#include "app/Task.h"

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

/// Opens /dev/null for each standard descriptor that is closed: a device or file would take its
/// number otherwise, and messages would be written into it. Returns false if that can't be done.
bool occupyStandardDescriptors()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) == -1 && open("/dev/null", O_RDWR) != descriptor) {
            return false;
        }
    }
    return true;
}

/// Runs the task that the command line selects and reports what escapes it. Returns the exit
/// status.
int runSelectedTask(int argc, char* argv[])
{
    try {
        const std::unique_ptr<Task> task = parseOptions(argc, argv);
        if (!task) {
            std::puts("No task selected");
            return -1;
        }
        std::printf("Running task: %s\n", task->name());
        return task->run();
    } catch (...) {
        printCurrentException();
        return -1;
    }
}

} // namespace

int main(int argc, char* argv[])
{
    if (!occupyStandardDescriptors()) {
        std::perror("Failed opening /dev/null");
        return -1;
    }
    // Line by line, so that whoever reads it from a file or a pipe sees each line at once.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const int status = runSelectedTask(argc, argv);
    closeProgressFile();
    return status;
}
