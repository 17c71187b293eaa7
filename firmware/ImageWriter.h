#pragma once

#include "base/BufferedStream.h"
#include "firmware/ImageFormat.h"

#include <cstdint>
#include <string>

/// Writes a firmware image packet by packet. Failed writes are not examined: whoever programs an
/// image checks the whole of it first.
class ImageWriter {
public:
    /// Creates the file in one of the modes of `fopen`. Prints the failure and returns false if
    /// that can't be done.
    bool open(const std::string& path, const char* mode);

    /// Appends a data packet whose data, address and data length are filled in, and fills in the
    /// other fields of its header.
    void append(ImagePacket& packet);

    /// Appends the end marker and puts the number of data packets into the first header.
    void finish();

    /// Data packets appended so far.
    std::uint32_t dataPacketCount() const { return packetsWritten; }

private:
    void write(const ImagePacketHeader& header);

    BufferedStream image;
    ImagePacketHeader firstHeader{};
    std::uint32_t packetsWritten = 0;
};
