#pragma once

#include "firmware/ImageFormat.h"
#include "simulator/Bytes.h"

#include <map>

namespace simulator {

/// The simulated co-processor behind /dev/arm-program. It takes packets in the order of an image
/// only: first packet with the count, further packets by their index, end marker; and only data for
/// its flash memory.
class ProgrammingDevice {
public:
    /// Takes one packet. Returns false, with the reason on standard error, if it refuses it.
    bool take(const Bytes& packet);

    /// Reports what was taken, if there was anything.
    void reportMemory() const;

private:
    [[nodiscard]] const char* findFault(const ImagePacketHeader& header, const Bytes& data) const;

    std::uint32_t announced = 0; ///< data packets, from the first header
    std::uint32_t taken = 0;     ///< data packets
    bool ended = false;
    std::map<std::uint32_t, Bytes> memory;
};

} // namespace simulator
