#include "Tools/tamselctl/Invocation.h"

#include <charconv>
#include <cstdio>

std::optional<std::uint64_t> parseUnsigned(const std::string &text)
{
    std::uint64_t value = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || stop != end || error != std::errc())
        return std::nullopt;
    return value;
}

std::optional<std::uint64_t> Invocation::number(const std::string &option) const
{
    const auto found = options.find(option);
    return found == options.end() ? std::nullopt : parseUnsigned(found->second);
}

void Invocation::print(const Record &record, const std::string &text) const
{
    const std::string line = isJson ? record.toJson() + "\n" : text.empty() ? record.toText() : text;
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fflush(stdout);
}

ExitCode Invocation::fail(const std::string &reason) const
{
    note(reason);
    return ExitCode::Failed;
}

ExitCode Invocation::refuse(const std::string &reason) const
{
    note(reason);
    std::fprintf(stderr, "Usage: %s\n", synopsis(m_verb).c_str());
    return ExitCode::WrongUse;
}

void Invocation::note(const std::string &text) const
{
    std::fprintf(stderr, "tamselctl %s: %s\n", m_verb.name, text.c_str());
}
