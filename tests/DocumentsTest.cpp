#include "tests/ToolRun.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <regex>
#include <sstream>

// What the documents say is held against the source and the program.

namespace {

const std::filesystem::path root = VIMBRA_SOURCE_FOLDER;

std::string readAll(const std::filesystem::path& path)
{
    std::ifstream file(path);
    std::ostringstream content;
    content << file.rdbuf();
    EXPECT_TRUE(file.is_open()) << path;
    return content.str();
}

/// What the first group of the pattern matches.
std::vector<std::string> findAll(const std::string& text, const std::string& pattern)
{
    const std::regex expression(pattern);
    std::vector<std::string> found;
    for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end;
         ++match) {
        found.push_back(match->str(1));
    }
    return found;
}

/// The parts of a printed line that are always the same, in their order.
using Message = std::vector<std::string>;

/// The lines that string literals, one behind the other in the source, print.
std::vector<Message> readMessages(const std::string& literals)
{
    std::vector<Message> messages{{""}};
    bool isQuoted = false;
    for (std::size_t i = 0; i < literals.size(); ++i) {
        if (literals[i] == '"') {
            isQuoted = !isQuoted;
        } else if (isQuoted && literals[i] == '\\') {
            messages.push_back({""});
            ++i;
        } else if (isQuoted && literals[i] == '%') {
            while (std::isalpha(static_cast<unsigned char>(literals[++i])) == 0) {
                isQuoted = isQuoted != (literals[i] == '"');
            }
            i += literals[i] == 'l' ? 1U : 0U;
            messages.back().emplace_back();
        } else if (isQuoted) {
            messages.back().back() += literals[i];
        }
    }
    std::erase_if(messages, [](const Message& message) {
        return std::none_of(message.begin(), message.end(), [](const std::string& part) {
            return std::regex_search(part, std::regex("[A-Za-z]{2}"));
        });
    });
    return messages;
}

bool isShown(const Message& message, const std::string& text)
{
    std::size_t position = 0;
    for (const std::string& part : message) {
        const auto begin = std::min(part.find_first_not_of(' '), part.size());
        const std::string fixed = part.substr(begin, part.find_last_not_of(' ') + 1 - begin);
        position = text.find(fixed, position);
        if (position == std::string::npos) {
            return false;
        }
        position += fixed.size();
    }
    return true;
}

/// Names of files and options hold no blank, capitalized word or line end; other texts are printed.
std::vector<Message> messagesOfSource()
{
    const std::string literal = R"re("(?:[^"\\\n]|\\.)*")re";
    std::vector<Message> messages;
    for (const char* room : {"app", "base", "firmware", "pic", "listeners", "control"}) {
        for (const auto& file : std::filesystem::directory_iterator(root / room)) {
            const std::string source =
                std::regex_replace(readAll(file), std::regex("#include.*|//.*"), "");
            for (const std::string& text :
                 findAll(source, "(" + literal + R"((?:\s+(?:PRI\w+\s+)?)" + literal + ")*)")) {
                if (std::regex_search(text, std::regex(R"( |[A-Z][a-z]|\\n)"))) {
                    const std::vector<Message> lines = readMessages(text);
                    messages.insert(messages.end(), lines.begin(), lines.end());
                }
            }
        }
    }
    return messages;
}

} // namespace

TEST(Documents, ListEveryMessageAndNoOthers)
{
    const std::string page = readAll(root / "docs/messages.md");
    const std::vector<std::string> shown = findAll(page, "`([^`\n]+)`");
    const std::vector<Message> messages = messagesOfSource();
    EXPECT_GT(messages.size(), 100U);
    for (const Message& message : messages) {
        EXPECT_TRUE(std::any_of(shown.begin(), shown.end(),
                                [&](const std::string& text) { return isShown(message, text); }))
            << "docs/messages.md lacks: " << testing::PrintToString(message);
    }
    for (const std::string& cell : findAll(page, "\n\\| (`(?!--)[^|]*`) \\|")) {
        for (const std::string& text : findAll(cell, "`([^`\n]+)`")) {
            EXPECT_TRUE(std::any_of(messages.begin(), messages.end(),
                                    [&](const Message& message) { return isShown(message, text); }))
                << "the tool does not print: " << text;
        }
    }
}

class DocumentsOfOptions : public ToolTest {};

TEST_F(DocumentsOfOptions, AreTheManualPageAndTheCompletion)
{
    const std::vector<std::string> options = findAll(run("--help").output, "\t-([a-z-]+.*)\n");
    EXPECT_EQ(options.size(), 11U);
    const std::string page = readAll(root / "packaging/man/vimbra-tool.1");
    const std::string completion = readAll(root / "packaging/completion/vimbra-tool");
    for (const std::string& option : options) {
        const std::string name = option.substr(0, option.find(' '));
        const std::string argument = name == option ? "" : " Ar \\w+";
        EXPECT_EQ(findAll(page, "\n(\\.It Fl Fl " + name + argument + ")\n").size(), 1U) << name;
        EXPECT_NE(completion.find("--" + name), std::string::npos) << name;
    }
    EXPECT_EQ(findAll(page, "\n\\.It Fl Fl ([a-z-]+)").size(), options.size());
}
