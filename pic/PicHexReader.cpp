#include "pic/PicHexReader.h"

std::optional<PicHexRecord> PicHexReader::next()
{
    if (std::fgets(line.data(), static_cast<int>(line.size()), file) == nullptr) {
        return std::nullopt;
    }
    return PicHexRecord(line.data());
}
