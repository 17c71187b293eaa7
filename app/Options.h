#pragma once

#include "app/Task.h"

#include <memory>

/// Builds the task that the command line selects and opens the progress file that it names. Never
/// returns null: help requests and usage errors print the usage, a second progress file prints that
/// there is one, and each ends the process with status 255.
std::unique_ptr<Task> parseOptions(int argc, char* argv[]);

/// Prints the option list and ends the process with status 255.
[[noreturn]] void printUsage();
