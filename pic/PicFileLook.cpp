#include "pic/PicFileLook.h"

#include "app/AppException.h"
#include "pic/PicDataBlock.h"
#include "pic/PicHexReader.h"
#include "pic/PicRecordRouter.h"

#include <cinttypes>
#include <cstdint>
#include <optional>

namespace {

class FileLook {
public:
    FileLook(std::FILE* firmwareFile, const PicDevice& device)
        : reader(firmwareFile), router(device)
    {
    }

    /// Looks at each record as the update will. Throws a constant string if one is refused.
    void readThrough();

    void warn() const;

private:
    std::optional<PicHexRecord> readNext();
    void lookAtRow(const RoutedPicRecord& row);

    PicHexReader reader;
    PicRecordRouter router;
    PicDataBlock block;
    bool isStopped = false; ///< by a line that can't be decoded
    bool hasRows = false;
    std::optional<std::uint32_t> strayAddress; ///< of the first row that doesn't follow
};

void FileLook::readThrough()
{
    while (const auto record = readNext()) {
        const RoutedPicRecord routed = router.route(*record);
        if (routed.route == PicRecordRoute::addRow) {
            lookAtRow(routed);
        }
    }
}

/// The next record, or nothing if there is no further one that can be decoded.
std::optional<PicHexRecord> FileLook::readNext()
{
    try {
        return reader.next();
    } catch (const char*) {
        isStopped = true;
        return std::nullopt;
    }
}

void FileLook::lookAtRow(const RoutedPicRecord& row)
{
    hasRows = true;
    if (!strayAddress && !block.isNextAddress(row.address)) {
        strayAddress = row.address;
    }
    block.addRow(row.address, row.data);
    if (block.isFull()) {
        block.clear();
    }
}

void FileLook::warn() const
{
    if (strayAddress) {
        std::fprintf(stderr,
                     "Warning: the program row at %08" PRIX32 " does not follow the one before it; "
                     "rows are sent in the order of the file and lie one behind the other in a "
                     "block, whatever their addresses\n",
                     *strayAddress);
    }
    if (!hasRows && !isStopped) {
        std::fputs("Warning: no program rows for this PIC in the file\n", stderr);
    }
}

} // namespace

bool lookThroughPicFile(std::FILE* firmwareFile, const PicDevice& device)
{
    try {
        FileLook look(firmwareFile, device);
        look.readThrough();
        if (std::ferror(firmwareFile) != 0) {
            throw "HEX file can't be read to its end";
        }
        if (std::fseek(firmwareFile, 0, SEEK_SET) != 0) {
            throw "HEX file can't be read twice, as an update has to";
        }
        look.warn();
        return true;
    } catch (...) {
        printCurrentException();
        return false;
    }
}
