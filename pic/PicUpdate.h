#pragma once

#include "lc/MoxArmControl.h"
#include "pic/PicCommandChannel.h"
#include "pic/PicDataBlock.h"
#include "pic/PicHexRecord.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <span>

/// One update of a PIC: begin, versions, the records of the HEX file, end of data, finish. The
/// first failure ends it, with nothing more sent.
class PicUpdate {
public:
    /// What is sent where. The channel and the file are open.
    struct Job {
        const PicCommandChannel& channel;
        lc::MoxArmControl::PicUpdateDevType device;
        std::array<std::uint16_t, 3> versions;
        std::FILE* firmwareFile;
        std::int32_t& lineCounter; ///< data records and rejected lines handled so far
        PicResponseCheck check;
    };

    explicit PicUpdate(const Job& updateJob) : job(updateJob) {}

    /// Returns 0 after a complete update and -1 after any failure, which has been printed.
    /// Exceptions pass through, except from the records of the file.
    int run();

private:
    bool sendCommand(lc::MoxArmControl::PicUpdateCmdType command,
                     std::span<std::uint8_t> payload = {}) const;
    bool sendVersions() const;
    bool sendProgram();
    bool sendRecords();
    bool handleRecord(const PicHexRecord& record);
    bool handleData(const PicHexRecord& record);
    bool routeData(std::uint32_t address, std::span<const std::uint8_t> data);
    bool addRow(std::uint32_t address, std::span<const std::uint8_t> data);
    bool sendConfiguration(std::span<const std::uint8_t> data) const;
    bool sendLastBlock();

    Job job;
    std::uint32_t upperAddress = 0;
    PicDataBlock block;
};
