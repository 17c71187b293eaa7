#pragma once

#include "simulator/Script.h"

#include <array>

namespace simulator {

/// The bootloader of one simulated PIC. It is strict: a command out of order, a wrong length,
/// checksum or address, and a version that is not newer are refused.
class PicBootloader {
public:
    explicit PicBootloader(int picDevice);

    /// Takes a command and returns the data bytes of the answer.
    Bytes answer(int command, const Bytes& payload);

    /// Reports what the PIC holds now, if it was asked to take anything.
    void reportMemory() const;

private:
    enum class State { idle, begun, receiving, dataEnded, finished };

    std::uint8_t execute(int command, const Bytes& payload);
    std::uint8_t takeVersions(const Bytes& payload);
    std::uint8_t takeBlock(const Bytes& payload);
    std::uint8_t refuse(const char* reason) const;
    const char* name() const;

    int device;
    bool isGps;
    State state = State::idle;
    std::array<int, 3> version{};
    std::uint32_t nextAddress = 0; ///< the lowest that the next block may have
    std::uint32_t blockCount = 0;
    Bytes memory; ///< the data of the blocks, one behind the other
    bool isConfigured = false;
};

} // namespace simulator
