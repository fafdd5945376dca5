#include "Platform/PropertyListFormats.h"

#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>

using namespace PropertyListFormats;

namespace {

constexpr std::string_view kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";

class XmlWriter
{
public:
    Result<Bytes> write(const PropertyList &list)
    {
        m_text = kHead;
        list.visit([this](const auto &value) { put(value); });
        m_text += "</plist>\n";
        if (m_problem)
            return Failure{ErrorCode::Corrupt, 0, std::string("property list: ") + m_problem};
        if (m_text.size() > kMaximumBytes)
            return Failure{ErrorCode::TooLarge, 0, "property list: more than 64 MiB"};
        return bytesOf(m_text);
    }

private:
    void put(bool value) { line(value ? "<true/>" : "<false/>"); }

    void put(const PropertyListInteger &value)
    {
        char digits[24] = {};
        if (value.isNegative)
            std::to_chars(digits, std::end(digits), std::int64_t(value.bits));
        else
            std::to_chars(digits, std::end(digits), value.bits);
        element("integer", digits);
    }

    void put(double value)
    {
        char digits[40] = {};
        std::to_chars(digits, std::end(digits), value);
        element("real", digits);
    }

    void put(const std::string &value) { element("string", escaped(value)); }

    void put(const PropertyListDate &value)
    {
        using namespace std::chrono;
        constexpr sys_days kReference = 2001y / January / 1;
        constexpr double kFirst = double(seconds(sys_days(1y / January / 1) - kReference).count());
        constexpr double kEnd = double(seconds(sys_days(10000y / January / 1) - kReference).count());
        if (!(value.seconds >= kFirst && value.seconds < kEnd)) {
            m_problem = "a date outside the years 1 to 9999";
            return;
        }
        const sys_seconds time = kReference + seconds(std::int64_t(std::floor(value.seconds)));
        const year_month_day day(floor<days>(time));
        const hh_mm_ss clock(time - floor<days>(time));
        char text[32] = {};
        std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", int(day.year()), unsigned(day.month()),
                      unsigned(day.day()), int(clock.hours().count()), int(clock.minutes().count()),
                      int(clock.seconds().count()));
        element("date", text);
    }

    void put(const Bytes &value)
    {
        constexpr std::size_t kBytesInALine = 57; // 76 characters
        line("<data>");
        for (std::size_t at = 0; at < value.size(); at += kBytesInALine)
            line(base64(ByteView(value).subspan(at, std::min(kBytesInALine, value.size() - at))));
        line("</data>");
    }

    void put(const PropertyList::Array &array)
    {
        if (array.empty())
            return line("<array/>");
        line("<array>");
        ++m_indent;
        for (const PropertyList &element : array)
            element.visit([this](const auto &value) { put(value); });
        --m_indent;
        line("</array>");
    }

    void put(const PropertyList::Dictionary &dictionary)
    {
        if (dictionary.empty())
            return line("<dict/>");
        line("<dict>");
        ++m_indent;
        for (const auto &[key, element] : dictionary) {
            this->element("key", escaped(key));
            element.visit([this](const auto &value) { put(value); });
        }
        --m_indent;
        line("</dict>");
    }

    void line(std::string_view text) { m_text.append(m_indent, '\t').append(text) += '\n'; }

    void element(const std::string &name, const std::string &content)
    {
        line("<" + name + ">" + content + "</" + name + ">");
    }

    std::string escaped(std::string_view text)
    {
        // U+FFFE and U+FFFF are no characters of XML.
        if (text.find("\xEF\xBF\xBE") != text.npos || text.find("\xEF\xBF\xBF") != text.npos)
            m_problem = "a string with a character that XML cannot hold";
        std::string result;
        result.reserve(text.size());
        for (const char c : text) {
            if (c == '&')
                result += "&amp;";
            else if (c == '<')
                result += "&lt;";
            else if (c == '>')
                result += "&gt;";
            else if (c == '\r')
                result += "&#13;"; // as it stands it would be read as a line feed
            else if (std::uint8_t(c) < 0x20 && c != '\t' && c != '\n')
                m_problem = "a string with a character that XML cannot hold";
            else
                result += c;
        }
        return result;
    }

    static std::string base64(ByteView bytes)
    {
        constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        std::string text;
        for (std::size_t at = 0; at < bytes.size(); at += 3) {
            const std::size_t count = std::min<std::size_t>(3, bytes.size() - at);
            std::uint32_t group = 0;
            for (std::size_t i = 0; i < 3; ++i)
                group = group << 8 | (i < count ? bytes[at + i] : 0u);
            for (std::size_t i = 0; i < 4; ++i)
                text += i <= count ? kDigits[group >> (18 - 6 * i) & 63] : '=';
        }
        return text;
    }

    std::string m_text;
    std::size_t m_indent = 0;
    const char *m_problem = nullptr;
};

} // namespace

Result<Bytes> PropertyList::toXml() const
{
    if (Result<void> checked = checkWritable(*this); !checked)
        return checked.failure();
    return XmlWriter().write(*this);
}
