#include "firmware/ArmFirmwareProgram.h"

#include "app/AppException.h"
#include "app/HardwareShield.h"
#include "app/Progress.h"
#include "base/FileDescriptor.h"
#include "firmware/ImageReader.h"
#include "firmware/ImageWriter.h"
#include "firmware/IntelHexParser.h"
#include "firmware/Transfer.h"

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

// Progress, in percent.
constexpr int conversionStart = 1;
constexpr int imageProgressStart = 1;     // of an image that was given
constexpr int convertedProgressStart = 5; // of one that was converted
constexpr int validationStep = 3;
constexpr int completed = 100;

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

/// Appends one packet per chunk of the HEX file to the image.
void writePackets(IntelHexParser& parser, ImageWriter& image)
{
    ImagePacket packet{};
    bool more = true;
    while (more) {
        more = parser.readNextChunk(packet.data.data(), packet.header.address,
                                    packet.header.dataLength);
        if (packet.header.dataLength != 0) {
            image.append(packet);
        }
    }
}

int convert(IntelHexParser& parser, ImageWriter& image)
{
    try {
        writePackets(parser, image);
    } catch (...) {
        printCurrentException();
        return -1;
    }
    if (image.dataPacketCount() == 0) {
        std::puts("No actual program data in file");
        return -1;
    }
    std::printf("Program bytes written: %i. Finishing file...\n",
                static_cast<int>(image.dataPacketCount() * imageChunkSize));
    image.finish();
    return 0;
}

/// Checks all packets. Prints what is wrong with them and returns whether nothing is.
bool validatePackets(ImageReader& image)
{
    std::puts("Validating binary file...");
    bool endSeen = false;
    const bool areRight = image.walkPackets([&](const ImagePacket& packet, int /*number*/) {
        endSeen |= packet.header.dataLength == 0;
        return true;
    });
    if (areRight && !endSeen) {
        std::puts("Binary stream does not contain end marker!");
    }
    return areRight && endSeen;
}

/// Writes one packet to the device with one `write` and syncs it.
bool sendPacket(const ImagePacket& packet, int number, int device)
{
    const std::size_t size = sizeof(packet.header) + packet.header.dataLength;
    if (!isCompleteTransfer(write(device, &packet, size), size, "No bytes written!")) {
        std::printf("Failed writing to dev node at packet: %i\n", number);
        return false;
    }
    fsync(device);
    return true;
}

/// Sends every packet to the device, checking it once more on the way. `progress` is what has been
/// reported so far.
bool sendPackets(ImageReader& image, int device, int progress)
{
    const int step =
        static_cast<int>(static_cast<unsigned int>(completed - progress) / image.packetCount());
    const bool areSent = image.walkPackets([&](const ImagePacket& packet, int number) {
        if (!sendPacket(packet, number, device)) {
            return false;
        }
        progress += step;
        reportProgress(progress);
        return true;
    });
    if (areSent) {
        reportProgress(completed);
    }
    return areSent;
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
    : hexPath(hexFile),
      binPath(deriveImagePath(hexFile, outputDirectory)),
      hasOutputDirectory(!outputDirectory.empty())
{
}

int ArmFirmwareTask::run()
{
    IntelHexParser parser(hexPath, imageChunkSize);
    if (!parser.open()) {
        std::puts("Failed to open hex firmware file");
        return -1;
    }
    ImageWriter image;
    return openImage(image) ? convert(parser, image) : -1;
}

/// In an output directory, a link or FIFO of the image's name would lead elsewhere, and another run
/// may be sending an image: what has the name is removed, and what can't be, or is there again, is
/// not written to.
bool ArmFirmwareTask::openImage(ImageWriter& image) const
{
    if (!hasOutputDirectory) {
        return image.open(binPath, "wb");
    }
    unlink(binPath.c_str());
    return image.open(binPath, "wbx");
}

ArmProgramTask::ArmProgramTask(const std::string& firmwareFile) : imagePath(firmwareFile)
{
}

int ArmProgramTask::run()
{
    shieldHardwareRun();
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

int ArmProgramTask::programImage(const std::string& path, int progressStart) const
{
    std::printf("Opening bin file: %s\n", path.c_str());
    reportProgress(progressStart);
    FileDescriptor device; // opened last, closed last
    ImageReader image;
    if (!image.open(path) || !image.readFileHeader() || !validatePackets(image)) {
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
    return sendPackets(image, device.get(), progress) ? 0 : -1;
}

int ArmProgramTask::convertAndProgram(const std::string& hexPath) const
{
    std::printf("Converting hex file: %s to binary\n", hexPath.c_str());
    reportProgress(conversionStart);
    ArmFirmwareTask conversion(hexPath, conversionDirectory);
    if (conversion.run() != 0) {
        return -1;
    }
    return programImage(conversion.binPath, convertedProgressStart);
}
