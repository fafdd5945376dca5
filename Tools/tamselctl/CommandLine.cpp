#include "Tools/tamselctl/CommandLine.h"

#include "Tools/tamselctl/Help.h"
#include "Tools/tamselctl/Invocation.h"
#include "Tools/tamselctl/ManualPage.h"

#include <algorithm>
#include <cstdio>

using Words = std::vector<std::string>;

static ExitCode say(const std::string &text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
    return ExitCode::Done;
}

static ExitCode refuse(const std::string &reason)
{
    std::fprintf(stderr, "tamselctl: %s\n%s", reason.c_str(), usage().c_str());
    return ExitCode::WrongUse;
}

static const Verb *verbNamed(const std::string &name)
{
    const auto all = verbs();
    const auto found = std::find_if(all.begin(), all.end(), [&](const Verb &verb) { return verb.name == name; });
    return found == all.end() ? nullptr : &*found;
}

static bool isFirstWordOfVerbs(const std::string &word)
{
    const auto all = verbs();
    return std::any_of(all.begin(), all.end(),
                       [&](const Verb &verb) { return std::string(verb.name).starts_with(word + " "); });
}

static const Option *optionNamed(const Verb &verb, const std::string &name)
{
    const auto found = std::find_if(verb.options.begin(), verb.options.end(),
                                    [&](const Option &option) { return option.name == name; });
    return found == verb.options.end() ? nullptr : &*found;
}

/// Sorts the words behind the verb into options and operands. Answers what is wrong with them, empty when nothing is.
static std::string sortWords(const Words &words, std::size_t next, Invocation &invocation)
{
    bool isPastOptions = false;
    for (; next < words.size(); ++next) {
        const std::string &word = words[next];
        if (isPastOptions || !word.starts_with("-") || word == "-") {
            invocation.operands.push_back(word);
            continue;
        }
        if (word == "--") {
            isPastOptions = true;
            continue;
        }
        if (word == "--json") {
            invocation.isJson = true;
            continue;
        }
        const std::size_t equals = word.find('=');
        const std::string name = word.substr(0, equals);
        const Option *option = optionNamed(invocation.verb(), name);
        if (!option)
            return "there is no option " + name;
        if (!option->argument && equals != std::string::npos)
            return name + " takes no argument";
        if (option->argument && equals == std::string::npos && next + 1 == words.size())
            return name + " needs its argument " + option->argument;
        std::string argument;
        if (option->argument)
            argument = equals == std::string::npos ? words[++next] : word.substr(equals + 1);
        invocation.options[name] = argument;
        invocation.allArguments[name].push_back(argument);
    }
    for (const Option &option : invocation.verb().options) {
        if (option.isRequired && !invocation.options.contains(option.name))
            return "the option " + synopsis(option) + " is missing";
    }
    const std::size_t count = invocation.operands.size();
    if (count < invocation.verb().fewestOperands)
        return "something is missing";
    if (count > invocation.verb().mostOperands)
        return "one word too many: " + invocation.operands[invocation.verb().mostOperands];
    return {};
}

static bool asksForHelp(const Words &words, std::size_t next)
{
    const auto end = std::find(words.begin(), words.end(), "--");
    return std::any_of(words.begin() + std::ptrdiff_t(std::min(next, words.size())), end,
                       [](const std::string &word) { return word == "--help" || word == "-h"; });
}

static ExitCode runVerb(const Words &words, std::size_t at, bool isJson, const std::function<void()> &prepare)
{
    const Verb *verb = verbNamed(words[at]);
    std::size_t next = at + 1;
    if (!verb && isFirstWordOfVerbs(words[at])) {
        if (next < words.size() && words[next] == "--help")
            return say(helpForGroup(words[at]));
        verb = next < words.size() ? verbNamed(words[at] + " " + words[next]) : nullptr;
        ++next;
    }
    if (!verb)
        return refuse("there is no command " + words[at] +
                      (next == at + 2 && next <= words.size() ? " " + words[at + 1] : ""));
    if (asksForHelp(words, next))
        return say(help(*verb));
    Invocation invocation(*verb);
    invocation.isJson = isJson;
    const std::string fault = sortWords(words, next, invocation);
    if (!fault.empty())
        return invocation.refuse(fault);
    prepare();
    return verb->run(invocation);
}

ExitCode runCommandLine(const Words &words, const std::function<void()> &prepare)
{
    std::size_t at = 0;
    const bool isJson = !words.empty() && words[0] == "--json";
    if (isJson)
        ++at;
    if (at == words.size())
        return refuse("what is to be done?");
    if (words[at] == "--help" || words[at] == "-h" || words[at] == "help")
        return say(usage());
    if (words[at] == "--version")
        return say(versionLine());
    if (words[at] == "--man")
        return say(manualPage());
    if (words[at].starts_with("-"))
        return refuse("there is no option " + words[at]);
    return runVerb(words, at, isJson, prepare);
}
