#include "app/AppException.h"
#include "app/Options.h"
#include "app/Progress.h"
#include "app/Task.h"

#include <cstdio>

namespace {

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
    // A listener piped into a file or another program has to be live.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const int status = runSelectedTask(argc, argv);
    closeProgressFile();
    return status;
}
