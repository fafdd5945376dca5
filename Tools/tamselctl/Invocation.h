#pragma once

#include "Platform/Result.h"
#include "Tools/tamselctl/Record.h"
#include "Tools/tamselctl/Verb.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

/// One call of a verb: what was asked, and where the answer goes.
class Invocation final
{
public:
    explicit Invocation(const Verb &verb)
        : m_verb(verb)
    {
    }

    const Verb &verb() const { return m_verb; }
    bool isJson = false;
    std::vector<std::string> operands;                            ///< the bytes of the command line
    std::map<std::string, std::string> options;                   ///< with the argument that was given last
    std::map<std::string, std::vector<std::string>> allArguments; ///< of each option that was given, in their order

    /// The option's argument as a number from 0 to 2^64-1, or nothing when it was not given or is none.
    std::optional<std::uint64_t> number(const std::string &option) const;

    /// Writes the record as a line of JSON, or in words: `text` (with its line ends) where one is given, else
    /// `Record::toText`. Reaches the reader at once.
    void print(const Record &record, const std::string &text = {}) const;

    /// Says on standard error why it did not work. Answers `Failed`.
    ExitCode fail(const std::string &reason) const;
    ExitCode fail(const Failure &failure) const { return fail(failure.context); }

    /// Says on standard error what is wrong with the command line. Answers `WrongUse`.
    ExitCode refuse(const std::string &reason) const;

    /// Says something on standard error that changes nothing.
    void note(const std::string &text) const;

private:
    const Verb &m_verb;
};

/// Decimal digits only, up to 2^64-1.
std::optional<std::uint64_t> parseUnsigned(const std::string &text);
