#include "simulator/Call.h"

#include "simulator/Report.h"
#include "simulator/Script.h"

#include <csignal>
#include <cstring>

namespace simulator {

Call::Call(const std::string& key, const std::string& arguments) : planned(takeOutcome(key))
{
    const std::size_t colon = key.rfind(':');
    const std::string path = colon == std::string::npos ? "" : key.substr(0, colon);
    const bool isList = colon != std::string::npos && !arguments.empty();
    text = key.substr(colon + 1) + "(" + path + (isList ? ", " : "") + arguments + ")";

    static long long callsMade = 0;
    const std::string& failure = setting("fail"); // "K OUTCOME"
    const std::size_t blank = failure.find(' ');
    isInjected = parseNumber(failure.substr(0, blank)) == ++callsMade &&
                 findOutcomeFault(key, failure.substr(blank + 1)).empty();
    if (isInjected) {
        planned = Outcome(failure.substr(blank + 1));
    }
}

Call::~Call()
{
    if (planned.has("kill") || planned.has("signal")) {
        std::raise(static_cast<int>(planned.number("signal", SIGKILL)));
    }
}

void Call::show(const std::string& result) const
{
    trace(text + result + (isInjected ? " (injected)" : ""));
}

std::string Call::nameError(int error)
{
    const char* const name = strerrorname_np(error);
    return name != nullptr ? name : "error " + std::to_string(error);
}

} // namespace simulator
