#include "pic/PicFileCheck.h"

#include "app/AppException.h"
#include "base/IntelHex.h"
#include "pic/PicDataBlock.h"
#include "pic/PicHexRecord.h"
#include "pic/PicRecordRouter.h"

#include <array>
#include <cinttypes>
#include <cstdint>

namespace {

class PicFileCheck {
public:
    explicit PicFileCheck(const PicDevice& device) : router(device) {}

    /// Throws a constant string if the file is refused.
    PicHexLines read(std::FILE* file);

    void warn() const;

private:
    void check(const char* line);
    void checkRow(const RoutedPicRecord& row);

    PicRecordRouter router;
    unsigned int lineNumber = 0;
    bool isStopped = false; ///< by the line that was read last
    std::size_t rowCount = 0;
    std::uint32_t nextAddress = 0;             ///< where the next row of a block follows
    bool hasEnd = false;                       ///< an end-of-file record
    std::optional<std::uint32_t> strayAddress; ///< of the first row that doesn't follow
};

/// Nothing if the line can't be decoded.
std::optional<PicHexRecord> decode(const char* line)
{
    try {
        return PicHexRecord(line);
    } catch (const char*) {
        return std::nullopt;
    }
}

PicHexLines PicFileCheck::read(std::FILE* file)
{
    PicHexLines lines;
    std::array<char, maxPicLineLength + 1> line{};
    bool isBehindLineFeed = true; // a line that is too long comes as several
    while (!isStopped && std::fgets(line.data(), static_cast<int>(line.size()), file) != nullptr) {
        lineNumber += isBehindLineFeed ? 1 : 0;
        isBehindLineFeed = std::strchr(line.data(), '\n') != nullptr;
        lines.append(line.data());
        check(line.data());
    }
    if (std::ferror(file) != 0) {
        throw "HEX file can't be read to its end";
    }
    return lines;
}

void PicFileCheck::check(const char* line)
{
    const auto record = decode(line);
    isStopped = !record;
    if (isStopped) {
        return;
    }
    const RoutedPicRecord routed = router.route(*record);
    hasEnd |= routed.route == PicRecordRoute::endOfFile;
    if (routed.route == PicRecordRoute::addRow) {
        checkRow(routed);
    }
}

void PicFileCheck::checkRow(const RoutedPicRecord& row)
{
    const bool beginsBlock = rowCount % picRowsPerBlock == 0;
    if (!strayAddress && !beginsBlock && row.address != nextAddress) {
        strayAddress = row.address;
    }
    nextAddress = row.address + picRowSize;
    ++rowCount;
}

void PicFileCheck::warn() const
{
    if (strayAddress) {
        std::fprintf(stderr,
                     "Warning: the program row at %08" PRIX32 " does not follow the one before it; "
                     "rows are sent in the order of the file and lie one behind the other in a "
                     "block, whatever their addresses\n",
                     *strayAddress);
    }
    if (isStopped) {
        std::fprintf(stderr,
                     "Warning: line %u of the file can't be decoded; the update will end there, "
                     "unfinished\n",
                     lineNumber);
        return;
    }
    if (rowCount == 0) {
        std::fputs("Warning: no program rows for this PIC in the file\n", stderr);
    }
    if (!hasEnd) {
        std::fputs("Warning: the file has no end-of-file record; it may have been cut off\n",
                   stderr);
    }
}

} // namespace

std::optional<PicHexLines> readCheckedPicFile(std::FILE* firmwareFile, const PicDevice& device)
{
    try {
        PicFileCheck check(device);
        PicHexLines lines = check.read(firmwareFile);
        check.warn();
        return lines;
    } catch (...) {
        printCurrentException();
        return std::nullopt;
    }
}
