#pragma once

#include "app/Task.h"
#include "listeners/ArmRecord.h"

#include <cstdint>
#include <span>

/// Base of the tasks that listen on a record channel: waits for blocks, walks their records and
/// hands each record's entries to the handler that the channel's table names for its tag.
class RecordListener : public Task {
public:
    /// What to do with the records of one tag.
    struct Handler {
        std::uint32_t tag;
        void (*handle)(RecordListener& listener, const ArmRecord& record);
    };

    /// The row of a channel's table for records of `tag`, whose entries are of type `Entry`;
    /// `handle` gets the whole ones, perhaps none.
    template <class Entry, void (*handle)(RecordListener&, const ArmEntries<Entry>&)>
    static constexpr Handler handlerOf(std::uint32_t tag)
    {
        return {tag, [](RecordListener& listener, const ArmRecord& record) {
                    handle(listener, record.entries<Entry>());
                }};
    }

    struct Channel {
        const char* device;
        const char* readErrorText; ///< for `perror`
        std::span<const Handler> handlers;
        void (*handleUnknown)(std::uint32_t tag); ///< null: records of other tags are passed over
    };

    /// Asks for the dump of the whole block after its walk.
    void markSuspicious() { suspicious = true; }

protected:
    /// `listenedChannel` outlives the listener.
    explicit RecordListener(const Channel& listenedChannel) : channel(listenedChannel) {}

    /// Opens the device. Prints the failure and returns false if that can't be done. It stays open
    /// when an exception leaves the task, since the process ends then.
    bool openDevice();

    /// Waits for blocks and reads them. Returns the status of the task, with the device closed, if
    /// the wait ever times out; otherwise it listens until the process is ended from outside.
    int listen();

private:
    bool readBlock();
    void handleRecords(std::span<const std::byte> block);
    void handleRecord(const ArmRecord& record);

    const Channel& channel;
    int fd = -1;
    bool suspicious = false;
};
