#pragma once

#include <span>
#include <string>

class Invocation;

/// How tamselctl ends.
enum class ExitCode { Done = 0, Failed = 1, WrongUse = 2 };

/// An option that one verb takes.
struct Option
{
    const char *name;     ///< with its dashes
    const char *argument; ///< what its argument is called, nullptr when it takes none
    const char *help;     ///< one sentence
    bool isRequired = false;
    bool isRepeatable = false;
};

/// One thing that tamselctl does. The table of them is the only place where the command line is described: usage,
/// `--help` and the manual page are made from it.
struct Verb
{
    const char *name;     ///< one word, or two as in "alias make"
    const char *operands; ///< as the synopsis shows them
    std::size_t fewestOperands;
    std::size_t mostOperands;
    std::span<const Option> options;
    const char *summary; ///< one line, no full stop
    const char *help;    ///< paragraphs, an empty line between; a line that starts with a space stands as it is
    ExitCode (*run)(Invocation &invocation);
};

inline constexpr std::size_t kAnyNumber = std::size_t(-1);

/// Every verb, in the order in which the manual shows them.
std::span<const Verb> verbs();

/// What the manual says after the verbs: a heading and text in the form of `Verb::help`.
struct ManualSection
{
    const char *heading;
    const char *text;
};
std::span<const ManualSection> manualSections();

/// "tamselctl listen [--count N] [--timeout S]"
std::string synopsis(const Verb &verb);

/// "--count N"
std::string synopsis(const Option &option);
