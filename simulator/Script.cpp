#include "simulator/Script.h"

#include "simulator/Channels.h"
#include "simulator/Report.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <sstream>

namespace simulator {

namespace {

struct Setting {
    std::string value;
    const char* form;                    ///< what a value looks like, for the user
    std::vector<std::string> words = {}; ///< that a value can be; if there are none, it has numbers
    std::string separators = {};         ///< between the numbers
    long long limit = UINT32_MAX;        ///< of the numbers
};

// All live on when the program ends, since it still makes calls then.
auto& outcomes = *new std::map<std::string, std::deque<Outcome>>;
auto& settings = *new std::map<std::string, Setting>{
    {"pic", {"normal", "normal, silent, late or refuse", {"normal", "silent", "late", "refuse"}}},
    {"pic-version", {"1.0.0", "three numbers, such as 3.1.20", {}, "..", 0xFFFF}},
    {"gps-mode", {"1", "a number up to 255", {}, "", 255}},
    {"gps-version", {"1", "a number of 32 bits"}},
    {"flash", {"0-0xFFFFFFFF", "FIRST-LAST, addresses", {}, "-"}},
    {"clock", {"real", "real or fast", {"real", "fast"}}},
    {"globals", {"hidden", "hidden or shown", {"hidden", "shown"}}},
    {"fail", {"none", "\"K OUTCOME\", or none", {"none"}}},
};

std::string place; ///< in a script, in front of what is wrong there

/// Refuses what has a fault.
void expectNone(const std::string& fault)
{
    if (!fault.empty()) {
        refuseToStart(place + fault);
    }
}

/// The numbers between the separators; below 0 what is none.
std::vector<long long> numbersIn(const std::string& value, const std::string& separators)
{
    std::istringstream parts(value);
    std::vector<long long> numbers;
    for (const char separator : separators + "\n") {
        std::string part;
        std::getline(parts, part, separator);
        numbers.push_back(parseNumber(part).value_or(-1));
    }
    return numbers;
}

bool fits(const std::string& value, const Setting& row)
{
    if (row.words.empty()) {
        const auto numbers = numbersIn(value, row.separators);
        return std::ranges::min(numbers) >= 0 && std::ranges::max(numbers) <= row.limit &&
               (row.separators != "-" || numbers[0] <= numbers[1]);
    }
    const std::size_t blank = std::min(value.find(' '), value.size());
    const bool isFailure = parseNumber(value.substr(0, blank)).value_or(0) > 0 &&
                           findOutcomeFault("", value.substr(blank).erase(0, 1)).empty();
    return std::ranges::count(row.words, value) != 0 || (&row == &settings.at("fail") && isFailure);
}

void change(const std::string& name, const std::string& value)
{
    std::string names;
    for (auto& [known, row] : settings) {
        names += " " + known;
        if (known == name) {
            const std::string fault = "the setting \"" + name + "\" takes " + row.form;
            expectNone(fits(value, row) ? "" : fault + ", not \"" + value + "\"");
            row.value = value;
            return;
        }
    }
    expectNone("no setting is called \"" + name + "\"; there are" + names);
}

void planOutcomes(const std::vector<std::string>& words)
{
    const std::string& key = words.front();
    expectNone(isCallKey(key) ? "" : "no call has the key \"" + key + "\"");
    const std::string path = key.substr(0, key.rfind(':'));
    const bool isNoDevice = path.starts_with("/dev/") && !isDeviceNode(path);
    expectNone(isNoDevice ? "no simulated device is called \"" + path + "\"" : "");
    std::deque<Outcome>& planned = outcomes[key];
    for (auto word = words.begin() + 1; word != words.end(); ++word) {
        expectNone(findOutcomeFault(key, *word));
        planned.emplace_back(*word);
    }
}

void readLine(const std::string& line)
{
    const bool isOpen = std::ranges::count(line, '"') % 2 != 0;
    expectNone(isOpen ? "a quotation mark is missing" : "");
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; stream >> std::quoted(word, '"', '\0');) {
        words.push_back(word);
    }
    if (!words.empty() && words.front() == "set") {
        expectNone(words.size() == 3 ? "" : "a setting is \"set NAME VALUE\"");
        change(words[1], words[2]);
    } else if (!words.empty()) {
        planOutcomes(words);
    }
}

void readScript(const std::string& path)
{
    const std::string start = "script " + path + ": ";
    std::ifstream script(path);
    int lineNumber = 0;
    for (std::string line; std::getline(script, line);) {
        place = start + "line " + std::to_string(++lineNumber) + ": ";
        readLine(line);
    }
    place = start;
    expectNone(script.is_open() && !script.bad() ? "" : "can't be read");
    place = "";
}

/// Reads all before `main`, so that a fault is told in time.
[[maybe_unused]] const bool isStarted = [] {
    openReports();
    const char* const path = std::getenv("VIMBRA_SIM_SCRIPT");
    if (path != nullptr && *path != '\0') {
        readScript(path);
    }
    const char* const given = std::getenv("VIMBRA_SIM_SETTINGS");
    std::istringstream lines(given != nullptr ? given : "");
    for (std::string line; std::getline(lines, line);) {
        const std::size_t equals = line.find('=');
        expectNone(equals != std::string::npos ? ""
                                               : "the setting \"" + line + "\" is not NAME=VALUE");
        change(line.substr(0, equals), line.substr(equals + 1));
    }
    return true;
}();

} // namespace

Outcome takeOutcome(const std::string& key)
{
    if (findOutcomes(key) == nullptr || findOutcomes(key)->empty()) {
        return {};
    }
    Outcome outcome = outcomes[key].front();
    outcomes[key].pop_front();
    return outcome;
}

const std::deque<Outcome>* findOutcomes(const std::string& key)
{
    const auto found = outcomes.find(key);
    return found != outcomes.end() ? &found->second : nullptr;
}

const std::string& setting(const char* name)
{
    return settings.at(name).value;
}

std::vector<long long> numberSetting(const char* name)
{
    return numbersIn(setting(name), settings.at(name).separators);
}

} // namespace simulator
