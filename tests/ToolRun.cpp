#include "tests/ToolRun.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
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

std::vector<std::string> ToolResult::callsOf(const std::vector<std::string>& beginnings) const
{
    std::vector<std::string> found;
    std::copy_if(calls.begin(), calls.end(), std::back_inserter(found), [&](const auto& call) {
        return std::any_of(beginnings.begin(), beginnings.end(),
                           [&](const auto& beginning) { return call.starts_with(beginning); });
    });
    return found;
}

const std::string ToolTest::tool = VIMBRA_TOOL;

ToolTest::ToolTest()
    : folder(std::filesystem::path(testing::TempDir()) / ("vimbra-" + std::to_string(getpid())))
{
    std::filesystem::create_directories(folder / "volatile");
}

ToolTest::~ToolTest()
{
    std::filesystem::remove_all(folder);
}

void ToolTest::write(const std::string& name, const std::string& content) const
{
    std::ofstream(folder / name, std::ios::binary) << content;
}

std::string ToolTest::read(const std::string& name) const
{
    std::ifstream file(folder / name, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return file.is_open() ? content.str() : "(no file)";
}

ToolResult ToolTest::run(const std::string& arguments, const std::string& script) const
{
    write("script", "set clock fast\n" + script);
    return runCommand(
        "VIMBRA_SIM_SCRIPT=script VIMBRA_SIM_TRACE=trace VIMBRA_SIM_VOLATILE=volatile "
        "ASAN_OPTIONS=verify_asan_link_order=0 " VIMBRA_START_SIMULATED,
        arguments);
}

ToolResult ToolTest::runPlainly(const std::string& arguments) const
{
    return runCommand(VIMBRA_START_PLAINLY, arguments);
}

ToolResult ToolTest::runCommand(const std::string& environment, const std::string& arguments) const
{
    const std::string command = "cd '" + folder.string() + "' && { " + environment + " '" + tool +
                                "' " + arguments + "; } >output 2>errors </dev/null";
    std::filesystem::remove(folder / "trace");
    const int status = std::system(command.c_str());
    const std::string trace = read("trace");
    return {read("output"), read("errors"), WEXITSTATUS(status),
            splitLines(trace == "(no file)" ? "" : trace)};
}
