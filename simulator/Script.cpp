#include "simulator/Script.h"

#include "simulator/Channels.h"
#include "simulator/Report.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <sstream>

namespace simulator {

namespace {

struct Setting {
    std::string value;
    std::string form;             ///< for the user; words that a value can be are joined by "|"
    std::string separators = {};  ///< between the numbers of which it consists otherwise
    long long limit = UINT32_MAX; ///< of the numbers
};

// Both outlive `main`, as calls do.
auto& outcomes = *new std::map<std::string, std::deque<Outcome>>;
auto& settings = *new std::map<std::string, Setting>{
    {"pic", {"normal", "normal|silent|late|refuse"}},
    {"pic-version", {"1.0.0", "three numbers, such as 3.1.20", "..", 0xFFFF}},
    {"gps-mode", {"1", "a number up to 255", "", 255}},
    {"gps-version", {"1", "a number of 32 bits"}},
    {"flash", {"0-0xFFFFFFFF", "FIRST-LAST, addresses", "-"}},
    {"clock", {"real", "real|fast"}},
    {"globals", {"hidden", "hidden|shown"}},
    {"fail", {"none", "\"K OUTCOME\"|none"}},
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

/// Whether the value is "K OUTCOME".
bool isFailure(const std::string& value)
{
    const std::size_t blank = std::min(value.find(' '), value.size());
    return parseNumber(value.substr(0, blank)).value_or(0) > 0 &&
           findOutcomeFault("", value.substr(blank).erase(0, 1)).empty();
}

bool fits(const std::string& value, const Setting& row)
{
    if (row.form.find('|') != row.form.npos) {
        const bool isWord = ("|" + row.form + "|").find("|" + value + "|") != row.form.npos;
        return (isWord && value.find('|') == value.npos) ||
               (&row == &settings.at("fail") && isFailure(value));
    }
    const auto numbers = numbersIn(value, row.separators);
    return std::ranges::min(numbers) >= 0 && std::ranges::max(numbers) <= row.limit &&
           (row.separators != "-" || numbers[0] <= numbers[1]);
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

std::vector<std::string> splitWords(const std::string& line)
{
    std::istringstream stream(line);
    std::vector<std::string> words;
    while (stream >> std::ws && !stream.eof()) {
        const bool isQuoted = stream.peek() == '"';
        std::string word;
        stream >> std::quoted(word);
        const bool isWhole =
            isQuoted ? stream && (stream.peek() == EOF || std::isspace(stream.peek()) != 0)
                     : word.find('"') == word.npos;
        expectNone(isWhole ? "" : "a quotation mark is missing");
        words.push_back(word);
    }
    return words;
}

void readLine(const std::string& line)
{
    const std::vector<std::string> words = splitWords(line);
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
        const std::string fault = "the setting \"" + line + "\" is not NAME=VALUE";
        expectNone(equals != std::string::npos ? "" : fault);
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
