#include "tests/FirmwareFiles.h"
#include "tests/ToolRun.h"

namespace {

class ControlTest : public ToolTest {};

const std::string interfaceHead = "Running task: Arm-interface test\nGetting Version: ";

/// One battery as the library delivers it, with texts that fill their fields without a NUL.
std::string batteryRecord(char type)
{
    return std::string(6, 'x') + type + '\0' + "SERIAL7890123" + "DATE5678901" +
           words({4000000000U, 17}) + fromHex("01000200FFFF04000500") + "xx";
}

std::string batteryText(char type)
{
    return std::string("Orvel Type: ") + type +
           "\nSN: SERIAL7890123\nManu Date: DATE5678901\nCapacity: 4000000000\n"
           "Charge Discharge cycle: 17\nBat Vs: 1\nBat Hw: 2\nBat Update Self Vs: 65535\n"
           "Bat Update itf Vs: 4\nBat Update chrg Vs: 5\n";
}

const std::string overlay =
    "\n\nRunning Reel Overlay Testing...Overlay On\n\n\n\n...Overlay Off\n\n"
    "\n\nRunning unrelated system tests now...\n\n";

TEST_F(ControlTest, InterfaceWalksThroughTheLibrary)
{
    const ToolResult result =
        run("--interface", "GetVimbraSwVersion text=7.1\nGetArmState mode=-2,key=5,fault=0xBEEF\n"
                           "GetPowerStates states=10\nGetKeyPadState keys=010,leds=02\n"
                           "GetReelState mode=3,count=-7,sonde=1,atex=1,false\n"
                           "GetLcdEnabled value=0\nGetBatInfo hex=" +
                               toHex(batteryRecord('R') + batteryRecord('L')));
    EXPECT_TRUE(result.gave(interfaceHead +
                            "7.1\nGetting state: Mode: -2 Powerup Key: 5 Flt State: 0xbeef\n"
                            "Getting power states: States: 0:1 1:0 \n"
                            "Keypad:\n\tKey: 0 State: 0\n\tKey: 1 State: 1\n\tKey: 2 State: 0\n\n"
                            "\tLed: 0 State: 0\n\tLed: 1 State: 2\n"
                            "Count:\n\tMode: 3 Count value: -7 Sonde State: 1 ATEX Modee: 1\n"
                            "Getting Battery info\nRight Battery Information\n" +
                            batteryText('R') + "Left Battery Information\n" + batteryText('L') +
                            overlay +
                            "Current lcd state: 0\nCurrent lcd state: 1. Turning LCD back on\n"));
    EXPECT_EQ(read("trace"),
              "GetVimbraSwVersion()\nGetArmState()\nGetPowerStates()\nGetKeyPadState()\n"
              "GetReelState()\nGetBatInfo()\nSetReelOverlay(1)\nusleep(2000000) = 0\n"
              "SetReelOverlay(0)\nusleep(2000000) = 0\nGetLcdEnabled()\nusleep(2000000) = 0\n"
              "SetLcdEnabled(1)\nGetLcdEnabled()\nusleep(2000000) = 0\nSetLcdEnabled(1)\n");
}

TEST_F(ControlTest, InterfaceGoesOnBehindFailedOperations)
{
    const ToolResult result =
        run("--interface", "GetVimbraSwVersion text=\nGetArmState false\nGetPowerStates false\n"
                           "GetKeyPadState false\nGetReelState unfilled,false\nGetBatInfo false\n"
                           "GetLcdEnabled ok \"throw=no display\"\n");
    EXPECT_TRUE(result.gave(interfaceHead +
                            "\nGetting state: failed\nGetting power states: failed\n"
                            "Keypad:\n\tFailed getting keypad state\n"
                            "Count:\n\tMode: 0 Count value: 0 Sonde State: 0 ATEX Modee: 0\n"
                            "Getting Battery info\n" +
                            overlay + "Current lcd state: 1\nError: no display\n"));
    EXPECT_EQ(result.callsOf({"SetLcd"}), std::vector<std::string>{"SetLcdEnabled(0)"});
}

/// Lets each library call of the exercise throw in turn.
TEST_F(ControlTest, InterfaceCatchesOnlyWhatTheDisplayThrows)
{
    const std::string unknown = "[...]Caught unknown error\n";
    for (const std::string call :
         {"GetVimbraSwVersion", "GetArmState", "GetPowerStates", "GetKeyPadState", "GetReelState",
          "GetBatInfo", "SetReelOverlay", "SetReelOverlay ok", "GetLcdEnabled", "SetLcdEnabled",
          "GetLcdEnabled ok", "SetLcdEnabled ok"}) {
        SCOPED_TRACE(call);
        const bool isCaught = call.find("Lcd") != std::string::npos;
        const ToolResult result = run("--interface --progress-file p", call + " throw=text\n");
        EXPECT_TRUE(isCaught ? result.gave("[...]Error: text\n") : result.gave(unknown, failed));
        EXPECT_TRUE(isSame(result.calls.at(result.calls.size() - 2),
                           call.substr(0, call.find(' ')) + "([...])"));
        EXPECT_EQ(result.calls.back(), "close(p) = 0");
        EXPECT_TRUE(run("--interface", call + " throw-other\n").gave(unknown, failed));
    }
}

class AuthenticationTest : public ToolTest {};

/// Answers to the reads of the eight status registers, and what is printed of them.
const std::string statusAnswers =
    "Ipad_Auth_Chip_Rx hex=F0 hex=F1 hex=F2 hex=F3 hex=F4 hex=F5 hex=F6 hex=F7 ";
const std::string statusText = "Running task: Arm-comm test\nWriting Status Byte\n"
                               "Read Error Status: F0\nRead Device Version: F1\n"
                               "Read Firmware Version: F2\nRead Control/Status: F3\n"
                               "Read Major Vs: F4\nRead Minor Vs: F5\nRead Auth Dev Id: F6\n"
                               "Read Auth Control/Status: F7\n";

std::string page(int wanted, int fetched)
{
    const std::string size = std::to_string(wanted) + " bytes\n";
    return "[MFI] Cert try to read " + size + "[MFI] Was able to fetch " + std::to_string(fetched) +
           " of " + size;
}

TEST_F(AuthenticationTest, ReadsRegistersAndPages)
{
    const ToolResult result =
        run("--comm-listen", statusAnswers + "hex=00C8 count=100 count=99 count=1");
    EXPECT_TRUE(result.gave(statusText + "Read Certificate Length: 200\n" + page(128, 100) +
                            page(100, 99) + page(1, 1)));
    EXPECT_EQ(read("trace"),
              "Ipad_Auth_Chip_Tx(16, 00)\nIpad_Auth_Chip_Rx(5, 1)\nIpad_Auth_Chip_Rx(0, 1)\n"
              "Ipad_Auth_Chip_Rx(1, 1)\nIpad_Auth_Chip_Rx(16, 1)\nIpad_Auth_Chip_Rx(2, 1)\n"
              "Ipad_Auth_Chip_Rx(3, 1)\nIpad_Auth_Chip_Rx(4, 1)\nIpad_Auth_Chip_Rx(16, 1)\n"
              "Ipad_Auth_Chip_Rx(48, 2)\nIpad_Auth_Chip_Rx(49, 128)\nIpad_Auth_Chip_Rx(50, 100)\n"
              "Ipad_Auth_Chip_Rx(51, 1)\n");
    const std::string three = " unfilled unfilled unfilled"; // not even a count
    EXPECT_TRUE(run("--comm-listen", "Ipad_Auth_Chip_Tx false\nIpad_Auth_Chip_Rx unfilled,false" +
                                         three + three + three)
                    .gave("Running task: Arm-comm test\nWriting Status Byte\nRead Error Status: "
                          "00\n[...]Invalid Length read for MFI Certificate\n",
                          failed));
}

TEST_F(AuthenticationTest, EndsAsTheAnswersSay)
{
    const std::string length = "Read Certificate Length: ";
    const std::string attempt = length + "1\n[MFI] Cert try to read 1 bytes\n";
    const Rows<std::string, int> cases{
        // the answers, the output, the status
        {"false", "Ipad Auth Read Fail\n", 0},
        {"count=0", "Invalid Length read for MFI Certificate\n", failed},
        {"hex=0000,count=-1", length + "0\n", 0},
        {"unfilled", "Invalid Length (63232) read for MFI Certificate\n", failed}, // F7 is left
        {"hex=0400", "Invalid Length (1024) read for MFI Certificate\n", failed},
        {"hex=FFFF", "Invalid Length (65535) read for MFI Certificate\n", failed},
        {"hex=0000", length + "0\n", 0},
        {"hex=03FF count=900", length + "1023\n" + page(128, 900) + page(123, 123), 0},
        {"hex=0001 false", attempt + "Ipad_Auth_Chip_Rx() Failed.\n", failed},
        {"hex=0001 count=0", attempt + "[MFI] Auth failed reading\n", failed},
        {"hex=0001 count=-5", attempt + "[MFI] Auth failed reading\n", failed},
        {"hex=0001 count=9", length + "1\n" + page(1, 9), 0},
        {"hex=0001 unfilled", length + "1\n" + page(1, 2), 0}, // the count of the length
        {"throw=x", "Caught unknown error\n", failed},
    };
    for (const auto& [answers, output, status] : cases) {
        EXPECT_TRUE(run("--comm-listen", statusAnswers + answers).gave(statusText + output, status))
            << answers;
    }
}

} // namespace
