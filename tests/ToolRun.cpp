#include "tests/ToolRun.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

std::vector<std::string> splitLines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

testing::AssertionResult isSame(const std::string& actual, const std::string& expected)
{
    const std::string any = "[...]";
    const std::size_t gap = expected.find(any);
    const auto difference = std::ranges::mismatch(actual, expected).in1;
    const auto same = static_cast<std::size_t>(difference - actual.begin());
    const bool isSameAround = same >= gap && actual.size() + any.size() >= expected.size() &&
                              actual.ends_with(expected.substr(gap + any.size()));
    return testing::AssertionResult(isSameAround || actual == expected)
           << "at " << same << " there is " << testing::PrintToString(actual.substr(same, 120))
           << ", expected " << testing::PrintToString(expected.substr(same, 120));
}

testing::AssertionResult ToolResult::gave(const std::string& text, int exitStatus) const
{
    return testing::AssertionResult(status == exitStatus && isSame(output, text))
           << "status " << status << "; " << isSame(output, text).message() << "\n"
           << errors.substr(0, 1000);
}

std::vector<std::string> ToolResult::callsOf(const std::vector<std::string>& beginnings) const
{
    std::vector<std::string> found = calls;
    std::erase_if(found, [&](const std::string& call) {
        return std::none_of(beginnings.begin(), beginnings.end(),
                            [&](const std::string& text) { return call.starts_with(text); });
    });
    return found;
}

namespace {

/// In memory, if there is a place: the tool syncs what it writes, and a disk takes its time.
std::string makeFolder()
{
    std::string path = access("/dev/shm", W_OK) == 0 ? "/dev/shm/v-XXXXXX" : "/tmp/v-XXXXXX";
    return mkdtemp(path.data()) != nullptr ? path : throw std::runtime_error(path);
}

} // namespace

ToolTest::ToolTest() : folder(makeFolder())
{
    shell("mkdir volatile");
}

void ToolTest::TearDown()
{
    shell("rm -r \"$PWD\"");
}

int ToolTest::shell(const std::string& command) const
{
    return std::system(("cd '" + folder + "' && " + command).c_str());
}

void ToolTest::write(const std::string& name, const std::string& content) const
{
    std::ofstream(folder + "/" + name, std::ios::binary) << content;
}

std::string ToolTest::read(const std::string& name) const
{
    const std::string path = folder + "/" + name;
    if (!std::filesystem::is_regular_file(path)) { // reading a FIFO would never end
        return "(no file)";
    }
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

ToolResult ToolTest::run(const std::string& arguments, const std::string& script) const
{
    write("trace", "");
    write("script", "set clock fast\n" + script);
    const std::string command =
        "VIMBRA_SIM_SCRIPT=script VIMBRA_SIM_TRACE=trace VIMBRA_SIM_VOLATILE=volatile " VIMBRA_TOOL
        " " +
        arguments;
    // A run that never ends is not to fill the disk. Sanitizers and emulators take time.
    write("command", "ulimit -f 20000\n{ " + command + "; } >output 2>errors </dev/null\n");
    const int ended = shell("timeout --kill-after=5 120 sh command");
    const int status = WIFSIGNALED(ended) ? endedBy + WTERMSIG(ended) : WEXITSTATUS(ended);
    EXPECT_NE(status, 124) << "timed out: " << command;
    return {read("output"), read("errors"), status, splitLines(read("trace"))};
}
