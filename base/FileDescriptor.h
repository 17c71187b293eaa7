#pragma once

#include <unistd.h>

/// Owner of a file descriptor; -1 while nothing is open.
class FileDescriptor {
public:
    FileDescriptor() = default;
    ~FileDescriptor() { close(); }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    [[nodiscard]] bool isOpen() const { return descriptor != -1; }
    [[nodiscard]] int get() const { return descriptor; }

    /// Takes over a descriptor that `open` returned; closes the one held before.
    void reset(int opened)
    {
        close();
        descriptor = opened;
    }

    void close()
    {
        if (isOpen()) {
            ::close(descriptor);
            descriptor = -1;
        }
    }

private:
    int descriptor = -1;
};
