#include "Tools/tamselctl/ManualPage.h"

#include "Tools/tamselctl/Help.h"
#include "Tools/tamselctl/Verb.h"

#include <sstream>

/// Text as it is, whatever the formatter would make of its characters.
static std::string plain(const std::string &text)
{
    std::string result;
    bool isLineStart = true;
    for (const char character : text) {
        if (isLineStart && (character == '.' || character == '\''))
            result += "\\&";
        switch (character) {
        case '\\':
            result += "\\e";
            break;
        case '-':
            result += "\\-";
            break;
        case '~':
            result += "\\(ti";
            break;
        case '^':
            result += "\\(ha";
            break;
        case '"':
            result += "\\(dq";
            break;
        case '\'':
            result += "\\(aq";
            break;
        default:
            result += character;
        }
        isLineStart = character == '\n';
    }
    return result;
}

/// A line for each sentence, as the format likes it.
static std::string filled(const std::string &text)
{
    std::string result = plain(text);
    for (std::size_t at = 0; (at = result.find(". ", at)) != std::string::npos; ++at)
        result[at + 1] = '\n';
    return result + "\n";
}

static std::string body(const std::string &text, bool isIndented)
{
    std::string result;
    bool isFirst = true;
    for (const TextBlock &block : textBlocks(text)) {
        if (!isFirst)
            result += isIndented ? ".IP\n" : ".PP\n";
        result += block.isExample ? ".nf\n" + plain(block.text) + "\n.fi\n" : filled(block.text);
        isFirst = false;
    }
    return result;
}

static std::string heading(const Option &option)
{
    const std::string name = "\\fB" + plain(option.name) + "\\fR";
    return option.argument ? name + " \\fI" + plain(option.argument) + "\\fR" : name;
}

static std::string heading(const Verb &verb)
{
    std::string result = "\\fB" + plain(verb.name) + "\\fR";
    for (const Option &option : verb.options) {
        result += option.isRequired ? " " + heading(option) : " [" + heading(option) + "]";
        result += option.isRepeatable ? "..." : "";
    }
    return *verb.operands ? result + " \\fI" + plain(verb.operands) + "\\fR" : result;
}

static std::string entry(const Verb &verb)
{
    std::string result = ".TP\n" + heading(verb) + "\n" + plain(verb.summary) + ".\n";
    if (*verb.help)
        result += ".IP\n" + body(verb.help, true);
    if (verb.options.empty())
        return result;
    result += ".RS\n";
    for (const Option &option : verb.options)
        result += ".TP\n" + heading(option) + "\n" + filled(option.help);
    return result + ".RE\n";
}

std::string manualPage()
{
    std::string result = ".TH TAMSELCTL 1 \"\" \"Tamsel " TAMSEL_VERSION "\" \"User Commands\"\n"
                         ".SH NAME\ntamselctl \\- ask and tell Tamsel from the command line\n"
                         ".SH SYNOPSIS\n\\fBtamselctl\\fR [\\fB\\-\\-json\\fR] \\fICOMMAND\\fR "
                         "[\\fIOPTION\\fR]... [\\fIWORD\\fR]...\n";
    bool isFirst = true;
    for (const ManualSection &section : manualSections()) {
        result += std::string(".SH ") + section.heading + "\n" + body(section.text, false);
        if (isFirst) {
            result += ".SH COMMANDS\n";
            for (const Verb &verb : verbs())
                result += entry(verb);
        }
        isFirst = false;
    }
    return result;
}
