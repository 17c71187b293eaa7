#pragma once

#include "simulator/Bytes.h"

#include <array>
#include <cstdint>

namespace simulator {

/// The bootloader of one simulated PIC. It is strict: a command out of order, a wrong length,
/// checksum or address, and a version that is not newer are refused.
class PicBootloader {
public:
    static constexpr std::uint8_t refusedStatus = 1;

    static bool exists(int picDevice);

    /// `picDevice` is the code of a PIC that exists.
    explicit PicBootloader(int picDevice);

    /// Takes a command and returns the data bytes of the answer.
    Bytes answer(int command, const Bytes& payload);

    /// Reports what the PIC holds now, if it was asked to take anything.
    void reportMemory() const;

private:
    enum class State { idle, begun, receiving, dataEnded, finished };
    struct Model;
    struct Rule;
    using Versions = std::array<std::uint32_t, 3>;

    static const Model* findModel(int picDevice);
    const Rule* findRule(int command) const;
    std::uint8_t execute(int command, const Bytes& payload);
    std::uint8_t handle(int command, const Bytes& payload);
    void begin();
    std::uint8_t takeVersions(const Bytes& payload);
    std::uint8_t takeBlock(const Bytes& payload);
    std::uint8_t refuse(const char* reason) const;

    const Model& model;
    State state = State::idle;
    Versions version; ///< of the program that it holds
    Versions offered{};
    std::uint32_t nextAddress = 0; ///< the lowest that the next block may have
    std::uint32_t blockCount = 0;
    Bytes memory; ///< the data of the blocks, one behind the other
    bool isConfigured = false;
};

} // namespace simulator
