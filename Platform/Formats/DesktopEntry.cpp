#include "Platform/Formats/DesktopEntry.h"

#include <algorithm>
#include <set>
#include <string_view>

static constexpr std::string_view kGroup = "[Desktop Entry]";
static constexpr std::string_view kBlanks = " \t\r";

// What has to stand in quotes in "Exec", and what needs a backslash even there.
static constexpr std::string_view kReserved = " \t\n\"'\\><~|&;$*?#()`";
static constexpr std::string_view kReservedInQuotes = "\"`$\\";

static std::string_view trimmed(std::string_view text)
{
    const std::size_t start = std::min(text.find_first_not_of(kBlanks), text.size());
    text.remove_prefix(start);
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

static std::string escaped(const std::string &value)
{
    std::string text;
    for (const char character : value) {
        switch (character) {
        case '\\':
            text += "\\\\";
            break;
        case '\n':
            text += "\\n";
            break;
        case '\t':
            text += "\\t";
            break;
        case '\r':
            text += "\\r";
            break;
        default:
            text += character;
        }
    }
    // Plain blanks around a value are not part of it.
    if (text.ends_with(' '))
        text.replace(text.size() - 1, 1, "\\s");
    if (text.starts_with(' '))
        text.replace(0, 1, "\\s");
    return text;
}

static std::string unescaped(std::string_view text)
{
    static constexpr std::string_view kLetters = "sntr\\";
    static constexpr std::string_view kMeanings = " \n\t\r\\";
    std::string value;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const std::size_t letter =
            text[index] == '\\' && index + 1 < text.size() ? kLetters.find(text[index + 1]) : std::string_view::npos;
        if (letter == std::string_view::npos) {
            value += text[index];
        } else {
            value += kMeanings[letter];
            ++index;
        }
    }
    return value;
}

std::optional<DesktopEntry> DesktopEntry::parse(ByteView bytes)
{
    const std::string text = stringOf(bytes);
    if (text.find('\0') != std::string::npos)
        return std::nullopt;
    DesktopEntry entry;
    std::set<std::string_view> keys;
    bool inGroup = false;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        const std::string_view line = trimmed(std::string_view(text).substr(start, end - start));
        start = end + 1;
        if (line.empty() || line.front() == '#')
            continue;
        if (line.front() == '[') {
            if (inGroup || line != kGroup)
                break;
            inGroup = true;
            continue;
        }
        const std::size_t equals = line.find('=');
        if (!inGroup || equals == std::string_view::npos)
            continue;
        const std::string_view key = trimmed(line.substr(0, equals));
        if (keys.insert(key).second)
            entry.add(std::string(key), unescaped(trimmed(line.substr(equals + 1))));
    }
    return inGroup ? std::optional(entry) : std::nullopt;
}

std::optional<std::string> DesktopEntry::value(const std::string &key) const
{
    const auto found =
        std::find_if(m_values.begin(), m_values.end(), [&](const auto &each) { return each.first == key; });
    return found == m_values.end() ? std::nullopt : std::optional(found->second);
}

std::string DesktopEntry::text() const
{
    std::string text(kGroup);
    text += '\n';
    for (const auto &[key, value] : m_values)
        text += key + "=" + escaped(value) + "\n";
    return text;
}

std::string DesktopEntry::commandFor(const std::string &program)
{
    const bool inQuotes = program.find_first_of(kReserved) != std::string::npos;
    std::string command;
    for (const char character : program) {
        if (inQuotes && kReservedInQuotes.find(character) != std::string_view::npos)
            command += '\\';
        command += character;
        if (character == '%')
            command += '%';
    }
    return inQuotes ? '"' + command + '"' : command;
}

std::string DesktopEntry::programOf(const std::string &command)
{
    std::string program;
    bool inQuotes = false;
    std::size_t index = std::min(command.find_first_not_of(" \t\n"), command.size());
    for (; index < command.size(); ++index) {
        const char character = command[index];
        const bool hasNext = index + 1 < command.size();
        if (character == '"') {
            inQuotes = !inQuotes;
        } else if (character == '\\' && inQuotes && hasNext) {
            program += command[++index];
        } else if (character == '%' && hasNext) {
            // A field code stands for a file or nothing, never for the program.
            if (command[++index] == '%')
                program += '%';
        } else if (!inQuotes && (character == ' ' || character == '\t' || character == '\n')) {
            break;
        } else {
            program += character;
        }
    }
    return program;
}
