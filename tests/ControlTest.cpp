#include "tests/FirmwareFiles.h"
#include "tests/ToolRun.h"

namespace {

class ControlTest : public ToolTest {};

const std::string interfaceHead = "Running task: Arm-interface test\nGetting Version: ";

/// One battery as the library delivers it, with texts that fill their fields without a NUL.
std::string batteryRecord(char type)
{
    return std::string(6, 'x') + type + '\0' + "SERIAL7890123" + "DATE5678901" +
           littleEndian32(4000000000U) + littleEndian32(17) + fromHex("01000200FFFF04000500") +
           "xx";
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
        run("--interface", "GetVimbraSwVersion text=7.1\n"
                           "GetArmState mode=-2,key=5,fault=0xBEEF\n"
                           "GetPowerStates states=10\n"
                           "GetKeyPadState keys=010,leds=02\n"
                           "GetReelState mode=3,count=-7,sonde=1,atex=1,false\n"
                           "GetBatInfo hex=" +
                               toHex(batteryRecord('R') + batteryRecord('L')) +
                               "\nGetLcdEnabled value=0 value=1\n");
    EXPECT_EQ(result.output,
              interfaceHead +
                  "7.1\nGetting state: Mode: -2 Powerup Key: 5 Flt State: 0xbeef\n"
                  "Getting power states: States: 0:1 1:0 \n"
                  "Keypad:\n\tKey: 0 State: 0\n\tKey: 1 State: 1\n\tKey: 2 State: 0\n\n"
                  "\tLed: 0 State: 0\n\tLed: 1 State: 2\n"
                  "Count:\n\tMode: 3 Count value: -7 Sonde State: 1 ATEX Modee: 1\n"
                  "Getting Battery info\nRight Battery Information\n" +
                  batteryText('R') + "Left Battery Information\n" + batteryText('L') + overlay +
                  "Current lcd state: 0\nCurrent lcd state: 1. Turning LCD back on\n");
    EXPECT_EQ(result.status, 0);
    const std::vector<std::string> expected{
        "GetVimbraSwVersion()", "GetArmState()",       "GetPowerStates()",    "GetKeyPadState()",
        "GetReelState()",       "GetBatInfo()",        "SetReelOverlay(1)",   "usleep(2000000) = 0",
        "SetReelOverlay(0)",    "usleep(2000000) = 0", "GetLcdEnabled()",     "usleep(2000000) = 0",
        "SetLcdEnabled(1)",     "GetLcdEnabled()",     "usleep(2000000) = 0", "SetLcdEnabled(1)"};
    EXPECT_EQ(result.calls, expected);
}

TEST_F(ControlTest, InterfaceGoesOnBehindFailedOperations)
{
    const ToolResult result =
        run("--interface", "GetVimbraSwVersion text=\nGetArmState false\nGetPowerStates false\n"
                           "GetKeyPadState false\nGetReelState mode=0,count=0,sonde=0,atex=0\n"
                           "GetBatInfo false\nGetLcdEnabled \"throw=no display\"\n");
    EXPECT_EQ(result.output, interfaceHead +
                                 "\nGetting state: failed\n"
                                 "Getting power states: failed\n"
                                 "Keypad:\n\tFailed getting keypad state\n"
                                 "Count:\n\tMode: 0 Count value: 0 Sonde State: 0 "
                                 "ATEX Modee: 0\nGetting Battery info\n" +
                                 overlay + "Error: no display\n");
    EXPECT_EQ(result.status, 0);
}

/// Lets each library call of the exercise throw in turn.
TEST_F(ControlTest, InterfaceCatchesOnlyWhatTheDisplayThrows)
{
    const std::vector<std::string> unguarded{
        "GetVimbraSwVersion", "GetArmState", "GetPowerStates", "GetKeyPadState",
        "GetReelState",       "GetBatInfo",  "SetReelOverlay", "SetReelOverlay ok"};
    for (const std::string& call : unguarded) {
        const ToolResult result = run("--interface", call + " throw=text\n");
        EXPECT_TRUE(result.output.ends_with("Caught unknown error\n")) << call;
        EXPECT_EQ(result.status, failed) << call;
        EXPECT_TRUE(result.lastCall().starts_with(call.substr(0, call.find(' ')))) << call;
    }
    const std::vector<std::string> guarded{"GetLcdEnabled", "SetLcdEnabled", "GetLcdEnabled ok",
                                           "SetLcdEnabled ok"};
    for (const std::string& call : guarded) {
        const ToolResult result = run("--interface", call + " throw=text\n");
        EXPECT_TRUE(result.output.ends_with("Error: text\n")) << call;
        EXPECT_EQ(result.status, 0) << call;
        EXPECT_EQ(run("--interface", call + " throw-other\n").status, failed) << call;
    }
}

TEST_F(ControlTest, VersionShowsTheTextAsItComes)
{
    const std::string head = "Running task: Arm-gen_util test\n";
    EXPECT_EQ(run("--version", "GetVimbraSwVersion \"text=a % b\"\n").output,
              head + "Vimbra Version: a % b\n");
    const ToolResult thrown = run("--version --progress-file p", "GetVimbraSwVersion throw=x\n");
    EXPECT_EQ(thrown.output, head + "Caught unknown error\n");
    EXPECT_EQ(thrown.status, failed);
}

class AuthenticationTest : public ToolTest {
protected:
    /// Runs the read-out with answers to the reads behind the eight status registers.
    ToolResult readOut(const std::string& answers)
    {
        std::string status;
        for (int reg = 0; reg < 8; ++reg) {
            status += "hex=F" + std::to_string(reg) + " ";
        }
        return run("--comm-listen", "Ipad_Auth_Chip_Rx " + status + answers + "\n");
    }

