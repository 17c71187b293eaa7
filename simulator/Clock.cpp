#include "simulator/Clock.h"

#include "simulator/Script.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <thread>

namespace simulator {

namespace {

double pausedSeconds = 0;

bool isFast()
{
    static const bool fast = Script::instance().setting("clock") == "fast";
    return fast;
}

} // namespace

double now()
{
    using Clock = std::chrono::steady_clock;
    static const Clock::time_point start = Clock::now();
    return isFast() ? pausedSeconds : std::chrono::duration<double>(Clock::now() - start).count();
}

void pause(double seconds)
{
    waitUntil(now() + seconds);
}

void waitUntil(double time)
{
    if (time >= never) {
        std::raise(SIGTERM);
    }
    if (isFast()) {
        pausedSeconds = std::max(pausedSeconds, time);
    } else {
        std::this_thread::sleep_for(std::chrono::duration<double>(time - now()));
    }
}

} // namespace simulator
