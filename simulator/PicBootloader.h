#pragma once

#include "simulator/Bytes.h"

#include <array>

namespace simulator {

/// The bootloader of one simulated PIC. It is strict: a command out of order, a wrong length,
/// checksum or address, and a version that is not newer are refused.
class PicBootloader {
public:
    /// `device` is the code of a PIC that exists.
    explicit PicBootloader(int device);

    /// Takes a command and returns the data bytes of the answer.
    Bytes answer(int command, const Bytes& payload);

    /// Reports what the PIC holds now, if it was asked to take anything.
    void reportMemory() const;

private:
    enum class State { idle, begun, receiving, dataEnded, finished };
    struct Rule;
    using Versions = std::array<std::uint32_t, 3>;

    [[nodiscard]] const Rule* findRule(int command) const;
    const char* findFault(const Rule* rule, const Bytes& payload) const;
    [[nodiscard]] const char* findBlockFault(const Bytes& payload) const;
    [[nodiscard]] Versions readVersions(const Bytes& payload) const;
    void execute(const Rule& rule, const Bytes& payload);

    const char* name;
    bool isGps;
    std::uint32_t versionMark; ///< what the first version number is combined with
    State state = State::idle;
    Versions version{}; ///< of the program that it holds
    Versions offered{};
    std::uint32_t nextAddress = 0; ///< the lowest that the next block may have
    Bytes memory;                  ///< the data of the blocks, one behind the other
    bool isConfigured = false;
};

} // namespace simulator
