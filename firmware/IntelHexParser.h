#pragma once

#include "app/AppException.h"
#include "base/Checksum.h"
#include "base/HexDigits.h"
#include "firmware/BufferedStream.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

/// Reads an Intel HEX file (linear addressing) and hands out its image as chunks of a fixed size
/// with their start addresses, in the order of the file. Works within fixed buffers.
///
/// Call `open`, then `readNextChunk` until it returns false. A parser that has thrown is not used
/// again.
class IntelHexParser {
public:
    /// A chunk holds at least the 255 data bytes of the longest record. Opens nothing.
    IntelHexParser(const std::string& hexFileName, std::uint32_t bytesPerChunk);

    /// Opens the file. Returns false if the name is empty or the file can't be opened.
    bool open();

    /// Fills `chunk`, a buffer of `chunkSize` bytes, with the next chunk: record data at their
    /// offsets from the chunk's start address, 0xFF where there are none. Sets `chunkAddress` to
    /// the start address and `chunkBytes` to `chunkSize`, or to 0 when there is no chunk. What the
    /// two variables held before does not matter.
    ///
    /// Returns false once the end-of-file record has been met; a last chunk may come with that.
    /// Throws `AppException` or a constant string on bad input and prints a diagnostic before some
    /// of them.
    bool readNextChunk(std::uint8_t* chunk, std::uint32_t& chunkAddress, std::uint32_t& chunkBytes);

    /// Cuts the complete lines out of the input buffer and applies them, up to the end of the
    /// chunk. Returns true when the chunk is complete or the end-of-file record has been met. For
    /// `readNextChunk`, as are the next two.
    bool parseBufferedLines(std::uint8_t* chunk, std::uint32_t& chunkAddress,
                            std::uint32_t& chunkBytes);

    /// Decodes, checks and applies one line, from its colon through its line feed.
    void parseLine(const char* line, std::int32_t lineLength, std::uint8_t* chunk,
                   std::uint32_t& chunkAddress, std::uint32_t& chunkBytes);

    /// Decodes `pairs` pairs of hexadecimal digits into the current record; a line end stops it.
    void hexToBytes(const char* text, std::uint32_t pairs);

private:
    /// The chunk that is being filled; address and byte count are the caller's variables.
    struct Chunk {
        std::uint8_t* data;
        std::uint32_t& address;
        std::uint32_t& bytes;
    };

    /// One line of the input buffer.
    struct Line {
        const char* colon;
        const char* end; ///< behind the line feed
    };

    const char* decodePlainLine(const char* line, const char* end);
    void consume(std::ptrdiff_t count);
    Line findLine(const char* begin, const char* end);
    void fillInputBuffer();
    void startAtRunningAddress(const Chunk& chunk) const;
    void placeCarriedData(const Chunk& chunk);
    void clearRecord();
    void splitRecord();
    void checkRecordChecksum() const;
    void applyRecord(const Chunk& chunk);
    void setUpperAddress();
    void handleStartLinearAddress();
    void placeData(const Chunk& chunk);
    [[noreturn]] void raiseParseError(const char* message, int sourceLine) const;

    std::string fileName;
    std::uint32_t chunkSize;
    BufferedStream file;
    std::array<char, 4096> inputBuffer{};        ///< text read from the file
    std::size_t inputStart = 0;                  ///< where the text not yet consumed begins
    std::uint32_t inputLength = 0;               ///< number of characters not yet consumed
    bool endSeen = false;                        ///< an end-of-file record has been met
    std::uint32_t lineNumber = 0;                ///< line feeds met so far
    std::array<std::uint8_t, 512> recordBytes{}; ///< the current line, decoded
    std::uint32_t recordByteCount = 0;
    std::uint8_t recordSum = 0;    ///< of all decoded bytes, modulo 256
    std::uint8_t recordLength = 0; ///< number of data bytes
    std::uint16_t recordAddress = 0;
    std::uint8_t recordType = 0;
    const std::uint8_t* recordData = nullptr; ///< first data byte inside `recordBytes`
    std::uint8_t recordChecksum = 0;
    bool carryPending = false;    ///< data of the current record belong to the next chunk
    std::uint8_t carryOffset = 0; ///< data bytes of the current record already placed
    std::uint32_t startKnown = 0; ///< 1 once a start address or a data record has been met
    bool dataSeen = false;        ///< a data record has fixed the first chunk's address
    /// Where the next chunk starts if its records follow without a gap: it counts the bytes placed,
    /// so it lags behind gaps inside a chunk.
    std::uint32_t runningAddress = 0;
    std::uint32_t upperAddress = 0; ///< last extended linear address, in the upper 16 bits
};

// It stands here because its exception names this file.
inline void IntelHexParser::hexToBytes(const char* text, std::uint32_t pairs)
{
    if (text == nullptr || pairs > recordBytes.size()) {
        throw AppException("Invalid params!", __LINE__, __FILE__);
    }
    recordByteCount = 0;
    for (const char* pair = text; recordByteCount < pairs; pair += 2) {
        if (isLineEnd(pair[0]) || isLineEnd(pair[1])) {
            break;
        }
        const int value = hexPairValue(pair);
        if (value < 0) {
            throw "Invalid byte format in data";
        }
        recordBytes[recordByteCount++] = static_cast<std::uint8_t>(value);
    }
    recordSum = byteSum(std::span(recordBytes).first(recordByteCount));
}
