#include "simulator/Call.h"

#include "simulator/Report.h"
#include "simulator/Script.h"

#include <csignal>
#include <cstring>

namespace simulator {

namespace {

unsigned long callsMade = 0;

} // namespace

Call::Call(const std::string& key, const std::string& callText)
    : text(callText), planned(Script::instance().next(key))
{
    const auto failure = Script::instance().failureAt(++callsMade);
    if (failure && failure->fits(key.substr(key.rfind(':') + 1))) {
        planned = *failure;
        isInjected = true;
    }
    if (planned.has("kill-before")) {
        showAs(text + " = killed");
        std::raise(SIGKILL);
    }
}

Call::~Call()
{
    if (planned.has("kill")) {
        std::raise(SIGKILL);
    }
    if (planned.has("signal")) {
        std::raise(static_cast<int>(planned.number("signal", 0)));
    }
}

std::string Call::nameError(int error)
{
    const char* const name = strerrorname_np(error);
    return name != nullptr ? name : "error " + std::to_string(error);
}

void Call::showAs(const std::string& line) const
{
    trace(isInjected ? line + " (injected)" : line);
}

} // namespace simulator
