// A script of the simulated instrument is refused, or all that it plans can be carried out.

#include "fuzz/FuzzTarget.h"
#include "simulator/Script.h"
#include "simulator/Settings.h"

#include <sstream>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    simulator::Script script;
    std::istringstream lines(toText(data, size));
    std::istringstream words(lines.str());
    try {
        script.read(lines);
    } catch (const simulator::ScriptError&) {
        return 0;
    }
    for (std::string key; words >> key;) {
        while (script.hasMore(key)) {
            const simulator::Outcome outcome = script.next(key);
            expect(outcome.fits(key.substr(key.rfind(':') + 1)), "outcomes that fit");
            expect(outcome.bytes("hex").size() * 2 == outcome.text("hex").size(), "whole bytes");
        }
    }
    const std::string& failure = script.setting("fail");
    expect(simulator::parseVersions(script.setting("pic-version")) &&
               simulator::parseRange(script.setting("flash")) &&
               (failure == "none" || simulator::parseFailure(failure)),
           "settings that can be read");
    return 0;
}
