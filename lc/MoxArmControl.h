#pragma once

#include "lc/ArmMox.h"
#include "lc/BatteryInfo.h"

#include <cstdint>
#include <string>
#include <vector>

namespace lc {

/// The common library's access to the Vimbra co-processor. Every operation may throw
/// `lc::Exception`. Truth values returned by operations with outputs say that the outputs are
/// valid.
class MoxArmControl {
public:
    enum ArmMode : std::int32_t {};
    enum CountMode : std::int32_t {};

    enum ReelOverlayCtrlType : std::int32_t {
        ReelOverlayOff = 0,
        ReelOverlayOn = 1,
    };

    /// The PIC microcontrollers that can be updated.
    enum PicUpdateDevType : std::int32_t {
        PicDevNone = 0,
        PicDevOrvelBat = 1,
        PicDevOrvelShoe = 2,
        PicDevOrvelCharger = 3,
        PicDevOrvelAcAdapter = 4,
        PicDevKt4100Gps = 5,
        PicDevDebugging = 255,
    };

    /// Commands of the PIC bootloaders.
    enum PicUpdateCmdType : std::int32_t {
        PicCmdBegin = 0,
        PicCmdFinish = 1,
        PicCmdVersions = 2,
        PicCmdDataEnd = 3,
        PicCmdDataBlock = 4,
        PicCmdConfig = 5,
        PicCmdGetGpsMode = 6,
        PicCmdGetGpsVersion = 7,
        PicCmdNone = 255, ///< never sent; no reply is awaited
    };

    /// Software version of the co-processor, as free text.
    static std::string GetVimbraSwVersion();

    static bool GetArmState(ArmMode& mode, int& powerUpKey, unsigned int& faultState);
    static bool GetPowerStates(std::vector<bool>& states);
    static bool GetKeyPadState(std::vector<bool>& keys, std::vector<ArmMox::LedStates>& leds);
    static bool GetReelState(CountMode& mode, int& count, bool& sondeState, bool& atexMode);
    static bool GetBatInfo(bat_info_to_ui& info);

    /// What the magnetic sensor reports, as a truth value; not whether the call succeeded.
    static bool GetMagSensorState();

    static bool SetReelOverlay(ReelOverlayCtrlType control);
    static bool SetLedStates(const std::vector<ArmMox::LedStates>& leds);
    static bool ZeroReelCount();

    /// Returns true when the sonde has taken the state.
    static bool SetReelSondeState(bool on);

    /// Writes `length` bytes to a register of the authentication chip.
    static bool Ipad_Auth_Chip_Tx(unsigned char reg, unsigned char* data, int length);

    /// Reads up to `length` bytes from a register of the authentication chip into `data` and
    /// stores the number of bytes read in `count`. Returns true on success.
    static bool Ipad_Auth_Chip_Rx(unsigned char reg, unsigned char* data, int length, int* count);

    /// Hands one bootloader command with `length` bytes of payload to a PIC. The answer arrives on
    /// /dev/arm-comms.
    static bool Pic_Update_Comm_Tx(PicUpdateDevType device, PicUpdateCmdType command, int length,
                                   unsigned char* data);
};

} // namespace lc
