#include "firmware/ArmFirmwareProgram.h"

#include "app/AppException.h"
#include "app/Progress.h"
#include "base/Checksum.h"
#include "base/FileDescriptor.h"
#include "base/FileStream.h"
#include "base/Transfer.h"
#include "firmware/ImageFormat.h"
#include "firmware/ImageReader.h"
#include "firmware/IntelHexParser.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr const char* imageExtension = ".bin";
constexpr const char* hexExtension = ".hex";
constexpr const char* conversionDirectory = "/var/volatile/";
constexpr const char* programDevice = "/dev/arm-program";

constexpr std::size_t imageStreamBufferSize = 65536;

// Progress, in percent.
constexpr int conversionStart = 1;
constexpr int imageProgressStart = 1;     // of an image that was given
constexpr int convertedProgressStart = 5; // of one that was converted
constexpr int validationStep = 3;

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

/// Writes the current packet of the image to the device with one `write` and syncs it.
bool sendPacket(const ImageReader& image, int device)
{
    const ImagePacket& packet = image.current();
    const std::size_t size = sizeof(packet.header) + packet.header.dataLength;
    if (!movedAll(write(device, &packet, size), size, "No bytes written!")) {
        std::printf("Failed writing to dev node at packet: %i\n",
                    static_cast<int>(image.currentNumber()));
        return false;
    }
    fsync(device);
    return true;
}

/// Checks the whole image, from the packet behind the file header on.
bool validateImage(ImageReader& image)
{
    std::puts("Validating binary file...");
    bool endSeen = false;
    for (;;) {
        if (!image.readPacketData()) {
            return false;
        }
        endSeen = endSeen || image.current().header.dataLength == 0;
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
        if (!image.readPacketData() || !sendPacket(image, device)) {
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
    std::array<char, imageStreamBufferSize> buffer; // outlives the stream, which it serves
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
    const int progress = progressStart + validationStep;
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
    reportProgress(conversionStart);
    ArmFirmwareTask conversion(hexPath, conversionDirectory);
    if (conversion.run() != 0) {
        return -1;
    }
    return programImage(conversion.imagePath(), convertedProgressStart);
}
