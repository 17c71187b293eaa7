#include "firmware/ArmFirmwareProgram.h"

#include "app/AppException.h"
#include "app/FileDescriptor.h"
#include "app/FileStream.h"
#include "app/Progress.h"
#include "firmware/Checksum.h"
#include "firmware/IntelHexParser.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr const char* imageExtension = ".bin";
constexpr const char* hexExtension = ".hex";
constexpr const char* conversionDirectory = "/var/volatile/";
constexpr const char* programDevice = "/dev/arm-program";

constexpr std::size_t imageStreamBufferSize = 65536;

// Progress, in percent, at which the programming of an image starts.
constexpr int imageProgressStart = 1;
constexpr int convertedProgressStart = 5;
constexpr int validationProgress = 3;
constexpr int conversionProgress = 1;

std::string deriveImagePath(const std::string& hexPath, const std::string& outputDirectory)
{
    if (outputDirectory.empty()) {
        return hexPath + imageExtension;
    }
    const std::size_t slash = hexPath.rfind('/');
    if (slash == std::string::npos) {
        return outputDirectory + hexPath + imageExtension;
    }
    if (slash + 1 == hexPath.size()) {
        throw AppException("Invalid file name. Cannot end with slash", __LINE__, __FILE__);
    }
    return outputDirectory + hexPath.substr(slash + 1) + imageExtension;
}

void writeHeader(const ImagePacketHeader& header, std::FILE* image)
{
    std::fwrite(&header, sizeof(header), 1, image);
}

/// Writes one packet per chunk of the HEX file. Returns the first packet's header with the number
/// of packets as its index, which is 0 if there was no data.
ImagePacketHeader writeDataPackets(IntelHexParser& parser, std::FILE* image)
{
    ImagePacketHeader first{};
    ImagePacket packet{};
    ImagePacketHeader& header = packet.header;
    std::uint32_t packetsWritten = 0;
    bool more = true;
    while (more) {
        more = parser.readNextChunk(packet.data.data(), header.address, header.dataLength);
        if (header.dataLength == 0) {
            continue;
        }
        header.packetType = packetsWritten == 0 ? firstDataPacket : furtherDataPacket;
        header.packetIndex = packetsWritten;
        header.checksum = twosComplementChecksum(packet.data);
        if (packetsWritten == 0) {
            first = header;
        }
        writeHeader(header, image);
        std::fwrite(packet.data.data(), packet.data.size(), 1, image);
        ++packetsWritten;
    }
    first.packetIndex = packetsWritten;
    return first;
}

/// Appends the end marker and puts the packet count into the first header.
void finishImage(const ImagePacketHeader& first, std::FILE* image)
{
    std::printf("Program bytes written: %i. Finishing file...\n",
                static_cast<int>(first.packetIndex * imageChunkSize));
    ImagePacketHeader endMarker{};
    endMarker.packetType = endMarkerPacket;
    writeHeader(endMarker, image);
    std::fseek(image, 0, SEEK_SET);
    writeHeader(first, image);
}

int convert(IntelHexParser& parser, std::FILE* image)
{
    try {
        const ImagePacketHeader first = writeDataPackets(parser, image);
        if (first.packetIndex == 0) {
            std::puts("No actual program data in file");
            return -1;
        }
        finishImage(first, image);
        return 0;
    } catch (...) {
        printCurrentException();
        return -1;
    }
}

/// Judges the result of a `read` or `write` that has to move `wanted` bytes: prints why it moved
/// none, or nothing for a short count, and returns whether it moved all.
bool movedAll(ssize_t result, std::size_t wanted, const char* noneText)
{
    const int error = errno;
    if (result == 0) {
        std::puts(noneText);
    } else if (result == -1) {
        std::printf("Error %i: %s\n", error, std::strerror(error));
    }
    return result == static_cast<ssize_t>(wanted);
}

bool readAll(int fd, void* buffer, std::size_t size)
{
    return movedAll(read(fd, buffer, size), size, "No bytes read!");
}

bool fail(const char* format, std::uint32_t packetNumber)
{
    std::printf(format, static_cast<int>(packetNumber));
    return false;
}

/// An image file, read packet by packet. Every packet that is handed out has passed its checks; a
/// failed check prints its message.
class ImageReader {
public:
    bool open(const std::string& path)
    {
        image.reset(::open(path.c_str(), O_RDONLY));
        if (!image.isOpen()) {
            std::puts("Failed opening binary file");
        }
        return image.isOpen();
    }

    /// Reads and checks the header of the first packet, which is that of the file.
    bool readFileHeader()
    {
        if (!readAll(image.get(), &fileHeader, sizeof(fileHeader))) {
            std::puts("Unable to read header");
            return false;
        }
        if (fileHeader.packetType != firstDataPacket || fileHeader.dataLength != imageChunkSize ||
            fileHeader.packetIndex == 0) {
            std::puts("Invalid header");
            return false;
        }
        rewindTo(fileHeader);
        return true;
    }

    /// Goes back to the first packet's data.
    void rewind()
    {
        lseek(image.get(), sizeof(ImagePacketHeader), SEEK_SET);
        rewindTo(fileHeader);
    }

    /// Data packets and end marker. 64 bits wide, since the header's count may be any number.
    std::uint64_t packetCount() const { return std::uint64_t{fileHeader.packetIndex} + 1; }

    bool atLastPacket() const { return std::uint64_t{packetNumber} + 1 == packetCount(); }

