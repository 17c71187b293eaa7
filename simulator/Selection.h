#pragma once

#include <sys/select.h>

namespace simulator {

/// Whether a `select` is the simulator's: one that waits for one of its files, or for nothing.
bool selectsOpenFiles(int count, const fd_set* readSet);

/// `select`: only what is in the read set becomes ready; sets and time-out come back as Linux
/// leaves them.
int selectOpenFiles(int count, fd_set* readSet, fd_set* writeSet, fd_set* exceptSet,
                    timeval* timeout);

} // namespace simulator
