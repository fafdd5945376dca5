#include "Tools/tamselctl/Help.h"

#include <algorithm>
#include <sstream>

static constexpr std::size_t kWidth = 78;

std::string synopsis(const Option &option)
{
    return std::string(option.name) + (option.argument ? std::string(" ") + option.argument : "");
}

std::string synopsis(const Verb &verb)
{
    std::string result = std::string("tamselctl ") + verb.name;
    for (const Option &option : verb.options) {
        result += option.isRequired ? " " + synopsis(option) : " [" + synopsis(option) + "]";
        result += option.isRepeatable ? "..." : "";
    }
    return result + (*verb.operands ? std::string(" ") + verb.operands : "");
}

std::vector<TextBlock> textBlocks(const std::string &text)
{
    std::vector<TextBlock> blocks;
    std::istringstream lines(text);
    bool isNew = true;
    for (std::string line; std::getline(lines, line);) {
        if (line.empty()) {
            isNew = true;
            continue;
        }
        const bool isExample = line.starts_with(' ');
        if (isNew || blocks.back().isExample != isExample)
            blocks.push_back({isExample, line});
        else
            blocks.back().text += (isExample ? "\n" : " ") + line;
        isNew = false;
    }
    return blocks;
}

/// The words of `text` in lines of at most `kWidth` characters, each line after `indent` spaces.
static std::string wrapped(const std::string &text, std::size_t indent)
{
    std::istringstream words(text);
    std::string result;
    std::string line;
    for (std::string word; words >> word;) {
        if (!line.empty() && indent + line.size() + 1 + word.size() > kWidth) {
            result += std::string(indent, ' ') + line + "\n";
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    return result + std::string(indent, ' ') + line + "\n";
}

static std::string columns(const std::string &left, const std::string &right, std::size_t width)
{
    const std::size_t padding = width > left.size() ? width - left.size() : 1;
    return "  " + left + std::string(padding, ' ') + wrapped(right, width + 2).substr(width + 2);
}

static std::string summaries(const std::string &firstWord = {})
{
    std::string result;
    for (const Verb &verb : verbs()) {
        if (std::string(verb.name).starts_with(firstWord))
            result += columns(verb.name, verb.summary, 16);
    }
    return result;
}

std::string usage()
{
    return "Usage: tamselctl [--json] COMMAND [OPTION]... [WORD]...\n\n" + summaries() +
           "\n"
           "tamselctl COMMAND --help tells more about one of them. --json prints one JSON\n"
           "object a line. --version prints the version, --man the source of the manual.\n";
}

std::string helpForGroup(const std::string &word)
{
    std::string result;
    for (const Verb &verb : verbs()) {
        if (std::string(verb.name).starts_with(word + " "))
            result += (result.empty() ? "" : "\n") + help(verb);
    }
    return result;
}

std::string help(const Verb &verb)
{
    std::string result = "Usage: " + synopsis(verb) + "\n\n";
    const std::string summary = verb.summary;
    result += wrapped(summary + ".", 0);
    for (const TextBlock &block : textBlocks(verb.help))
        result += "\n" + (block.isExample ? block.text + "\n" : wrapped(block.text, 0));
    if (!verb.options.empty())
        result += "\nOptions:\n";
    for (const Option &option : verb.options)
        result += columns(synopsis(option), option.help, 16);
    return result;
}

std::string versionLine()
{
    return "tamselctl " TAMSEL_VERSION "\n";
}
