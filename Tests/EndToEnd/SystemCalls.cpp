#include "Tests/EndToEnd/SystemCalls.h"

#include <algorithm>
#include <map>
#include <string_view>

using std::string_literals::operator""s;

namespace {

constexpr std::string_view kUnfinished = " <unfinished ...>";

/// Where the string in quotes that begins at `at` ends.
std::size_t endOfString(const std::string &text, std::size_t at)
{
    for (++at; at < text.size() && text[at] != '"'; ++at)
        at += text[at] == '\\' ? 1 : 0;
    return at;
}

/// Fills in arguments and result from "ARGUMENTS) = RESULT"; without effect on those when there is no result.
void readRest(SystemCall &call, const std::string &text)
{
    std::size_t at = 0;
    std::size_t start = 0;
    for (int depth = 0; at < text.size() && depth >= 0; ++at) {
        if (text[at] == '"')
            at = endOfString(text, at);
        else if (text.compare(at, 2, "=>") == 0)
            ++at;
        else if ("([{<"s.find(text[at]) != std::string::npos)
            ++depth;
        else if (")]}>"s.find(text[at]) != std::string::npos)
            --depth;
        const bool isLast = depth < 0;
        if (isLast || (depth == 0 && text[at] == ',')) {
            call.arguments.push_back(text.substr(start, at - start));
            start = std::min(at + 2, text.size());
        }
    }
    const std::size_t result = text.find("= ", at);
    if (result != std::string::npos)
        call.result = text.substr(result + 2);
}

bool startsThreadOrProcess(const SystemCall &call)
{
    return call.name.starts_with("clone") || call.name.ends_with("fork");
}

/// Puts the process in the place of the thread.
void joinThreads(std::vector<SystemCall> &calls)
{
    std::map<int, int> creators;
    for (const SystemCall &call : calls) {
        const bool isThread = std::ranges::any_of(call.arguments, [](const std::string &argument) {
            return argument.find("CLONE_THREAD") != std::string::npos;
        });
        if (isThread && startsThreadOrProcess(call))
            creators[std::stoi(call.result)] = call.process;
    }
    for (SystemCall &call : calls) {
        const bool isThreadsEnd = call.name == SystemCall::kEnd && creators.contains(call.process);
        for (auto found = creators.find(call.process); found != creators.end(); found = creators.find(call.process))
            call.process = found->second;
        if (isThreadsEnd)
            call.result = "-1"; // no process has ended
    }
}

class Reader final
{
public:
    void line(const std::string &line)
    {
        const std::size_t space = line.find_first_not_of(' ', line.find(' '));
        if (space == std::string::npos)
            return;
        const int thread = std::stoi(line);
        const std::string text = line.substr(space);
        if (text.starts_with("+++ "))
            calls.push_back({thread, SystemCall::kEnd, {}, text});
        else if (text.starts_with("--- "))
            calls.push_back({thread, SystemCall::kSignal, {text.substr(4, text.find(' ', 4) - 4)}, {}});
        else if (text.starts_with("<... "))
            finish(thread, text.substr(std::min(text.find('>') + 1, text.size())));
        else
            begin(thread, text);
    }

    std::vector<SystemCall> calls;

private:
    struct Begun
    {
        std::size_t index;
        std::string text;
    };

    void begin(int thread, const std::string &text)
    {
        const std::size_t bracket = text.find('(');
        if (bracket == std::string::npos)
            return;
        calls.push_back({thread, text.substr(0, bracket), {}, "-1"});
        const std::string rest = text.substr(bracket + 1);
        if (rest.ends_with(kUnfinished))
            m_begun[thread] = {calls.size() - 1, rest.substr(0, rest.size() - kUnfinished.size())};
        else
            readRest(calls.back(), rest);
    }

    void finish(int thread, const std::string &rest)
    {
        if (const auto begun = m_begun.extract(thread); !begun.empty())
            readRest(calls[begun.mapped().index], begun.mapped().text + rest);
    }

    std::map<int, Begun> m_begun;
};

} // namespace

std::vector<SystemCall> readSystemCalls(std::istream &trace)
{
    Reader reader;
    for (std::string line; std::getline(trace, line);)
        reader.line(line);
    joinThreads(reader.calls);
    std::erase_if(reader.calls,
                  [](const SystemCall &call) { return call.result.starts_with('-') || call.result.starts_with('?'); });
    return std::move(reader.calls);
}

/// The character of an escape that begins behind the backslash at `at`, which is moved to its end.
static char escaped(const std::string &text, std::size_t &at)
{
    static const std::string names = "ntrfv";
    static const std::string characters = "\n\t\r\f\v";
    if (const std::size_t known = names.find(text[at]); known != std::string::npos)
        return characters[known];
    if (text[at] < '0' || text[at] > '7')
        return text[at];
    int value = 0;
    const std::size_t first = at;
    for (; at < text.size() && at < first + 3 && text[at] >= '0' && text[at] <= '7'; ++at)
        value = value * 8 + (text[at] - '0');
    --at;
    return char(value);
}

std::vector<std::string> stringsIn(const std::string &argument)
{
    std::vector<std::string> strings;
    for (std::size_t at = argument.find('"'); at < argument.size(); at = argument.find('"', at + 1)) {
        const std::size_t end = std::min(endOfString(argument, at), argument.size());
        std::string &text = strings.emplace_back();
        for (++at; at < end; ++at)
            text += argument[at] == '\\' && at + 1 < end ? escaped(argument, ++at) : argument[at];
    }
    return strings;
}