    /// Reads the data behind the current header and checks the packet.
    bool readPacketData()
    {
        if (packet.header.dataLength > packet.data.size()) {
            return fail("Chunk size too big! P:%i\n", packetNumber);
        }
        if (packet.header.dataLength == 0) {
            return packet.header.packetType == endMarkerPacket ||
                   fail("Empty packet! P:%i\n", packetNumber);
        }
        if (!readAll(image.get(), packet.data.data(), packet.header.dataLength)) {
            return fail("Not enough actual data. P:%i\n", packetNumber);
        }
        return twosComplementChecksum({packet.data.data(), packet.header.dataLength}) ==
                   packet.header.checksum ||
               fail("Invalid checksum at packet: %i\n", packetNumber);
    }

    bool readNextHeader()
    {
        if (!readAll(image.get(), &packet.header, sizeof(packet.header))) {
            return fail("Unable to read packet header: %i\n", packetNumber);
        }
        ++packetNumber;
        return true;
    }

    /// Writes the current packet to the device with one `write` and syncs it.
    bool sendPacket(int device) const
    {
        const std::size_t size = sizeof(packet.header) + packet.header.dataLength;
        if (!movedAll(write(device, &packet, size), size, "No bytes written!")) {
            return fail("Failed writing to dev node at packet: %i\n", packetNumber);
        }
        fsync(device);
        return true;
    }

    bool packetIsEmpty() const { return packet.header.dataLength == 0; }

private:
    void rewindTo(const ImagePacketHeader& header)
    {
        packet.header = header;
        packetNumber = 0;
    }

    FileDescriptor image;
    ImagePacketHeader fileHeader{};
    ImagePacket packet{};
    std::uint32_t packetNumber = 0;
};

/// Checks the whole image, from the packet behind the file header on.
bool validateImage(ImageReader& image)
{
    std::puts("Validating binary file...");
    bool endSeen = false;
    for (;;) {
        if (!image.readPacketData()) {
            return false;
        }
        endSeen = endSeen || image.packetIsEmpty();
        if (image.atLastPacket()) {
            break;
        }
        if (!image.readNextHeader()) {
            return false;
        }
    }
    if (!endSeen) {
        std::puts("Binary stream does not contain end marker!");
    }
    return endSeen;
}

/// Sends every packet to the device, checking it once more on the way. `progress` is what has been
/// reported so far.
bool sendImage(ImageReader& image, int device, int progress)
{
    const int step =
        static_cast<int>((100U - static_cast<unsigned int>(progress)) / image.packetCount());
    for (;;) {
        if (!image.readPacketData() || !image.sendPacket(device)) {
            return false;
        }
        progress += step;
        reportProgress(progress);
        if (image.atLastPacket()) {
            reportProgress(100);
            return true;
        }
        if (!image.readNextHeader()) {
            return false;
        }
    }
}

std::string toLower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char character) {
        return static_cast<char>(std::tolower(character));
    });
    return text;
}

} // namespace

ArmFirmwareTask::ArmFirmwareTask(const std::string& hexFile, const std::string& outputDirectory)
    : hexPath(hexFile), binPath(deriveImagePath(hexFile, outputDirectory))
{
}

int ArmFirmwareTask::run()
{
    IntelHexParser parser(hexPath, imageChunkSize);
    if (!parser.open()) {
        std::puts("Failed to open hex firmware file");
        return -1;
    }
    std::array<char, imageStreamBufferSize> buffer;
    const FileStream image(std::fopen(binPath.c_str(), "wb"));
    if (!image) {
        std::puts("Failed to open binary firmware file");
        return -1;
    }
    std::setvbuf(image.get(), buffer.data(), _IOFBF, buffer.size());
    return convert(parser, image.get());
}

ArmProgramTask::ArmProgramTask(const std::string& firmwareFile) : imagePath(firmwareFile)
{
}

int ArmProgramTask::run()
{
    if (imagePath.empty()) {
        std::puts("No file given");
        return -1;
    }
    const std::size_t dot = imagePath.rfind('.');
    if (dot == std::string::npos) {
        std::puts("Cannot determine file type, missing extension");
        return -1;
    }
    const std::string extension = toLower(imagePath.substr(dot));
    if (extension == imageExtension) {
        return programImage(imagePath, imageProgressStart);
    }
    if (extension == hexExtension) {
        return convertAndProgram(imagePath);
    }
    std::printf("Unknown file type: %s\n", imagePath.c_str());
    return -1;
}

/// Checks and sends one image. `progressStart` is in percent. Returns 0 or -1.
int ArmProgramTask::programImage(const std::string& path, int progressStart) const
{
    std::printf("Opening bin file: %s\n", path.c_str());
    reportProgress(progressStart);
    FileDescriptor device; // opened last, closed last
    ImageReader image;
    if (!image.open(path) || !image.readFileHeader() || !validateImage(image)) {
        return -1;
    }
    const int progress = progressStart + validationProgress;
    reportProgress(progress);
    std::puts("Binary file validated.\n\n\nProgramming device...");
    image.rewind();
    device.reset(open(programDevice, O_WRONLY));
    if (!device.isOpen()) {
        std::puts("Failed opening program interface");
        return -1;
    }
    return sendImage(image, device.get(), progress) ? 0 : -1;
}

/// Converts a HEX file and programs the resulting image, which is left behind. Returns 0 or -1.
int ArmProgramTask::convertAndProgram(const std::string& hexPath) const
{
    std::printf("Converting hex file: %s to binary\n", hexPath.c_str());
    reportProgress(conversionProgress);
    ArmFirmwareTask conversion(hexPath, conversionDirectory);
    if (conversion.run() != 0) {
        return -1;
    }
    return programImage(conversion.imagePath(), convertedProgressStart);
}
