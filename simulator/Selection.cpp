#include "simulator/Selection.h"

#include "simulator/Call.h"
#include "simulator/Clock.h"
#include "simulator/OpenFile.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

namespace simulator {

namespace {

constexpr double microsecondsPerSecond = 1e6;

/// The descriptors below `count` that the set holds.
std::vector<int> listDescriptors(int count, const fd_set* set)
{
    std::vector<int> descriptors;
    for (int fd = 0; set != nullptr && fd < count; ++fd) {
        if (FD_ISSET(fd, set)) {
            descriptors.push_back(fd);
        }
    }
    return descriptors;
}

std::vector<const OpenFile*> listFiles(int count, const fd_set* set)
{
    std::vector<const OpenFile*> files;
    for (const int fd : listDescriptors(count, set)) {
        if (const OpenFile* const file = findFile(fd)) {
            files.push_back(file);
        }
    }
    return files;
}

double toSeconds(const timeval* timeout)
{
    return timeout == nullptr ? never
                              : static_cast<double>(timeout->tv_sec) +
                                    static_cast<double>(timeout->tv_usec) / microsecondsPerSecond;
}

std::string describeTimeout(const timeval* timeout)
{
    if (timeout == nullptr) {
        return "none";
    }
    std::string microseconds = std::to_string(timeout->tv_usec);
    microseconds.insert(0, 6 - std::min<std::size_t>(6, microseconds.size()), '0');
    return std::to_string(timeout->tv_sec) + "." + microseconds;
}

/// Waits for the first file to have something, at most for the time-out, of which what is left
/// comes back.
void waitForFiles(const std::vector<const OpenFile*>& files, timeval* timeout)
{
    double arrival = never;
    for (const OpenFile* const file : files) {
        arrival = std::min(arrival, file->nextArrival());
    }
    const double end = timeout == nullptr ? never : now() + toSeconds(timeout);
    waitUntil(std::min(arrival, end));
    if (timeout != nullptr) {
        const auto left =
            static_cast<long long>(std::max(0.0, end - now()) * microsecondsPerSecond);
        timeout->tv_sec = static_cast<time_t>(left / 1'000'000);
        timeout->tv_usec = static_cast<suseconds_t>(left % 1'000'000);
    }
}

} // namespace

bool selectsOpenFiles(int count, const fd_set* readSet)
{
    return listDescriptors(count, readSet).empty() || !listFiles(count, readSet).empty();
}

int selectOpenFiles(int count, fd_set* readSet, fd_set* writeSet, fd_set* exceptSet,
                    timeval* timeout)
{
    std::vector<const OpenFile*> files = listFiles(count, readSet);
    const std::string name = files.empty() ? "nothing" : files.front()->path();
    const Call call(name + ":select", "select(" + name + ", " + describeTimeout(timeout) + ")");
    return call.perform([&] {
        if (call.outcome().has("end")) {
            std::raise(SIGTERM); // a listener is ended from outside
        }
        if (call.outcome().has("timeout")) {
            files.clear();
        }
        if (!call.outcome().has("timeout") || timeout != nullptr) {
            waitForFiles(files, timeout);
        }
        for (fd_set* const set : {readSet, writeSet, exceptSet}) {
            if (set != nullptr) {
                FD_ZERO(set);
            }
        }
        int ready = 0;
        for (const OpenFile* const file : files) {
            if (file->nextArrival() <= now()) {
                FD_SET(file->descriptor(), readSet);
                ++ready;
            }
        }
        return ready;
    });
}

} // namespace simulator
