#pragma once

#include "Platform/Types.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

/// The group "[Desktop Entry]" of a .desktop file: keys without a language, and their values. A value.
class DesktopEntry final
{
public:
    /// Nothing when the bytes hold no such group before any other, or a zero byte. Lines that are neither key nor
    /// comment are passed over, of a repeated key the first counts.
    static std::optional<DesktopEntry> parse(ByteView bytes);

    /// The unescaped value, nothing when there is no such key.
    std::optional<std::string> value(const std::string &key) const;
    bool isTrue(const std::string &key) const { return value(key) == "true"; }

    /// Adds a key; `value` is plain text.
    void add(const std::string &key, const std::string &value) { m_values.emplace_back(key, value); }

    /// The file's content, keys in the order in which they were added.
    std::string text() const;

    /// A command line that starts `program`, as the value of "Exec".
    static std::string commandFor(const std::string &program);

    /// The program that "Exec" starts; empty when `command` names none.
    static std::string programOf(const std::string &command);

private:
    std::vector<std::pair<std::string, std::string>> m_values;
};
