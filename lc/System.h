#pragma once

namespace lc {

/// The common library's access to the display. Every operation may throw `lc::Exception`.
/// Orientations are true when the display is normal and false when it is flipped.
class System {
public:
    static bool GetLcdEnabled();
    static bool SetLcdEnabled(bool enable);
    static bool GetLcdRotations(bool& vertical, bool& horizontal);
    static bool SetLcdRotation(bool vertical, bool horizontal);
};

} // namespace lc
