#pragma once

#include "base/FileStream.h"
#include "firmware/ImageFormat.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

/// Writes a firmware image packet by packet. Failed writes are not examined: whoever programs an
/// image checks the whole of it first.
class ImageWriter {
public:
    /// Creates the file, or empties it. Prints the failure and returns false if that can't be done.
    bool open(const std::string& path);

    /// Appends a data packet whose data, address and data length are filled in, and fills in the
    /// other fields of its header.
    void append(ImagePacket& packet);

    /// Appends the end marker and puts the number of packets into the first header.
    void finish();

    std::uint32_t packetCount() const { return packetsWritten; }

private:
    static constexpr std::size_t streamBufferSize = 65536;

    void write(const ImagePacketHeader& header);

    std::array<char, streamBufferSize> streamBuffer; ///< of `image`, which it outlives
    FileStream image;
    ImagePacketHeader firstHeader{};
    std::uint32_t packetsWritten = 0;
};
