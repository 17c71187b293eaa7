#include "firmware/IntelHexParser.h"

#include "base/BigEndian.h"
#include "base/Checksum.h"
#include "base/IntelHex.h"
#include "firmware/HexGroups.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr std::uint8_t unprogrammedByte = 0xFF;
constexpr std::int32_t tooShortLine = 3;      // characters, from the colon through the line feed
constexpr std::ptrdiff_t lineEndLength = 2;   // a carriage return and a line feed
constexpr std::ptrdiff_t lineStartLength = 3; // a colon and the length field

} // namespace

IntelHexParser::IntelHexParser(const std::string& hexFileName, std::uint32_t bytesPerChunk)
    : fileName(hexFileName), chunkSize(bytesPerChunk)
{
}

bool IntelHexParser::open()
{
    return !fileName.empty() && file.open(fileName, "rb");
}

bool IntelHexParser::readNextChunk(std::uint8_t* chunk, std::uint32_t& chunkAddress,
                                   std::uint32_t& chunkBytes)
{
    if (chunk == nullptr || file.get() == nullptr || chunkSize == 0) {
        throw AppException("Invalid input!", __LINE__, __FILE__);
    }
    const Chunk target{chunk, chunkAddress, chunkBytes};
    chunkBytes = 0;
    if (startKnown == 1) {
        startAtRunningAddress(target);
    }
    if (endSeen) {
        return false;
    }
    std::memset(chunk, unprogrammedByte, chunkSize);
    if (carryPending) {
        placeCarriedData(target);
    }
    while (chunkBytes < chunkSize && !parseBufferedLines(chunk, chunkAddress, chunkBytes)) {
        fillInputBuffer();
    }
    return !endSeen;
}

void IntelHexParser::startAtRunningAddress(const Chunk& chunk) const
{
    chunk.address = runningAddress;
    if (runningAddress % chunkSize != 0) {
        throw AppException("Invalid line address", __LINE__, __FILE__);
    }
}

void IntelHexParser::placeCarriedData(const Chunk& chunk)
{
    std::puts("Using remaining data from last line");
    startAtRunningAddress(chunk);
    const std::uint32_t count = recordLength - std::uint32_t{carryOffset};
    std::copy_n(recordData + carryOffset, count, chunk.data);
    chunk.bytes += count;
    runningAddress += count;
    clearRecord();
}

