#include "tests/ToolRun.h"

#include <cstdlib>

namespace {

const std::string usage = "Application options:\n"
                          "\t-event-listen\n"
                          "\t-firmware-hex <arg>\n"
                          "\t-program-vimbra <arg>\n"
                          "\t-progress-file <arg>\n"
                          "\t-interface\n"
                          "\t-sensor-listen\n"
                          "\t-comm-listen\n"
                          "\t-version\n"
                          "\t-tty-listen\n"
                          "\t-program-pic <arg>\n"
                          "\t-help\n"
                          "\t-?\n";

const std::string version = "Running task: Arm-gen_util test\nVimbra Version: 1.2\n";

class CommandLineTest : public ToolTest {};

TEST_F(CommandLineTest, SelectsOneTaskOrShowsTheUsage)
{
    struct Case {
        const char* arguments;
        std::string output;
        int status;
    };
    const std::string noAction = "\n** No actions specified **\n\n" + usage;
    const std::vector<Case> cases{
        {"--version", version, 0},
        {"-version", version, 0},
        {"--vers", version, 0},
        {"word --version other", version, 0},
        {"", noAction, failed},
        {"word", noAction, failed},
        {"--help", usage, failed},
        {"-h", usage, failed},
        {"'-?'", usage, failed},
        {"'--?'", usage, failed},
        {"--nonsense", usage, failed},
        {"--prog x", usage, failed},
        {"--version --interface", usage, failed},
        {"--version --version", usage, failed},
        {"--firmware-hex=", usage, failed},
        {"--firmware-hex", usage, failed},
        {"--program-vimbra ''", usage, failed},
        {"--progress-file= --version", usage, failed},
        {"--program-pic=orvel_base_user_1_2_3.hex", usage, failed},
        {"--program-pic '' word", usage, failed},
        {"--progress-file p", noAction, failed},
        {"--progress-file p --progress-file q", "Progress file already specified\n", failed},
        {"--progress-file no/p --progress-file q --version",
         "*** Unable to open progress output - proceeding anyway ***\n" + version, 0},
    };
    for (const Case& row : cases) {
        const ToolResult result = run(row.arguments, "GetVimbraSwVersion text=1.2\n");
        EXPECT_EQ(result.output, row.output) << row.arguments;
        EXPECT_EQ(result.status, row.status) << row.arguments;
    }
}

TEST_F(CommandLineTest, TakesThePicFileFromTheThirdWord)
{
    const ToolResult direct = run("--program-pic '&*%PROBE&*%'");
    EXPECT_EQ(direct.output, "Running task: PIC Bootloader\nChecking File Name\n"
                             "No Debug/Testing Implememted.\n");
    EXPECT_EQ(direct.status, 0);

    const ToolResult behind = run("--progress-file '&*%PROBE&*%' --program-pic other.hex");
    EXPECT_EQ(behind.output, direct.output);
}

TEST_F(CommandLineTest, EmptiesAProgressFileThatNothingIsReportedTo)
{
    write("p", "old\n");
    EXPECT_EQ(run("--version --progress-file p").status, 0);
    EXPECT_EQ(read("p"), "");
}

TEST_F(CommandLineTest, OpensTheRealDevicesWhenRunPlainly)
{
    const ToolResult result = runPlainly("--event-listen");
    EXPECT_EQ(result.output, "Running task: Arm-event test\nFailed openinig /dev/arm-events\n");
    EXPECT_EQ(result.status, failed);
}

TEST_F(CommandLineTest, ExportsTheGlobalsOfThePicUpdate)
{
    const std::string symbols = "nm -D --defined-only '" + tool + "' | grep -E ' [BD] ' | ";
    const std::string ours = "grep -Ev '@|__(asan|ubsan)|_Z' | cut -d ' ' -f 3 | sort";
    ASSERT_EQ(std::system((symbols + ours + " >'" + (folder / "names").string() + "'").c_str()), 0);
    EXPECT_EQ(read("names"), "Cmd\nGpsPicMode\nGpsPicVersion\n");
}

} // namespace
