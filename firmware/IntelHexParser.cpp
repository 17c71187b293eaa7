#include "firmware/IntelHexParser.h"

#include "base/BigEndian.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr std::uint8_t unprogrammedByte = 0xFF;
constexpr std::int32_t tooShortLine = 3; // characters, from the colon through the line feed
constexpr std::uint32_t headerBytes = 4; // length, address (2), type
constexpr std::uint32_t checksumBytes = 1;
constexpr std::ptrdiff_t lineEndLength = 2; // a carriage return and a line feed
constexpr std::uint8_t extendedLinearLength = 2;
constexpr std::uint8_t startLinearLength = 4;

enum RecordType : std::uint8_t {
    dataRecord = 0,
    endOfFileRecord = 1,
    extendedSegmentAddressRecord = 2,
    startSegmentAddressRecord = 3,
    extendedLinearAddressRecord = 4,
    startLinearAddressRecord = 5,
};

} // namespace

IntelHexParser::IntelHexParser(const std::string& hexFileName, std::uint32_t bytesPerChunk)
    : fileName(hexFileName), chunkSize(bytesPerChunk)
{
}

bool IntelHexParser::open()
{
    if (fileName.empty()) {
        return false;
    }
    file.reset(std::fopen(fileName.c_str(), "rb"));
    if (file) {
        std::setvbuf(file.get(), streamBuffer.data(), _IOFBF, streamBuffer.size());
    }
    return file != nullptr;
}

bool IntelHexParser::readNextChunk(std::uint8_t* chunk, std::uint32_t& chunkAddress,
                                   std::uint32_t& chunkBytes)
{
    if (chunk == nullptr || !file || chunkSize == 0) {
        throw AppException("Invalid input!", __LINE__, __FILE__);
    }
    chunkBytes = 0;
    if (startKnown == 1) {
        startChunkAtRunningAddress(chunkAddress);
    }
    if (endSeen) {
        return false;
    }
    std::memset(chunk, unprogrammedByte, chunkSize);
    if (carryPending) {
        placeCarriedData(chunk, chunkAddress, chunkBytes);
    }
    while (chunkBytes < chunkSize && !parseBufferedLines(chunk, chunkAddress, chunkBytes)) {
        fillInputBuffer();
    }
    return !endSeen;
}

void IntelHexParser::startChunkAtRunningAddress(std::uint32_t& chunkAddress) const
{
    chunkAddress = runningAddress;
    if (runningAddress % chunkSize != 0) {
        throw AppException("Invalid line address", __LINE__, __FILE__);
    }
}

void IntelHexParser::placeCarriedData(std::uint8_t* chunk, std::uint32_t& chunkAddress,
                                      std::uint32_t& chunkBytes)
{
    std::puts("Using remaining data from last line");
    startChunkAtRunningAddress(chunkAddress);
    const auto count = static_cast<std::uint32_t>(recordLength - carryOffset);
    std::memcpy(chunk, recordData + carryOffset, count);
    chunkBytes += count;
    runningAddress += count;
    carryPending = false;
    carryOffset = 0;
}

void IntelHexParser::fillInputBuffer()
{
    const std::size_t room = inputBuffer.size() - inputLength;
    if (room == 0) {
        throw AppException("Failed parsing any data lines and now out of buffer room. aborting",
                           __LINE__, __FILE__);
    }
    const std::size_t count = std::fread(inputBuffer.data() + inputLength, 1, room, file.get());
    if (count == 0 && std::ferror(file.get()) != 0) {
        throw AppException("Error reading input file", __LINE__, __FILE__);
    }
    if (count == 0) {
        throw AppException("No more input data and end marker not located", __LINE__, __FILE__);
    }
    inputLength += static_cast<std::uint32_t>(count);
}

