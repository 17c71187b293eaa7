#include "simulator/Script.h"

#include "simulator/DeviceNames.h"
#include "simulator/Report.h"
#include "simulator/Settings.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <vector>

namespace simulator {

namespace {

const char* environment(const char* name)
{
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

/// Takes the word at the front of `rest`, in double quotes if it holds blanks.
std::string takeWord(std::string& rest)
{
    const bool isQuoted = rest.front() == '"';
    const std::size_t begin = isQuoted ? 1 : 0;
    const std::size_t end = rest.find_first_of(isQuoted ? "\"" : " \t\r", begin);
    if (isQuoted && end == std::string::npos) {
        throw ScriptError("a quotation mark is missing");
    }
    std::string word = rest.substr(begin, end - begin);
    rest = end == std::string::npos ? "" : rest.substr(end + begin);
    return word;
}

std::vector<std::string> splitWords(std::string line)
{
    std::vector<std::string> words;
    for (;;) {
        const std::size_t begin = line.find_first_not_of(" \t\r");
        if (begin == std::string::npos) {
            return words;
        }
        line = line.substr(begin);
        words.push_back(takeWord(line));
    }
}

/// The name of the call that a key stands for. Throws if there is no such call.
std::string callOfKey(const std::string& key)
{
    const std::size_t colon = key.rfind(':');
    const bool hasPath = colon != std::string::npos;
    std::string call = hasPath ? key.substr(colon + 1) : key;
    const auto kind = kindOfCall(call);
    if (!kind || hasPath != (kind == CallKind::fileCall)) {
        throw ScriptError("no call has the key \"" + key + "\"");
    }
    const std::string path = hasPath ? key.substr(0, colon) : "";
    if (path.starts_with("/dev/") && !isDeviceNode(path)) {
        throw ScriptError("no simulated device is called \"" + path + "\"");
    }
    return call;
}

void readFile(Script& script, const std::string& path)
{
    try {
        std::ifstream file(path);
        if (!file) {
            throw ScriptError("can't be read");
        }
        script.read(file);
    } catch (const ScriptError& error) {
        throw ScriptError("script " + path + ": " + error.what());
    }
}

void readEnvironment(Script& script)
{
    const std::string path = environment("VIMBRA_SIM_SCRIPT");
    if (!path.empty()) {
        readFile(script, path);
    }
    std::istringstream settings(environment("VIMBRA_SIM_SETTINGS"));
    for (std::string line; std::getline(settings, line);) {
        const std::size_t equals = line.find('=');
        if (equals == std::string::npos) {
            throw ScriptError("the setting \"" + line + "\" is not NAME=VALUE");
        }
        script.set(line.substr(0, equals), line.substr(equals + 1));
    }
}

} // namespace

Script& Script::instance()
{
    static Script script = [] {
        Script loaded;
        try {
            readEnvironment(loaded);
        } catch (const ScriptError& error) {
            refuseToStart(error.what());
        }
        return loaded;
    }();
    return script;
}

Script::Script()
{
    for (const SettingRule& rule : settingRules()) {
        settings[rule.name] = rule.initial;
    }
}

void Script::read(std::istream& lines)
{
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        try {
            readLine(line);
        } catch (const ScriptError& error) {
            throw ScriptError("line " + std::to_string(number) + ": " + error.what());
        }
    }
    if (lines.bad()) {
        throw ScriptError("can't be read");
    }
}

void Script::readLine(const std::string& line)
{
    const std::vector<std::string> words = splitWords(line);
    if (words.empty()) {
        return;
    }
    const std::string& key = words.front();
    if (key == "set") {
        if (words.size() != 3) {
            throw ScriptError("a setting is \"set NAME VALUE\"");
        }
        set(words[1], words[2]);
        return;
    }
    const std::string call = callOfKey(key);
    std::deque<std::string>& planned = outcomes[key];
    for (auto word = words.begin() + 1; word != words.end(); ++word) {
        if (const std::string fault = findOutcomeFault(call, *word); !fault.empty()) {
            throw ScriptError(fault);
        }
        planned.push_back(*word);
    }
}

void Script::set(const std::string& name, const std::string& value)
{
    const auto& rules = settingRules();
    const auto rule =
        std::find_if(rules.begin(), rules.end(), [&](const auto& row) { return row.name == name; });
    if (rule == rules.end()) {
        throw ScriptError("no setting is called \"" + name + "\"");
    }
    if (!rule->accepts(value)) {
        throw ScriptError("the setting \"" + name + "\" takes " + rule->form + ", not \"" + value +
                          "\"");
    }
    settings[name] = value;
}

Outcome Script::next(const std::string& key)
{
    Outcome outcome = upcoming(key);
    if (hasMore(key)) {
        outcomes[key].pop_front();
    }
    return outcome;
}

Outcome Script::upcoming(const std::string& key) const
{
    return hasMore(key) ? Outcome(outcomes.at(key).front()) : Outcome();
}

bool Script::hasMore(const std::string& key) const
{
    return mentions(key) && !outcomes.at(key).empty();
}

std::optional<Outcome> Script::failureAt(unsigned long callNumber) const
{
    const auto failure = parseFailure(setting("fail"));
    if (!failure || failure->callNumber != callNumber) {
        return std::nullopt;
    }
    return Outcome(failure->outcome);
}

} // namespace simulator
