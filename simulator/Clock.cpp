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
    using Clock = std::chrono::steady_clock;
    static const Clock::time_point start = Clock::now();
    const bool isFast = setting("clock") == "fast";
    return isFast ? pausedSeconds : std::chrono::duration<double>(Clock::now() - start).count();
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