/// Reads more text behind what has not been consumed, which goes to the front for that.
void IntelHexParser::fillInputBuffer()
{
    std::memmove(inputBuffer.data(), inputBuffer.data() + inputStart, inputLength);
    inputStart = 0;
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

/// Characters in front of a line's colon are consumed with their line.
bool IntelHexParser::parseBufferedLines(std::uint8_t* chunk, std::uint32_t& chunkAddress,
                                        std::uint32_t& chunkBytes)
{
    while (inputLength != 0 && chunkBytes < chunkSize) {
        const char* const begin = inputBuffer.data() + inputStart;
        const char* const end = begin + inputLength;
        if (const char* const lineEnd = decodePlainLine(begin, end)) {
            consume(lineEnd - begin);
            ++lineNumber;
            applyRecord({chunk, chunkAddress, chunkBytes});
        } else if (const Line line = findLine(begin, end); line.end != nullptr) {
            consume(line.end - begin);
            parseLine(line.colon, static_cast<std::int32_t>(line.end - line.colon), chunk,
                      chunkAddress, chunkBytes);
        } else {
            break;
        }
        if (endSeen) {
            chunkBytes = chunkBytes != 0 ? chunkSize : 0;
            return true;
        }
    }
    return chunkBytes == chunkSize;
}

void IntelHexParser::consume(std::ptrdiff_t count)
{
    inputStart += static_cast<std::size_t>(count);
    inputLength -= static_cast<std::uint32_t>(count);
}

/// The fast path, for lines of three data bytes and more as tools write them: a colon, just the
/// digits that the length field announces, and a line end. Decodes the line at the front of the
/// text in one pass, without a search for colons and line feeds, which more than halves the
/// processor time of a conversion. Returns the line's end, or null for any other line: those go to
/// `parseLine`.
const char* IntelHexParser::decodePlainLine(const char* line, const char* end)
{
    if (end - line < lineStartLength || *line != ':') {
        return nullptr;
    }
    const char* const digits = line + 1;
    const int length = hexPairValue(digits);
    if (length < 0) {
        return nullptr;
    }
    const std::size_t pairs = intelHexRecordSize(static_cast<std::size_t>(length));
    if (pairs < HexGroups::groupPairs ||
        end - digits < static_cast<std::ptrdiff_t>(2 * pairs) + lineEndLength) {
        return nullptr;
    }
    const char* stop = digits + 2 * pairs;
    stop += *stop == '\r' ? 1 : 0;
    const auto sum = decodeHexDigits(digits, pairs, recordBytes.data());
    if (*stop != '\n' || !sum) {
        return nullptr;
    }
    recordByteCount = static_cast<std::uint32_t>(pairs);
    recordSum = *sum;
    return stop + 1;
}

/// Finds the first line of the text. It has no end if it has not been read to its end yet.
IntelHexParser::Line IntelHexParser::findLine(const char* begin, const char* end)
{
    const char* const lineFeed = std::ranges::find(begin, end, '\n');
    const char* const colon = std::ranges::find(begin, lineFeed, ':');
    if (colon != lineFeed && std::ranges::find(colon + 1, lineFeed, ':') != lineFeed) {
        raiseParseError("Invalid file: Encountered ':' at least twice", __LINE__);
    }
    if (lineFeed == end) {
        return {colon, nullptr};
    }
    ++lineNumber;
    if (colon == lineFeed) {
        std::printf("Warning: missed starting on line: %i\n", static_cast<int>(lineNumber));
        throw AppException("Missed starting marker!", __LINE__, __FILE__);
    }
    return {colon, lineFeed + 1};
}

void IntelHexParser::parseLine(const char* line, std::int32_t lineLength, std::uint8_t* chunk,
                               std::uint32_t& chunkAddress, std::uint32_t& chunkBytes)
{
    if (line == nullptr || chunk == nullptr || lineLength <= tooShortLine || *line != ':') {
        raiseParseError("Invalid input to parseLine!", __LINE__);
    }
    clearRecord();
    hexToBytes(line + 1, static_cast<std::uint32_t>(lineLength - 1) / 2);
    applyRecord({chunk, chunkAddress, chunkBytes});
}

void IntelHexParser::clearRecord()
{
    carryPending = false;
    carryOffset = 0;
    recordByteCount = 0;
    recordLength = 0;
    recordAddress = 0;
    recordType = 0;
    recordData = nullptr;
    recordChecksum = 0;
}

void IntelHexParser::splitRecord()
{
    if (recordByteCount < intelHexHeaderSize) {
        throw "Invalid line format. Not enough bytes";
    }
    recordLength = recordBytes[intelHexLengthOffset];
    recordAddress = readBigEndian16(&recordBytes[intelHexAddressOffset]);
    recordType = recordBytes[intelHexTypeOffset];
    if (recordByteCount != intelHexRecordSize(recordLength)) {
        throw "Not enough data bytes in line";
    }
    recordData = &recordBytes[intelHexDataOffset];
    recordChecksum = recordData[recordLength];
}

void IntelHexParser::checkRecordChecksum() const
{
    const auto sum = static_cast<std::uint8_t>(recordSum - recordChecksum);
    if (twosComplement(sum) != recordChecksum) {
        raiseParseError("Invalid checksum encountered in file", __LINE__);
    }
}

/// Checks the decoded record and does what its type says.
void IntelHexParser::applyRecord(const Chunk& chunk)
{
    splitRecord();
    checkRecordChecksum();
    switch (static_cast<IntelHexType>(recordType)) {
    case IntelHexType::data:
        placeData(chunk);
        return;
    case IntelHexType::endOfFile:
        endSeen = true;
        return;
    case IntelHexType::extendedSegmentAddress:
        raiseParseError("Extended segment address not supported", __LINE__);
    case IntelHexType::startSegmentAddress:
        raiseParseError("Start segment address not supported", __LINE__);
    case IntelHexType::extendedLinearAddress:
        setUpperAddress();
        return;
    case IntelHexType::startLinearAddress:
        handleStartLinearAddress();
        return;
    default:
        raiseParseError("Unknown line format in file", __LINE__);
    }
}

void IntelHexParser::setUpperAddress()
{
    if (recordLength != extendedLinearAddressSize) {
        raiseParseError("Invalid data", __LINE__);
    }
    upperAddress = std::uint32_t{readBigEndian16(recordData)} << 16;
}

/// An entry point in front of all data gives way to the first data record, which tells where the
/// image starts.
void IntelHexParser::handleStartLinearAddress()
{
    if (startKnown == 1) {
        std::printf("Already handled SLAR: :%02x%04x\n", recordLength, recordAddress);
        return;
    }
    if (recordLength != startLinearAddressSize) {
        raiseParseError("Invalid data", __LINE__);
    }
    runningAddress = readBigEndian32(recordData);
    startKnown = 1;
}

void IntelHexParser::placeData(const Chunk& chunk)
{
    const std::uint32_t address = upperAddress | recordAddress;
    if (!dataSeen) {
        runningAddress = address;
        startKnown = 1;
        chunk.address = address;
        dataSeen = true;
    }
    const std::uint32_t offset = address - chunk.address;
    if (static_cast<std::int32_t>(offset) < 0) {
        std::puts("Address moved backwards");
        raiseParseError("Not currently handled backward jumping", __LINE__);
    }
    if (offset >= chunkSize) {
        std::puts("This write has jumped too far beyond our chunk.");
        chunk.bytes = chunkSize;
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
    std::copy_n(recordData, count, chunk.data + offset);
    if (offset + count != 0) { // an empty record at the start of a chunk takes nothing back
        chunk.bytes = offset + count;
    }
    runningAddress += count;
}

void IntelHexParser::raiseParseError(const char* message, int sourceLine) const
{
    std::printf("Parse Error on line: %i\n", static_cast<int>(lineNumber));
    throw AppException(message, sourceLine, __FILE__);
}
