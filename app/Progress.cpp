#include "app/Progress.h"

#include <algorithm>
#include <unistd.h>

std::FILE* progressFile = nullptr;

void reportProgress(int percent)
{
    const int value = std::clamp(percent, 0, 100);
    if (progressFile == nullptr) {
        std::printf("Progress: %i\n", value);
        return;
    }
    std::fprintf(progressFile, "%i\n", value);
    std::fflush(progressFile);
    fsync(fileno(progressFile));
}

void closeProgressFile()
{
    if (progressFile != nullptr) {
        std::fclose(progressFile);
        progressFile = nullptr;
    }
}
