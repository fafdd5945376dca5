#include "Tools/relaunch/HostProgram.h"

#include "Platform/ProcessHandover.h"

#include <fstream>
#include <iterator>
#include <string>

static constexpr std::size_t kLongestList = 1024 * 1024;

/// The text between `start` and `end` behind `position`, which is moved behind it. Nothing but blanks may come before.
static std::optional<std::string> textBetween(const std::string &text, std::size_t &position, const std::string &start,
                                              const std::string &end)
{
    const std::size_t begin = text.find_first_not_of(" \t\r\n", position);
    if (begin == std::string::npos || text.compare(begin, start.size(), start) != 0)
        return std::nullopt;
    const std::size_t stop = text.find(end, begin + start.size());
    if (stop == std::string::npos)
        return std::nullopt;
    position = stop + end.size();
    return text.substr(begin + start.size(), stop - begin - start.size());
}

/// The name of the executable in the list, by its letters alone: the property-list reader is in a library that this
/// program must not need.
static std::string executableName(const Path &list)
{
    static const std::string kKey = "<key>CFBundleExecutable</key>";
    std::ifstream file(list, std::ios::binary);
    std::string text(kLongestList, '\0');
    file.read(text.data(), std::streamsize(text.size()));
    text.resize(std::size_t(file.gcount()));
    std::size_t position = text.find(kKey);
    if (position == std::string::npos)
        return {};
    position += kKey.size();
    const std::string name = textBetween(text, position, "<string>", "</string>").value_or("");
    const bool isPlain = name != "." && name != ".." && name.find_first_of("/&<") == std::string::npos;
    return isPlain ? name : std::string();
}

std::optional<Path> hostProgramIn(const Path &bundle)
{
    const Path plain = bundle.has_filename() ? bundle : bundle.parent_path();
    for (const std::string &name : {plain.stem().native(), executableName(plain / "Contents/Info.plist")}) {
        const Path program = plain / "Contents/MacOS" / name;
        if (!name.empty() && ProcessHandover::isExecutable(program))
            return program;
    }
    return std::nullopt;
}
