#pragma once

#include "simulator/Outcome.h"

#include <cstddef>
#include <memory>
#include <string>
#include <sys/types.h>

namespace simulator {

/// A file that the program opened. Each call on it ends as the script says and is traced; its
/// ordinary course depends on the kind of file. Results and errno are those of libc's calls.
class OpenFile {
public:
    OpenFile(const std::string& filePath, int fileDescriptor);
    virtual ~OpenFile() = default;
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    const std::string& path() const { return name; } ///< as the program gave it
    int descriptor() const { return fd; }

    ssize_t read(void* buffer, std::size_t size);
    ssize_t write(const void* buffer, std::size_t size);
    off64_t seek(off64_t offset, int whence);
    int sync();
    int close(); ///< the last call; the descriptor is closed, whatever the result is

    /// When a read will find something, in seconds.
    virtual double nextArrival() const = 0;

protected:
    std::string key(const char* call) const { return name + ":" + call; }

private:
    ssize_t deliver(const Outcome& outcome, void* buffer, std::size_t size);
    ssize_t accept(const Outcome& outcome, const void* buffer, std::size_t size);

    /// What the trace shows of a write and of a sync, besides the path.
    virtual std::string describeWrite(const void* buffer, std::size_t size) const = 0;
    virtual std::string describeSync() const = 0;

    virtual ssize_t ordinaryRead(void* buffer, std::size_t size) = 0;
    virtual void giveBack(std::size_t count) = 0; ///< the bytes that were read last
    virtual ssize_t ordinaryWrite(const void* buffer, std::size_t size) = 0;
    virtual ssize_t shortWrite(const void* buffer, std::size_t size) = 0; ///< of what is left over
    virtual off64_t ordinarySeek(off64_t offset, int whence) = 0;
    virtual int ordinarySync() = 0;
    virtual int release() = 0;

    std::string name;
    int fd;
};

/// Sets errno and returns -1.
int failWith(int error);

/// The files that are open, by their descriptors.
OpenFile* findFile(int descriptor);
void addFile(std::unique_ptr<OpenFile> file);
std::unique_ptr<OpenFile> takeFile(int descriptor);

} // namespace simulator
