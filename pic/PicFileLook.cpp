#include "pic/PicFileLook.h"

#include "app/AppException.h"
#include "pic/PicDataBlock.h"
#include "pic/PicHexReader.h"
#include "pic/PicRecordRouter.h"

#include <cinttypes>
#include <optional>

namespace {

struct Findings {
    bool isReadToEnd = true; ///< no line stopped the look
    bool hasRows = false;
    std::optional<std::uint32_t> strayAddress; ///< of the first row that doesn't follow
};

/// The next record, or nothing if there is no further one that can be decoded.
std::optional<PicHexRecord> readNext(PicHexReader& reader, Findings& findings)
{
    try {
        return reader.next();
    } catch (const char*) {
        findings.isReadToEnd = false;
        return std::nullopt;
    }
}

Findings readThrough(std::FILE* firmwareFile, const PicDevice& device)
{
    Findings findings;
    PicHexReader reader(firmwareFile);
    PicRecordRouter router(device);
    PicDataBlock block;
    while (const auto record = readNext(reader, findings)) {
        const RoutedPicRecord routed = router.route(*record);
        if (routed.route != PicRecordRoute::addRow) {
            continue;
        }
        findings.hasRows = true;
        if (!findings.strayAddress && !block.isNextAddress(routed.address)) {
            findings.strayAddress = routed.address;
        }
        block.addRow(routed.address, routed.data);
        if (block.isFull()) {
            block.close(device.swapsFullBlocks);
        }
    }
    return findings;
}

void warn(const Findings& findings)
{
    if (findings.strayAddress) {
        std::fprintf(stderr,
                     "Warning: the program row at %08" PRIX32 " does not follow the one before it; "
                     "rows are sent in the order of the file and lie one behind the other in a "
                     "block, whatever their addresses\n",
                     *findings.strayAddress);
    }
    if (findings.isReadToEnd && !findings.hasRows) {
        std::fputs("Warning: no program rows for this PIC in the file\n", stderr);
    }
}

} // namespace

bool lookThroughPicFile(std::FILE* firmwareFile, const PicDevice& device)
{
    try {
        const Findings findings = readThrough(firmwareFile, device);
        if (std::ferror(firmwareFile) != 0) {
            throw "HEX file can't be read to its end";
        }
        if (std::fseek(firmwareFile, 0, SEEK_SET) != 0) {
            throw "HEX file can't be read twice, as an update has to";
        }
        warn(findings);
        return true;
    } catch (...) {
        printCurrentException();
        return false;
    }
}