/// Cuts the complete lines out of the input buffer and applies them, up to the end of the chunk.
/// Characters in front of a line's colon are passed over and consumed. Returns true when the chunk
/// is complete or the end-of-file record has been met.
bool IntelHexParser::parseBufferedLines(std::uint8_t* chunk, std::uint32_t& chunkAddress,
                                        std::uint32_t& chunkBytes)
{
    const char* position = inputBuffer.data();
    const char* const end = position + inputLength;
    while (position < end && chunkBytes < chunkSize) {
        if (const std::uint32_t length = decodePlainLine(position, end); length != 0) {
            position += length;
            ++lineNumber;
            applyRecord(chunk, chunkAddress, chunkBytes);
        } else {
            const Line line = findLine(position, end);
            position = line.isComplete ? line.end : line.colon;
            if (!line.isComplete) {
                break;
            }
            parseLine(line.colon, static_cast<std::int32_t>(line.end - line.colon), chunk,
                      chunkAddress, chunkBytes);
        }
        if (endSeen) {
            chunkBytes = chunkBytes != 0 ? chunkSize : 0;
            return true;
        }
    }
    inputLength = static_cast<std::uint32_t>(end - position);
    std::memmove(inputBuffer.data(), position, inputLength);
    return chunkBytes == chunkSize;
}

/// Decodes the line at the front of the text in one pass if it is as plain as lines are: a colon,
/// just the digits that its length field announces, and a line end. Returns its number of
/// characters, or 0 if it is anything else, which `findLine` and `parseLine` judge.
std::uint32_t IntelHexParser::decodePlainLine(const char* line, const char* end)
{
    if (end - line <= tooShortLine || *line != ':') {
        return 0;
    }
    const char* const digits = line + 1;
    const int length = hexPairValue(digits);
    if (length < 0) {
        return 0;
    }
    const std::uint32_t pairs = headerBytes + static_cast<std::uint32_t>(length) + checksumBytes;
    if (end - digits < static_cast<std::ptrdiff_t>(2 * pairs) + lineEndLength) {
        return 0;
    }
    const char* stop = digits + 2 * std::size_t{pairs};
    stop += *stop == '\r' ? 1 : 0;
    if (*stop != '\n') {
        return 0;
    }
    decodePairs(digits, pairs);
    return recordByteCount == pairs ? static_cast<std::uint32_t>(stop + 1 - line) : 0;
}

/// Finds the next line, or the start of one that has not been read to its end yet.
IntelHexParser::Line IntelHexParser::findLine(const char* begin, const char* end)
{
    const char* const lineFeed = std::find(begin, end, '\n');
    const char* const colon = std::find(begin, lineFeed, ':');
    if (colon != lineFeed && std::find(colon + 1, lineFeed, ':') != lineFeed) {
        raiseParseError("Invalid file: Encountered ':' at least twice", __LINE__);
    }
    if (lineFeed == end) {
        return {colon, end, false};
    }
    ++lineNumber;
    if (colon == lineFeed) {
        std::printf("Warning: missed starting on line: %i\n", static_cast<int>(lineNumber));
        throw AppException("Missed starting marker!", __LINE__, __FILE__);
    }
    return {colon, lineFeed + 1, true};
}

/// Decodes, checks and applies one line, from its colon through its line feed.
void IntelHexParser::parseLine(const char* line, std::int32_t lineLength, std::uint8_t* chunk,
                               std::uint32_t& chunkAddress, std::uint32_t& chunkBytes)
{
    if (line == nullptr || chunk == nullptr || lineLength <= tooShortLine || *line != ':') {
        raiseParseError("Invalid input to parseLine!", __LINE__);
    }
    hexToBytes(line + 1, static_cast<std::uint32_t>(lineLength - 1) / 2);
    applyRecord(chunk, chunkAddress, chunkBytes);
}

/// Decodes up to `pairs` pairs, at most as many as `recordBytes` holds, in front of the first that
/// is not of two digits.
void IntelHexParser::decodePairs(const char* text, std::uint32_t pairs)
{
    std::uint32_t sum = 0;
    int signs = 0;
    for (std::uint32_t pair = 0; pair < pairs; ++pair) {
        const int value = hexPairValue(text + 2 * std::size_t{pair});
        signs |= value;
        sum += static_cast<std::uint32_t>(value);
        recordBytes[pair] = static_cast<std::uint8_t>(value);
    }
    recordByteCount = pairs;
    recordSum = static_cast<std::uint8_t>(sum);
    if (signs < 0) {
        keepLeadingPairs(text);
    }
}

