#pragma once

#include "simulator/Outcome.h"

#include <deque>
#include <iosfwd>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>

namespace simulator {

/// A setting or a line of a script that means nothing.
class ScriptError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What is to happen in a run (docs/simulator.md). Calls beyond the last outcome, or without any,
/// take their ordinary course.
class Script {
public:
    /// What the environment says: the file that VIMBRA_SIM_SCRIPT names, then one setting
    /// NAME=VALUE per line of VIMBRA_SIM_SETTINGS. A fault in them ends the process.
    static Script& instance();

    /// Nothing but ordinary courses, and every setting as it is at first.
    Script();

    /// Takes the lines of a script. Throws `ScriptError`.
    void read(std::istream& lines);

    /// Makes a setting. Throws `ScriptError`.
    void set(const std::string& name, const std::string& value);

    /// The next outcome for the key, or the ordinary one.
    Outcome next(const std::string& key);

    /// What `next` will return.
    Outcome upcoming(const std::string& key) const;

    bool mentions(const std::string& key) const { return outcomes.contains(key); }
    bool hasMore(const std::string& key) const;

    /// The value of a setting, or its default.
    const std::string& setting(const std::string& name) const { return settings.at(name); }

    /// How the call with this number, counted from 1, is to end, if the run is to fail there.
    std::optional<Outcome> failureAt(unsigned long callNumber) const;

private:
    void readLine(const std::string& line);

    std::map<std::string, std::deque<std::string>> outcomes;
    std::map<std::string, std::string> settings;
};

} // namespace simulator
