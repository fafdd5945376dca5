#include "Classes/Util/PXVersionComparator.h"

#include "Classes/Util/DecimalDigits.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>

/// The leading digits as a signed 32-bit number; the largest one where they do not fit.
static std::int32_t valueOf(std::string_view digits)
{
    std::int64_t value = 0;
    while (const std::optional<int> digit = DecimalDigits::value(digits)) {
        value = std::min<std::int64_t>(value * 10 + *digit, std::numeric_limits<std::int32_t>::max());
        digits.remove_prefix(DecimalDigits::firstCharacter(digits));
    }
    return std::int32_t(value);
}

static int sign(int difference)
{
    return (difference > 0) - (difference < 0);
}

PXVersionComparator &PXVersionComparator::defaultComparator()
{
    static PXVersionComparator s_comparator;
    return s_comparator;
}

PXVersionComparator::Type PXVersionComparator::typeOfCharacter(std::string_view character) const
{
    if (character == ".")
        return Type::Period;
    return DecimalDigits::value(character) ? Type::Number : Type::String;
}

std::vector<std::string> PXVersionComparator::splitVersionString(const std::string &version) const
{
    std::vector<std::string> parts;
    Type previous = Type::Period;
    for (std::string_view rest = version; !rest.empty();) {
        const std::string_view character = rest.substr(0, DecimalDigits::firstCharacter(rest));
        const Type type = typeOfCharacter(character);
        if (parts.empty() || type != previous || previous == Type::Period)
            parts.push_back({});
        parts.back() += character;
        previous = type;
        rest.remove_prefix(character.size());
    }
    return parts;
}

int PXVersionComparator::compareVersion(const std::string &version, const std::string &other) const
{
    const std::vector<std::string> parts = splitVersionString(version);
    const std::vector<std::string> others = splitVersionString(other);
    const std::size_t common = std::min(parts.size(), others.size());
    for (std::size_t i = 0; i < common; ++i)
        if (const int order = compareParts(parts[i], others[i]))
            return order;
    if (parts.size() == others.size())
        return 0;
    // A further part makes a version newer, but for letters: 1.0b1 comes before 1.0.
    const bool isLonger = parts.size() > others.size();
    const Type further = typeOfCharacter((isLonger ? parts : others)[common]);
    return (further == Type::String) == isLonger ? -1 : 1;
}

int PXVersionComparator::compareParts(const std::string &part, const std::string &other) const
{
    const Type type = typeOfCharacter(part);
    const Type otherType = typeOfCharacter(other);
    if (type != otherType) {
        if (type == Type::String || otherType == Type::String)
            return type == Type::String ? -1 : 1;
        return type == Type::Number ? 1 : -1;
    }
    switch (type) {
    case Type::Number:
        return (valueOf(part) > valueOf(other)) - (valueOf(part) < valueOf(other));
    case Type::String:
        return sign(part.compare(other));
    case Type::Period:
        break;
    }
    return 0;
}
