#pragma once

#include "app/AppException.h"
#include "base/FileStream.h"
#include "base/HexDigits.h"

#include <array>
#include <cstddef>
#include <cstdint>
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
    /// the start address and `chunkBytes` to `chunkSize`, or to 0 when there is no chunk. The
    /// caller keeps both variables from call to call, since records are placed against them.
    ///
    /// Returns false once the end-of-file record has been met; a last chunk may come with that.
    /// Throws `AppException` or a constant string on bad input and prints a diagnostic before some
    /// of them.
    bool readNextChunk(std::uint8_t* chunk, std::uint32_t& chunkAddress, std::uint32_t& chunkBytes);

private:
    static constexpr std::size_t streamBufferSize = 65536;

    bool parseBufferedLines(std::uint8_t* chunk, std::uint32_t& chunkAddress,
                            std::uint32_t& chunkBytes);
    void parseLine(const char* line, std::int32_t lineLength, std::uint8_t* chunk,
                   std::uint32_t& chunkAddress, std::uint32_t& chunkBytes);
    void hexToBytes(const char* text, std::uint32_t pairs);

    /// One line of the input buffer, from its colon on.
    struct Line {
        const char* colon; ///< `end` if there is none
        const char* end;   ///< behind the line feed, or the end of the buffer
        bool isComplete;
    };
    Line findLine(const char* begin, const char* end);
    std::uint32_t decodePlainLine(const char* line, const char* end);
    void decodePairs(const char* text, std::uint32_t pairs);
    void keepLeadingPairs(const char* text);
    void applyRecord(std::uint8_t* chunk, std::uint32_t& chunkAddress, std::uint32_t& chunkBytes);

    void fillInputBuffer();
    void startChunkAtRunningAddress(std::uint32_t& chunkAddress) const;
    void placeCarriedData(std::uint8_t* chunk, std::uint32_t& chunkAddress,
                          std::uint32_t& chunkBytes);
    void splitRecord();
    void checkRecordChecksum() const;
    void setUpperAddress();
    void handleStartLinearAddress(std::uint32_t& chunkAddress);
    void placeData(std::uint8_t* chunk, std::uint32_t& chunkAddress, std::uint32_t& chunkBytes);
    [[noreturn]] void raiseParseError(const char* message, int sourceLine) const;

    std::string fileName;
    std::uint32_t chunkSize;
    std::array<char, streamBufferSize> streamBuffer; ///< of `file`, which it outlives
    FileStream file;
    std::array<char, 4096> inputBuffer{};        ///< text read and not yet consumed
    std::uint32_t inputLength = 0;               ///< valid characters at the front of `inputBuffer`
    bool endSeen = false;                        ///< an end-of-file record has been met
    std::uint32_t lineNumber = 0;                ///< line feeds met so far
    std::array<std::uint8_t, 512> recordBytes{}; ///< the current line, decoded
    std::uint32_t recordByteCount = 0;
    std::uint8_t recordSum = 0; ///< of all bytes, checksum included, modulo 256; 0 if it is right
    std::uint8_t recordLength = 0; ///< number of data bytes
    std::uint16_t recordAddress = 0;
    std::uint8_t recordType = 0;
    const std::uint8_t* recordData = nullptr; ///< first data byte inside `recordBytes`
    bool carryPending = false;        ///< data of the current record belong to the next chunk
    std::uint8_t carryOffset = 0;     ///< data bytes of the current record already placed
    std::uint32_t startKnown = 0;     ///< 1 once the image's start address is established
    std::uint32_t runningAddress = 0; ///< start address of the next chunk
    std::uint32_t upperAddress = 0;   ///< last extended linear address, in the upper 16 bits
};

/// Decodes `pairs` pairs of hexadecimal digits into `recordBytes`; a line end stops it. It stands
/// here because its exception names this file.
inline void IntelHexParser::hexToBytes(const char* text, std::uint32_t pairs)
{
    if (text == nullptr || pairs > recordBytes.size()) {
        throw AppException("Invalid params!", __LINE__, __FILE__);
    }
    decodePairs(text, pairs);
    const char* const stop = text + 2 * std::size_t{recordByteCount};
    if (recordByteCount < pairs && !isLineEnd(stop[0]) && !isLineEnd(stop[1])) {
        throw "Invalid byte format in data";
    }
}
