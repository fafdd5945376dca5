#include "Platform/PropertyListXmlValues.h"

#include <array>
#include <charconv>
#include <chrono>

static bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

std::string_view PropertyListXmlValues::trimmed(std::string_view text)
{
    while (!text.empty() && isSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

/// Takes a sign off the front of a number; whether it was a minus.
static bool takeSign(std::string_view &text)
{
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+'))
        text.remove_prefix(1);
    return isNegative;
}

std::optional<PropertyList> PropertyListXmlValues::integerOf(std::string_view text)
{
    const bool isNegative = takeSign(text);
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (isHexadecimal)
        text.remove_prefix(2);
    std::uint64_t magnitude = 0;
    const auto [end, failure] =
        std::from_chars(text.data(), text.data() + text.size(), magnitude, isHexadecimal ? 16 : 10);
    constexpr std::uint64_t kLowest = std::uint64_t(1) << 63;
    if (failure != std::errc() || end != text.data() + text.size() || (isNegative && magnitude > kLowest))
        return std::nullopt;
    return PropertyList(PropertyListInteger{isNegative ? 0 - magnitude : magnitude, isNegative && magnitude != 0});
}

std::optional<PropertyList> PropertyListXmlValues::realOf(std::string_view text)
{
    const bool isNegative = takeSign(text);
    if (text.starts_with('-') || text.find('(') != std::string_view::npos)
        return std::nullopt;
    double value = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (failure != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return PropertyList(isNegative ? -value : value);
}

std::optional<PropertyList> PropertyListXmlValues::dateOf(std::string_view text)
{
    constexpr std::string_view kForm = "0000-00-00T00:00:00Z";
    if (text.size() != kForm.size())
        return std::nullopt;
    std::array<int, 6> fields = {};
    std::size_t field = 0;
    for (std::size_t i = 0; i < kForm.size(); ++i) {
        if (kForm[i] == '0' && text[i] >= '0' && text[i] <= '9')
            fields[field] = fields[field] * 10 + (text[i] - '0');
        else if (kForm[i] == '0' || text[i] != kForm[i])
            return std::nullopt;
        else
            ++field;
    }
    using namespace std::chrono;
    const year_month_day date = year(fields[0]) / fields[1] / fields[2];
    if (!date.ok() || fields[3] > 23 || fields[4] > 59 || fields[5] > 59)
        return std::nullopt;
    const auto sinceReference = sys_days(date) - sys_days(2001y / January / 1);
    const auto time = hours(fields[3]) + minutes(fields[4]) + seconds(fields[5]);
    return PropertyList(PropertyListDate{double(duration_cast<seconds>(sinceReference + time).count())});
}

static int sextetOf(char c)
{
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    return c == '+' ? 62 : c == '/' ? 63 : -1;
}

std::optional<PropertyList> PropertyListXmlValues::dataOf(std::string_view text)
{
    Bytes bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t group = 0;
    int characters = 0;
    int padding = 0;
    for (const char c : text) {
        if (isSpace(c))
            continue;
        const int sextet = c == '=' ? 0 : sextetOf(c);
        padding += c == '=';
        if (sextet < 0 || (padding > 0 && c != '=') || padding > 2)
            return std::nullopt;
        group = group << 6 | std::uint32_t(sextet);
        if (++characters % 4 != 0)
            continue;
        for (int i = 0; i < 3 - padding; ++i)
            bytes.push_back(std::uint8_t(group >> (16 - 8 * i)));
        if (group & ((1u << (8 * padding)) - 1))
            return std::nullopt;
        group = 0;
    }
    if (characters % 4 != 0)
        return std::nullopt;
    return PropertyList(std::move(bytes));
}
