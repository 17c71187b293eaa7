#pragma once

#include "base/FileDescriptor.h"
#include "lc/MoxArmControl.h"
#include "listeners/ArmRecord.h"
#include "pic/PicUpdateErr.h"

#include <cstddef>
#include <cstdint>

/// Judges one reply entry of a PIC; `PicErrNone` means accepted.
using PicResponseCheck = PicUpdateErr (*)(const DataEntry& entry);

inline constexpr std::uint8_t acceptedPicStatus = 0;

/// The check of the Orvel devices: the first data byte is the status.
PicUpdateErr checkPicResponse(const DataEntry& entry);

/// The way to the PICs: commands go out through the common library, the answers come in as blocks
/// of records on /dev/arm-comms. Exactly one read answers one command; nothing is retried.
class PicCommandChannel {
public:
    /// Opens /dev/arm-comms. Prints the failure and returns false if that can't be done.
    bool open();
    void close() { ArmCommFd.close(); }

    /// Reads and throws away what is waiting, until there is nothing more, a wait or read fails, or
    /// 100 reads in a row have brought nothing. Prints nothing.
    void drain() const;

    /// Sends a command with its payload of `length` bytes, perhaps none, and waits up to a second
    /// for the answer. Returns true if it was accepted, otherwise prints why it was not. `Cmd`
    /// holds the command until then. What the library throws passes through.
    bool send(lc::MoxArmControl::PicUpdateDevType device,
              lc::MoxArmControl::PicUpdateCmdType command, int length, std::uint8_t* data,
              PicResponseCheck check) const;

    /// Waits up to `seconds` for the device and reads once, at most `size` bytes; `count` receives
    /// what the read returned.
    PicUpdateErr readArmComm(std::byte* buffer, std::size_t size, int& count, int seconds) const;

    /// Reads one reply block and applies the check to each PIC reply in it, up to the first that is
    /// not accepted.
    PicUpdateErr readPicResponses(PicResponseCheck check) const;

    /// Returns whether the reply was accepted; prints why it was not. `Cmd` is `PicCmdNone` then.
    bool waitForPicResponse(PicResponseCheck check) const;

private:
    FileDescriptor ArmCommFd;
};
