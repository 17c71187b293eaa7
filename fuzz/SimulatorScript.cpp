// A script of the simulated instrument: it is refused with a message, or all that it plans can be
// carried out.

#include "fuzz/FuzzTarget.h"
#include "simulator/Script.h"
#include "simulator/Settings.h"

#include <sstream>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    simulator::Script script;
    const std::string text = toText(data, size);
    try {
        std::istringstream lines(text);
        script.read(lines);
    } catch (const simulator::ScriptError&) {
        return 0;
    }
    std::istringstream words(text);
    for (std::string key; words >> key;) {
        while (script.hasMore(key)) {
            const simulator::Outcome outcome = script.next(key);
            const bool fits = outcome.fits(key.substr(key.rfind(':') + 1));
            const std::string digits = outcome.text("hex");
            if (!fits || outcome.bytes("hex").size() * 2 != digits.size()) {
                std::abort();
            }
        }
    }
    const std::string& failure = script.setting("fail");
    if (!simulator::parseVersions(script.setting("pic-version")) ||
        !simulator::parseRange(script.setting("flash")) ||
        (failure != "none" && !simulator::parseFailure(failure))) {
        std::abort();
    }
    return 0;
}
