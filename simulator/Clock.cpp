#include "simulator/Clock.h"

#include "simulator/Script.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <thread>

namespace simulator {

static double pausedSeconds = 0;

double now()
{
    using std::chrono::steady_clock;
    static const auto start = steady_clock::now();
    const std::chrono::duration<double> passed = steady_clock::now() - start;
    return setting("clock") == "fast" ? pausedSeconds : passed.count();
}

void waitUntil(double time)
{
    if (time >= never) {
        std::raise(SIGTERM);
    }
    if (setting("clock") == "fast") {
        pausedSeconds = std::max(pausedSeconds, time);
    } else {
        std::this_thread::sleep_for(std::chrono::duration<double>(time - now()));
    }
}

} // namespace simulator
