#pragma once

#include <cstdio>

/// The progress file, open for writing; null when there is none. Opened by the option parser and
/// closed by `main`.
extern std::FILE* progressFile;

/// Reports how far the task has come, in percent, clamped to 0 to 100: as one line of the progress
/// file, flushed and synced, or on standard output when there is no such file. A progress file that
/// can't be written never stops the task.
void reportProgress(int percent);

/// Closes the progress file if one is open.
void closeProgressFile();
