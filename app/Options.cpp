#include "app/Options.h"

#include "app/Progress.h"
#include "control/ArmGenUtilTask.h"
#include "control/ArmInterfaceTask.h"
#include "firmware/ArmFirmwareProgram.h"
#include "listeners/ArmCommTestTask.h"
#include "listeners/ArmEventTestTask.h"
#include "listeners/ArmSensorTestTask.h"
#include "listeners/ArmTtyTestTask.h"
#include "pic/PicFirmwareTask.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <getopt.h>

namespace {

constexpr const char* shortOptions = "?h";
constexpr int progressFileOption = 1000; // beyond the characters, so it has no short form

constexpr std::array<option, 13> optionTable{{
    {"event-listen", no_argument, nullptr, 'k'},
    {"firmware-hex", required_argument, nullptr, 'f'},
    {"program-vimbra", required_argument, nullptr, 'p'},
    {"progress-file", required_argument, nullptr, progressFileOption},
    {"interface", no_argument, nullptr, 'i'},
    {"sensor-listen", no_argument, nullptr, 's'},
    {"comm-listen", no_argument, nullptr, 'c'},
    {"version", no_argument, nullptr, 'v'},
    {"tty-listen", no_argument, nullptr, 't'},
    {"program-pic", required_argument, nullptr, 'm'},
    {"help", no_argument, nullptr, 'h'},
    {"?", no_argument, nullptr, 'h'},
    {nullptr, 0, nullptr, 0},
}};

bool isMissing(const char* argument)
{
    return argument == nullptr || *argument == '\0';
}

void openProgressFile(const char* path)
{
    if (isMissing(path)) {
        printUsage();
    }
    if (progressFile != nullptr) {
        std::puts("Progress file already specified");
        std::exit(-1);
    }
    progressFile = std::fopen(path, "w");
    if (progressFile == nullptr) {
        std::puts("*** Unable to open progress output - proceeding anyway ***");
    }
}

/// The firmware file is the third word of the command line, whatever word the option's own argument
/// is: both are the same where the option comes first.
std::unique_ptr<Task> createPicFirmwareTask(const char* argument, int argc, char* argv[])
{
    if (isMissing(argument) || argc <= 2) {
        return nullptr;
    }
    return std::make_unique<PicFirmwareTask>(argv[2]);
}

/// Null when the option selects no task or lacks its argument.
std::unique_ptr<Task> createTask(int optionValue, const char* argument, int argc, char* argv[])
{
    switch (optionValue) {
    case 'k':
        return std::make_unique<ArmEventTestTask>();
    case 'f':
        return isMissing(argument) ? nullptr : std::make_unique<ArmFirmwareTask>(argument, "");
    case 'p':
        return isMissing(argument) ? nullptr : std::make_unique<ArmProgramTask>(argument);
    case 'i':
        return std::make_unique<ArmInterfaceTask>();
    case 's':
        return std::make_unique<ArmSensorTestTask>();
    case 'c':
        return std::make_unique<ArmCommTestTask>();
    case 'v':
        return std::make_unique<ArmGenUtilTask>();
    case 't':
        return std::make_unique<ArmTtyTestTask>();
    case 'm':
        return createPicFirmwareTask(argument, argc, argv);
    default:
        return nullptr;
    }
}

} // namespace

std::unique_ptr<Task> parseOptions(int argc, char* argv[])
{
    std::unique_ptr<Task> task;
    for (;;) {
        int index = 0;
        const int value = getopt_long_only(argc, argv, shortOptions, optionTable.data(), &index);
        if (value == -1) {
            break;
        }
        if (value == progressFileOption) {
            openProgressFile(optarg);
            continue;
        }
        if (task) {
            printUsage();
        }
        task = createTask(value, optarg, argc, argv);
        if (!task) {
            printUsage();
        }
    }
    if (!task) {
        std::puts("\n** No actions specified **\n");
        printUsage();
    }
    return task;
}

void printUsage()
{
    std::puts("Application options:");
    for (const option& entry : optionTable) {
        if (entry.name == nullptr) {
            break;
        }
        std::printf("\t-%s%s\n", entry.name, entry.has_arg != no_argument ? " <arg>" : "");
    }
    std::exit(-1);
}
