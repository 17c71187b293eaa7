#include "simulator/MachineFiles.h"

#include "simulator/OpenFile.h"
#include "simulator/RealCall.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace simulator {

namespace {

class MachineFile : public OpenFile {
public:
    /// `innerStream` is the owner of the descriptor, if it is not the file itself.
    MachineFile(const std::string& filePath, int fileDescriptor, std::FILE* innerStream = nullptr)
        : OpenFile(filePath, fileDescriptor), inner(innerStream)
    {
    }

    /// Gives a stream on the file a buffer of the size that libc would give it.
    void buffer(std::FILE* stream)
    {
        struct stat status = {};
        fstat(descriptor(), &status);
        streamBuffer.resize(static_cast<std::size_t>(status.st_blksize));
        std::setvbuf(stream, streamBuffer.data(), _IOFBF, streamBuffer.size());
    }

    double nextArrival() const override { return 0; }

private:
    std::string describeWrite(const void* /*buffer*/, std::size_t size) const override
    {
        return std::to_string(size);
    }
    std::string describeSync() const override
    {
        return ", " + std::to_string(REAL(lseek64)(descriptor(), 0, SEEK_CUR));
    }
    ssize_t ordinaryRead(void* buffer, std::size_t size) override
    {
        return REAL(read)(descriptor(), buffer, size);
    }
    void giveBack(std::size_t count) override
    {
        REAL(lseek64)(descriptor(), -static_cast<off64_t>(count), SEEK_CUR);
    }
    ssize_t ordinaryWrite(const void* buffer, std::size_t size) override
    {
        return REAL(write)(descriptor(), buffer, size);
    }
    ssize_t shortWrite(const void* buffer, std::size_t size) override
    {
        return ordinaryWrite(buffer, size);
    }
    off64_t ordinarySeek(off64_t offset, int whence) override
    {
        return REAL(lseek64)(descriptor(), offset, whence);
    }
    int ordinarySync() override { return REAL(fsync)(descriptor()); }
    int release() override
    {
        return inner != nullptr ? std::fclose(inner) : REAL(close)(descriptor());
    }

    std::FILE* inner;
    std::vector<char> streamBuffer;
};

std::string translate(const std::string& path)
{
    constexpr const char* volatileDirectory = "/var/volatile/";
    const char* const replacement = std::getenv("VIMBRA_SIM_VOLATILE");
    return replacement != nullptr && path.starts_with(volatileDirectory)
               ? replacement + path.substr(std::strlen(volatileDirectory) - 1)
               : path;
}

std::map<std::FILE*, int>& streams()
{
    static std::map<std::FILE*, int> descriptors;
    return descriptors;
}

OpenFile& fileOf(void* cookie)
{
    return *static_cast<OpenFile*>(cookie);
}

ssize_t readStream(void* cookie, char* buffer, std::size_t size)
{
    return fileOf(cookie).read(buffer, size);
}

/// Goes on behind a short count, as libc does on its own streams.
ssize_t writeStream(void* cookie, const char* buffer, std::size_t size)
{
    std::size_t written = 0;
    while (written < size) {
        const ssize_t count = fileOf(cookie).write(buffer + written, size - written);
        if (count < 0) {
            break;
        }
        written += static_cast<std::size_t>(count);
    }
    return static_cast<ssize_t>(written);
}

int seekStream(void* cookie, off64_t* offset, int whence)
{
    const off64_t position = fileOf(cookie).seek(*offset, whence);
    if (position == -1) {
        return -1;
    }
    *offset = position;
    return 0;
}

int closeStream(void* cookie)
{
    const auto file = takeFile(fileOf(cookie).descriptor());
    std::erase_if(streams(), [&](const auto& entry) { return entry.second == file->descriptor(); });
    return file->close();
}

} // namespace

int openMachineFile(const std::string& path, int flags)
{
    const int fd = REAL(open)(translate(path).c_str(), flags);
    if (fd != -1) {
        addFile(std::make_unique<MachineFile>(path, fd));
    }
    return fd;
}

std::FILE* openStream(const std::string& path, const char* mode)
{
    std::FILE* const inner = REAL(fopen)(translate(path).c_str(), mode);
    if (inner == nullptr) {
        return nullptr;
    }
    const int fd = REAL(fileno)(inner);
    auto file = std::make_unique<MachineFile>(path, fd, inner);
    std::FILE* const stream = fopencookie(
        file.get(), mode,
        {.read = readStream, .write = writeStream, .seek = seekStream, .close = closeStream});
    file->buffer(stream);
    streams()[stream] = fd;
    addFile(std::move(file));
    return stream;
}

int streamDescriptor(std::FILE* stream)
{
    const auto found = streams().find(stream);
    return found != streams().end() ? found->second : -1;
}

} // namespace simulator