void IntelHexParser::keepLeadingPairs(const char* text)
{
    recordByteCount = 0;
    recordSum = 0;
    for (int value = hexPairValue(text); value >= 0; value = hexPairValue(text)) {
        recordSum = static_cast<std::uint8_t>(recordSum + value);
        ++recordByteCount;
        text += 2;
    }
}

/// Checks the decoded record and does what its type says.
void IntelHexParser::applyRecord(std::uint8_t* chunk, std::uint32_t& chunkAddress,
                                 std::uint32_t& chunkBytes)
{
    splitRecord();
    checkRecordChecksum();
    switch (recordType) {
    case dataRecord:
        placeData(chunk, chunkAddress, chunkBytes);
        return;
    case endOfFileRecord:
        endSeen = true;
        return;
    case extendedSegmentAddressRecord:
        raiseParseError("Extended segment address not supported", __LINE__);
    case startSegmentAddressRecord:
        raiseParseError("Start segment address not supported", __LINE__);
    case extendedLinearAddressRecord:
        setUpperAddress();
        return;
    case startLinearAddressRecord:
        handleStartLinearAddress(chunkAddress);
        return;
    default:
        raiseParseError("Unknown line format in file", __LINE__);
    }
}

void IntelHexParser::splitRecord()
{
    if (recordByteCount < headerBytes) {
        throw "Invalid line format. Not enough bytes";
    }
    recordLength = recordBytes[0];
    recordAddress = readBigEndian16(&recordBytes[1]);
    recordType = recordBytes[3];
    if (recordByteCount - headerBytes != recordLength + checksumBytes) {
        throw "Not enough data bytes in line";
    }
    recordData = recordBytes.data() + headerBytes;
}

/// The checksum makes all bytes of the record add up to 0 modulo 256.
void IntelHexParser::checkRecordChecksum() const
{
    if (recordSum != 0) {
        raiseParseError("Invalid checksum encountered in file", __LINE__);
    }
}

void IntelHexParser::setUpperAddress()
{
    if (recordLength != extendedLinearLength) {
        raiseParseError("Invalid data", __LINE__);
    }
    upperAddress = std::uint32_t{readBigEndian16(recordData)} << 16;
}

/// Only a start address in front of all data counts; it is the start address of the first chunk.
void IntelHexParser::handleStartLinearAddress(std::uint32_t& chunkAddress)
{
    if (startKnown == 1) {
        std::printf("Already handled SLAR: :%02x%04x\n", recordLength, recordAddress);
        return;
    }
    if (recordLength != startLinearLength) {
        raiseParseError("Invalid data", __LINE__);
    }
    runningAddress = readBigEndian32(recordData);
    startKnown = 1;
    chunkAddress = runningAddress;
}

void IntelHexParser::placeData(std::uint8_t* chunk, std::uint32_t& chunkAddress,
                               std::uint32_t& chunkBytes)
{
    const std::uint32_t address = upperAddress | recordAddress;
    if (startKnown != 1) {
        runningAddress = address;
        startKnown = 1;
        chunkAddress = address;
    }
    const std::uint32_t offset = address - chunkAddress;
    if (static_cast<std::int32_t>(offset) < 0) {
        std::puts("Address moved backwards");
        raiseParseError("Not currently handled backward jumping", __LINE__);
    }
    if (offset >= chunkSize) {
        std::puts("This write has jumped too far beyond our chunk.");
        chunkBytes = chunkSize;
        carryPending = true;
        runningAddress = address;
        return;
    }
    const std::uint32_t count = std::min<std::uint32_t>(recordLength, chunkSize - offset);
    if (count < recordLength) {
        std::puts("Write is crossing chunks");
        carryPending = true;
        carryOffset = static_cast<std::uint8_t>(count);
    }
    std::copy_n(recordData, count, chunk + offset);
    chunkBytes = offset + count;
    runningAddress += count;
}

void IntelHexParser::raiseParseError(const char* message, int sourceLine) const
{
    std::printf("Parse Error on line: %i\n", static_cast<int>(lineNumber));
    throw AppException(message, sourceLine, __FILE__);
}
