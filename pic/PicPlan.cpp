#include "pic/PicPlan.h"

#include "app/AppException.h"
#include "base/IntelHex.h"
#include "pic/PicDataBlock.h"
#include "pic/PicHexRecord.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstring>
#include <utility>

namespace {

constexpr std::size_t mostCharacters = 16 << 20; // of a file
constexpr std::size_t configurationSize = 14;    // bytes that a PIC takes

// Upper 16 bits of an address.
constexpr std::uint32_t lowMemory = 0;
constexpr std::uint32_t configurationArea = 0x30;

class Planner {
public:
    explicit Planner(const PicDevice& targetDevice) : device(targetDevice) {}

    /// Throws a constant string if the file is refused.
    void read(std::FILE* file);

    void warn() const;

    PicPlan plan;

private:
    void planLine(const char* line);
    void planRecord(const PicHexRecord& record);
    void planData(const PicHexRecord& record);
    void planConfiguration(std::span<const std::uint8_t> data);
    void planRow(std::uint32_t address, std::span<const std::uint8_t> data);
    [[nodiscard]] bool isStray(std::uint32_t address) const;

    const PicDevice& device;
    unsigned int lineNumber = 0;
    std::uint32_t upperAddress = 0; ///< bits 31 to 16 of the addresses
    PicDataBlock block;
    std::uint32_t dataEnd = 0; ///< of the row before
    std::uint32_t rowEnd = 0;  ///< of the row before, with its filler
    bool hasRows = false;
    bool hasEnd = false;                       ///< an end-of-file record
    std::optional<std::uint32_t> strayAddress; ///< of the first row that is stray
};

void Planner::read(std::FILE* file)
{
    std::array<char, maxPicLineLength + 1> line{};
    std::size_t characters = 0;
    bool isBehindLineFeed = true; // a line that is too long comes as several
    while (!plan.fault && std::fgets(line.data(), static_cast<int>(line.size()), file) != nullptr) {
        characters += std::strlen(line.data());
        if (characters > mostCharacters) {
            throw "HEX file of more than 16 MiB";
        }
        planLine(line.data());
        lineNumber += isBehindLineFeed ? 1 : 0;
        // A piece of a longer line fills the buffer; else there is one, perhaps behind a NUL.
        isBehindLineFeed = std::ranges::find(line, '\n') != line.end();
    }
    if (std::ferror(file) != 0) {
        throw "HEX file can't be read to its end";
    }
    if (!plan.fault && !block.isEmpty()) {
        // The words of a block that the file does not fill are swapped for every device.
        plan.add(PicStep::sendBlock, block.close(true));
    }
}

void Planner::planLine(const char* line)
{
    std::optional<PicHexRecord> record;
    try {
        record.emplace(line);
    } catch (const char*) {
        plan.fault = std::current_exception();
        return;
    }
    planRecord(*record);
}

void Planner::planRecord(const PicHexRecord& record)
{
    if (record.isTooShort()) {
        plan.add(PicStep::reportTooShort);
        return;
    }
    const std::uint8_t type = record.type();
    switch (static_cast<IntelHexType>(type)) {
    case IntelHexType::data:
        plan.add(PicStep::countRecord);
        planData(record);
        break;
    case IntelHexType::endOfFile: // the file is read on until it ends itself
        hasEnd = true;
        break;
    case IntelHexType::extendedLinearAddress:
        upperAddress = record.upperAddress();
        break;
    default:
        plan.add(PicStep::reportType, {&type, 1});
        break;
    }
}

/// What the device does not take is not judged.
void Planner::planData(const PicHexRecord& record)
{
    const std::uint32_t address = upperAddress | record.address();
    const std::uint32_t area = address >> 16;
    if (area == configurationArea) {
        if (device.takesConfiguration) {
            planConfiguration(record.data());
        }
    } else if (area == lowMemory || device.takesHighMemory) {
        planRow(address, record.data());
    }
}

void Planner::planConfiguration(std::span<const std::uint8_t> data)
{
    if (data.size() < configurationSize) {
        throw "Configuration record of fewer than 14 bytes";
    }
    plan.add(PicStep::sendConfiguration, data.first(configurationSize));
}

void Planner::planRow(std::uint32_t address, std::span<const std::uint8_t> data)
{
    if (data.size() > picRowSize) {
        throw "Program row of more than 16 bytes";
    }
    if (data.empty()) {
        return;
    }
    if (!strayAddress && isStray(address)) {
        strayAddress = address;
    }
    dataEnd = address + static_cast<std::uint32_t>(data.size());
    rowEnd = address + picRowSize;
    hasRows = true;
    block.addRow(address, data);
    if (block.isFull()) {
        plan.add(PicStep::sendBlock, block.close(device.swapsFullBlocks));
    }
}

/// Inside a block a row must follow the one before. A block may begin anywhere but where the row
/// before has its filler.
bool Planner::isStray(std::uint32_t address) const
{
    return block.isEmpty() ? address - dataEnd < rowEnd - dataEnd : address != rowEnd;
}

void Planner::warn() const
{
    if (strayAddress) {
        std::fprintf(stderr,
                     "Warning: the program row at %08" PRIX32 " does not lie 16 bytes behind the "
                     "one before it; in a block each row takes 16 bytes, in the order of the file, "
                     "and only the first one's address counts\n",
                     *strayAddress);
    }
    if (plan.fault) {
        std::fprintf(stderr,
                     "Warning: line %u of the file can't be decoded; the update will end there, "
                     "unfinished\n",
                     lineNumber);
        return;
    }
    if (!hasRows) {
        std::fputs("Warning: no program rows for this PIC in the file\n", stderr);
    }
    if (!hasEnd) {
        std::fputs("Warning: the file has no end-of-file record; it may have been cut off\n",
                   stderr);
    }
}

} // namespace

std::optional<PicPlan> planPicUpdate(std::FILE* firmwareFile, const PicDevice& device)
{
    try {
        Planner planner(device);
        planner.read(firmwareFile);
        planner.warn();
        return std::move(planner.plan);
    } catch (...) {
        printCurrentException();
        return std::nullopt;
    }
}
