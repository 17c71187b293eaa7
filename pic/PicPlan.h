#pragma once

#include "pic/PicDevice.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <optional>
#include <span>
#include <vector>

/// One thing that an update does for its file.
enum class PicStep : std::uint8_t {
    countRecord,       ///< a data record counts as a handled line
    reportTooShort,    ///< such a line is told with its number, and counts, too
    reportType,        ///< of a record that means nothing to a PIC; its data: the type
    sendBlock,         ///< its data: the payload
    sendConfiguration, ///< its data: the payload
};

/// All that an update does for its file, in order. A file may have millions of lines that are only
/// told or counted, so the steps are kept one behind the other in few bytes.
class PicPlan {
public:
    void add(PicStep step, std::span<const std::uint8_t> data = {})
    {
        bytes.push_back(static_cast<std::uint8_t>(step));
        bytes.push_back(static_cast<std::uint8_t>(data.size()));
        bytes.insert(bytes.end(), data.begin(), data.end());
    }

    /// Hands each step and its data to `handle`, until it returns false. Returns whether it took
    /// all of them.
    template <class Handle>
    bool forEach(Handle handle)
    {
        for (std::span<std::uint8_t> rest(bytes); !rest.empty();) {
            const std::size_t size = rest[1];
            if (!handle(PicStep{rest[0]}, rest.subspan(2, size))) {
                return false;
            }
            rest = rest.subspan(2 + size);
        }
        return true;
    }

    /// What a line threw that can't be decoded: the update ends behind the steps, with this.
    std::exception_ptr fault;

private:
    std::vector<std::uint8_t> bytes; ///< of each step itself, the size of its data, the data
};

/// Reads a firmware file once, before its PIC is told anything: to its end, or to the first line
/// that can't be decoded. Returns nothing after printing "Error: ..." if the PIC could not be sent
/// a record as it stands, or if the file can't be read to its end or is too large.
///
/// Warns on standard error of program rows that the PIC would not get where they belong, of a file
/// without any or without an end-of-file record, and of a line that can't be decoded.
std::optional<PicPlan> planPicUpdate(std::FILE* firmwareFile, const PicDevice& device);