    const std::string head = "Running task: Arm-comm test\nWriting Status Byte\n"
                             "Read Error Status: F0\nRead Device Version: F1\n"
                             "Read Firmware Version: F2\nRead Control/Status: F3\n"
                             "Read Major Vs: F4\nRead Minor Vs: F5\nRead Auth Dev Id: F6\n"
                             "Read Auth Control/Status: F7\n";
};

std::string page(int wanted, int fetched)
{
    const std::string size = std::to_string(wanted);
    return "[MFI] Cert try to read " + size + " bytes\n[MFI] Was able to fetch " +
           std::to_string(fetched) + " of " + size + " bytes\n";
}

TEST_F(AuthenticationTest, ReadsRegistersAndPages)
{
    const ToolResult result = readOut("hex=00C8 count=100 count=60 count=40");
    EXPECT_EQ(result.output, head + "Read Certificate Length: 200\n" + page(128, 100) +
                                 page(100, 60) + page(40, 40));
    EXPECT_EQ(result.status, 0);
    const std::vector<std::string> expected{
        "Ipad_Auth_Chip_Tx(16, 00)", "Ipad_Auth_Chip_Rx(5, 1)",    "Ipad_Auth_Chip_Rx(0, 1)",
        "Ipad_Auth_Chip_Rx(1, 1)",   "Ipad_Auth_Chip_Rx(16, 1)",   "Ipad_Auth_Chip_Rx(2, 1)",
        "Ipad_Auth_Chip_Rx(3, 1)",   "Ipad_Auth_Chip_Rx(4, 1)",    "Ipad_Auth_Chip_Rx(16, 1)",
        "Ipad_Auth_Chip_Rx(48, 2)",  "Ipad_Auth_Chip_Rx(49, 128)", "Ipad_Auth_Chip_Rx(50, 100)",
        "Ipad_Auth_Chip_Rx(51, 40)"};
    EXPECT_EQ(result.calls, expected);
}

TEST_F(AuthenticationTest, EndsAsTheAnswersSay)
{
    const std::string attempt = "[MFI] Cert try to read 1 bytes\n";
    struct Case {
        const char* answers;
        std::string output;
        int status;
    };
    const std::vector<Case> cases{
        {"false", "Ipad Auth Read Fail\n", 0},
        {"count=0", "Invalid Length read for MFI Certificate\n", failed},
        {"count=-1", "Invalid Length read for MFI Certificate\n", failed},
        {"hex=0400", "Invalid Length (1024) read for MFI Certificate\n", failed},
        {"hex=FFFF", "Invalid Length (65535) read for MFI Certificate\n", failed},
        {"hex=0000", "Read Certificate Length: 0\n", 0},
        {"hex=0001 false",
         "Read Certificate Length: 1\n" + attempt + "Ipad_Auth_Chip_Rx() Failed.\n", failed},
        {"hex=0001 count=0",
         "Read Certificate Length: 1\n" + attempt + "[MFI] Auth failed reading\n", failed},
        {"hex=0001 count=-5",
         "Read Certificate Length: 1\n" + attempt + "[MFI] Auth failed reading\n", failed},
        {"hex=0001 count=9", "Read Certificate Length: 1\n" + page(1, 9), 0},
        {"throw=x", "Caught unknown error\n", failed},
    };
    for (const Case& row : cases) {
        const ToolResult result = readOut(row.answers);
        EXPECT_EQ(result.output, head + row.output) << row.answers;
        EXPECT_EQ(result.status, row.status) << row.answers;
    }
}

} // namespace
