#pragma once

#include "app/Task.h"

#include <memory>

/// Builds the task that the command line selects and opens the progress file that it names. Never
/// returns null: help requests and usage errors print the usage and end the process with status
/// 255. Throws what the task's constructor throws.
std::unique_ptr<Task> parseOptions(int argc, char* argv[]);

/// Prints the option list and ends the process with status 255.
[[noreturn]] void printUsage();
