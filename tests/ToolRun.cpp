#include "tests/ToolRun.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
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
    const auto different =
        std::mismatch(actual.begin(), actual.end(), expected.begin(), expected.end()).first;
    const auto offset = static_cast<std::size_t>(different - actual.begin());
    const auto behind = [&](const std::string& text) {
        return testing::PrintToString(text.substr(offset, 120));
    };
    return testing::AssertionResult(actual == expected)
           << "at " << offset << " there is " << behind(actual) << ", expected " << behind(expected)
           << "\n";
}

testing::AssertionResult ToolResult::gave(const std::string& text, int exitStatus) const
{
    if (status != exitStatus) {
        return testing::AssertionFailure()
               << "status " << status << ", expected " << exitStatus << "; " << isSame(output, text)
               << errors.substr(0, 1000);
    }
    return isSame(output, text);
}

std::vector<std::string> ToolResult::callsOf(const std::vector<std::string>& beginnings) const
{
    std::vector<std::string> found;
    std::copy_if(calls.begin(), calls.end(), std::back_inserter(found), [&](const auto& call) {
        return std::any_of(beginnings.begin(), beginnings.end(),
                           [&](const auto& beginning) { return call.starts_with(beginning); });
    });
    return found;
}

namespace {

#ifndef VIMBRA_EMULATOR // the command in front of the tool that runs it on this machine
#define VIMBRA_EMULATOR ""
#endif
constexpr const char* emulator = VIMBRA_EMULATOR;
constexpr int timeLimit = 120; // seconds; sanitizers and emulators take time
constexpr int timedOut = 124;  // the status that `timeout` gives

/// In memory, if there is a place: the tool syncs what it writes, and a disk takes its time.
std::string makeFolder()
{
    std::string path = access("/dev/shm", W_OK) == 0 ? "/dev/shm/" : testing::TempDir();
    path += "vimbra-XXXXXX";
    return mkdtemp(path.data()) != nullptr ? path : throw path;
}

} // namespace

ToolTest::ToolTest() : folder(makeFolder())
{
    shell("mkdir volatile");
}

ToolTest::~ToolTest()
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
    std::ifstream file(folder + "/" + name, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return file.is_open() ? content.str() : "(no file)";
}

ToolResult ToolTest::run(const std::string& arguments, const std::string& script) const
{
    write("trace", "");
    write("script", "set clock fast\n" + script);
    std::string command =
        "VIMBRA_SIM_SCRIPT=script VIMBRA_SIM_TRACE=trace VIMBRA_SIM_VOLATILE=volatile "
        "ASAN_OPTIONS=verify_asan_link_order=0 ";
    const std::string preload = "LD_PRELOAD=" VIMBRA_DEVICE_NODES " ";
    const bool isEmulated = *emulator != '\0'; // which would take the library for its own
    command += isEmulated ? std::string(emulator) + " -E " + preload : preload;
    command += "'" VIMBRA_TOOL "' " + arguments;
    // A run that never ends is not to fill the disk.
    write("command", "ulimit -f 20000\n{ " + command + "; } >output 2>errors </dev/null\n");
    const std::string limits = "timeout --kill-after=5 " + std::to_string(timeLimit);
    const int ended = shell(limits + " sh command");
    const int status = WIFSIGNALED(ended) ? endedBy(WTERMSIG(ended)) : WEXITSTATUS(ended);
    EXPECT_NE(status, timedOut) << command;
    return {read("output"), read("errors"), status, splitLines(read("trace"))};
}
