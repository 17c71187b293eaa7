#pragma once

#include "app/Task.h"
#include "listeners/ArmRecord.h"

#include <cstddef>

/// Prints a block that a listener found suspicious in hexadecimal, eight bytes a line, framed by
/// two banner lines.
void dumpBlock(const std::byte* block, std::size_t bytes);

/// Base of the tasks that listen on a record channel: waits for blocks and walks their records.
class RecordListener : public Task {
public:
    /// Waits for blocks and reads them. Returns the status of the task, with the device closed, if
    /// the wait ever times out; otherwise it listens until the process is ended from outside.
    int listen();

    /// One read step: reads a block, walks its records and dumps it if one was suspicious. Prints
    /// what is wrong with the read. Returns false only when the device is not open.
    bool readBlock();

protected:
    /// Both texts outlive the listener; the second one is for `perror`.
    RecordListener(const char* listenedDevice, const char* errorText)
        : device(listenedDevice), readErrorText(errorText)
    {
    }

    /// Opens the device. Prints the failure and returns false if that can't be done. It stays open
    /// when an exception leaves the task, since the process ends then.
    bool openDevice();

    /// Asks for the dump of the whole block after its walk.
    void markSuspicious() { suspicious = true; }

private:
    /// What the listener does with a record.
    virtual void handleRecord(const ArmRecord& record) = 0;

    const char* device;
    const char* readErrorText;
    int fd = -1;
    bool suspicious = false;
};
