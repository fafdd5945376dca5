#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Orders version strings as people read them: numbers by value, letters as a suffix that makes a version older than
/// the plain number (1.0b2, 1.0b10, 1.0, 1.0.1). Nothing is allocated but the parts. Main thread.
class PXVersionComparator final
{
public:
    enum class Type { Number = 0, String = 1, Period = 2 };

    static PXVersionComparator &defaultComparator();

    /// The kind of a character of UTF-8; digits of every script are numbers. That of an empty text is String.
    Type typeOfCharacter(std::string_view character) const;

    /// Runs of digits, runs of other characters, and each period by itself.
    std::vector<std::string> splitVersionString(const std::string &version) const;

    /// -1 when the first version is older, 0 when they are the same, 1 when it is newer.
    int compareVersion(const std::string &version, const std::string &other) const;

private:
    int compareParts(const std::string &part, const std::string &other) const;
};
