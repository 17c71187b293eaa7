#include "simulator/Selection.h"

#include "simulator/Call.h"
#include "simulator/Clock.h"
#include "simulator/OpenFile.h"

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <poll.h>
#include <string>
#include <vector>

namespace simulator {

namespace {

constexpr double microsecondsPerSecond = 1e6;

/// What a `select` waits for.
struct Waiting {
    std::vector<const OpenFile*> files;
    std::vector<int> others; ///< descriptors that are not the simulator's
    std::size_t beyond = 0;  ///< members of the set that `select` does not look at
};

Waiting listMembers(int count, const fd_set* set)
{
    Waiting waiting;
    for (int fd = 0; set != nullptr && fd < FD_SETSIZE; ++fd) {
        if (!FD_ISSET(fd, set)) {
            continue;
        }
        if (fd >= count) {
            ++waiting.beyond;
        } else if (const OpenFile* const file = findFile(fd)) {
            waiting.files.push_back(file);
        } else {
            waiting.others.push_back(fd);
        }
    }
    return waiting;
}

/// The names of the files. Whatever else is in the set shows that it was not cleared.
std::string describeMembers(const Waiting& waiting)
{
    std::string names;
    for (const OpenFile* const file : waiting.files) {
        names += (names.empty() ? "" : " and ") + file->path();
    }
    const std::size_t others = waiting.others.size() + waiting.beyond;
    return (names.empty() ? "nothing" : names) +
           (others == 0 ? "" : " and " + std::to_string(others) + " others");
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

bool isReady(int descriptor)
{
    pollfd state{descriptor, POLLIN, 0};
    return poll(&state, 1, 0) == 1;
}

/// When the first of them will have something, in seconds.
double firstArrival(const Waiting& waiting)
{
    double arrival = never;
    for (const OpenFile* const file : waiting.files) {
        arrival = std::min(arrival, file->nextArrival());
    }
    const bool isAnyReady = std::any_of(waiting.others.begin(), waiting.others.end(), isReady);
    return isAnyReady ? 0 : arrival;
}

/// Waits until a point in time, at most for the time-out, of which what is left comes back.
void waitWithin(double arrival, timeval* timeout)
{
    const double end = timeout == nullptr ? never : now() + toSeconds(timeout);
    waitUntil(std::min(arrival, end));
    if (timeout != nullptr) {
        const auto left =
            static_cast<long long>(std::max(0.0, end - now()) * microsecondsPerSecond);
        timeout->tv_sec = static_cast<time_t>(left / 1'000'000);
        timeout->tv_usec = static_cast<suseconds_t>(left % 1'000'000);
    }
}

/// Empties the sets and puts into the read set what is ready. Returns its number.
int fillSets(const Waiting& waiting, fd_set* readSet, fd_set* writeSet, fd_set* exceptSet)
{
    for (fd_set* const set : {readSet, writeSet, exceptSet}) {
        if (set != nullptr) {
            FD_ZERO(set);
        }
    }
    int ready = 0;
    for (const OpenFile* const file : waiting.files) {
        if (file->nextArrival() <= now()) {
            FD_SET(file->descriptor(), readSet);
            ++ready;
        }
    }
    for (const int fd : waiting.others) {
        if (isReady(fd)) {
            FD_SET(fd, readSet);
            ++ready;
        }
    }
    return ready;
}

} // namespace

bool selectsOpenFiles(int count, const fd_set* readSet)
{
    const Waiting waiting = listMembers(count, readSet);
    return !waiting.files.empty() || waiting.others.empty();
}

int selectOpenFiles(int count, fd_set* readSet, fd_set* writeSet, fd_set* exceptSet,
                    timeval* timeout)
{
    const Waiting waiting = listMembers(count, readSet);
    const std::string path = waiting.files.empty() ? "" : waiting.files.front()->path();
    const Call call(path + ":select",
                    "select(" + describeMembers(waiting) + ", " + describeTimeout(timeout) + ")");
    return call.perform([&] {
        if (call.outcome().has("end")) {
            std::raise(SIGTERM); // a listener is ended from outside
        }
        if (!call.outcome().has("timeout")) {
            waitWithin(firstArrival(waiting), timeout);
            return fillSets(waiting, readSet, writeSet, exceptSet);
        }
        if (timeout != nullptr) {
            waitWithin(never, timeout);
        }
        return fillSets({}, readSet, writeSet, exceptSet);
    });
}

} // namespace simulator
