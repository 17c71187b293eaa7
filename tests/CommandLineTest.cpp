#include "tests/ToolRun.h"

namespace {

class CommandLineTest : public ToolTest {};

TEST_F(CommandLineTest, SelectsOneTaskOrShowsTheUsage)
{
    const std::string usage = "Application options:\n\t-event-listen\n\t-firmware-hex <arg>\n"
                              "\t-program-vimbra <arg>\n\t-progress-file <arg>\n\t-interface\n"
                              "\t-sensor-listen\n\t-comm-listen\n\t-version\n\t-tty-listen\n"
                              "\t-program-pic <arg>\n\t-help\n\t-?\n";
    const std::string noAction = "\n** No actions specified **\n\n" + usage;
    const std::string version = "Running task: Arm-gen_util test\nVimbra Version: 1 % d\n";
    const std::string probe = "Running task: PIC Bootloader\nChecking File Name\n"
                              "No Debug/Testing Implememted.\n";
    const Rows<std::string, int> cases{
        {"--version", version, 0},
        {"-version", version, 0},
        {"--vers", version, 0},
        {"word --version other", version, 0},
        {"", noAction, failed},
        {"word", noAction, failed},
        {"--program-pic '&*%PROBE&*%'", probe, 0},
        {"--progress-file '&*%PROBE&*%' --program-pic other.hex", probe, 0}, // the third word
        {"--progress-file p", noAction, failed},
        {"--progress-file p --progress-file q", "Progress file already specified\n", failed},
        {"--progress-file no/p --progress-file q --version",
         "*** Unable to open progress output - proceeding anyway ***\n" + version, 0},
    };
    for (const char* arguments :
         {"--help", "-h", "'-?'", "'--?'", "--nonsense", "--prog x", "--version --interface",
          "--version --version", "--firmware-hex=", "--firmware-hex", "--program-vimbra ''",
          "--progress-file= --version", "--program-pic=orvel_base_user_1_2_3.hex",
          "--program-pic '' word"}) {
        EXPECT_TRUE(run(arguments).gave(usage, failed)) << arguments;
    }
    EXPECT_TRUE(isSame(run("--nonsense").errors, "[...]: unrecognized option '--nonsense'\n"));
    write("q", "old\n");
    for (const auto& [arguments, output, status] : cases) {
        const ToolResult result = run(arguments, "GetVimbraSwVersion \"text=1 % d\"\n");
        EXPECT_TRUE(result.gave(output, status)) << arguments;
    }
    EXPECT_EQ(read("q"), ""); // emptied, though nothing is reported to it
}

} // namespace
