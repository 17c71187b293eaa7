#pragma once

#include "pic/PicCommandChannel.h"
#include "pic/PicDataBlock.h"
#include "pic/PicDevice.h"
#include "pic/PicHexLines.h"
#include "pic/PicHexRecord.h"
#include "pic/PicRecordRouter.h"

#include <array>
#include <cstdint>
#include <span>

/// One update of a PIC: begin, versions, the records of the HEX file, end of data, finish. The
/// first failure ends it, with nothing more sent.
class PicUpdate {
public:
    /// What is sent where. The channel is open.
    struct Job {
        const PicCommandChannel& channel;
        const PicDevice& device;
        std::array<std::uint16_t, 3> versions;
        const PicHexLines& lines;
        std::int32_t& lineCounter; ///< data records and rejected lines handled so far
    };

    explicit PicUpdate(const Job& updateJob) : job(updateJob), router(updateJob.device) {}

    /// Returns 0 after a complete update and -1 after any failure, which has been printed. What the
    /// library throws passes through, except behind the versions and in front of the end of data.
    int run();

private:
    bool sendCommand(lc::MoxArmControl::PicUpdateCmdType command,
                     std::span<std::uint8_t> payload = {}) const;
    bool sendVersions() const;
    bool sendProgram();
    bool sendRecords();
    bool handleRecord(const PicHexRecord& record);
    bool addRowAndSendFullBlock(std::uint32_t address, std::span<const std::uint8_t> data);
    bool sendConfiguration(std::span<const std::uint8_t> data) const;
    bool sendBlock(bool swapsWords);

    Job job;
    PicRecordRouter router;
    PicDataBlock block;
};
