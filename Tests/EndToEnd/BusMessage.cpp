#include "Tests/EndToEnd/BusMessage.h"

#include <algorithm>
#include <cstdint>

namespace {

/// Walks the bytes of a message; what lies beyond the end reads as nothing.
class Walk final
{
public:
    explicit Walk(const std::string &bytes, std::size_t at = 0)
        : m_bytes(bytes)
        , m_at(at)
    {
    }

    std::size_t at() const { return m_at; }
    bool isAtEnd() const { return m_at >= m_bytes.size(); }
    void align(std::size_t size) { m_at = (m_at + size - 1) / size * size; }

    std::uint8_t byte() { return isAtEnd() ? 0 : std::uint8_t(m_bytes[m_at++]); }

    std::uint32_t number()
    {
        align(4);
        std::uint32_t value = 0;
        for (unsigned shift = 0; shift < 32; shift += 8)
            value |= std::uint32_t(byte()) << shift;
        return value;
    }

    std::string text(std::size_t length)
    {
        const std::string text = isAtEnd() ? std::string() : m_bytes.substr(m_at, length);
        m_at += length + 1; // and the NUL behind it
        return text;
    }

    /// Reads a value of the type at the front of `signature`, which is taken away; strings go to `strings`.
    void value(std::string &signature, std::vector<std::string> &strings)
    {
        const char type = signature.empty() ? '\0' : signature.front();
        signature.erase(0, 1);
        switch (type) {
        case 's':
        case 'o':
            strings.push_back(text(number()));
            return;
        case 'g':
            text(byte());
            return;
        case 'v': {
            std::string inner = text(byte());
            value(inner, strings);
            return;
        }
        case 'a':
            array(signature, strings);
            return;
        case '{':
            align(8);
            while (!signature.empty() && signature.front() != '}')
                value(signature, strings);
            signature.erase(0, 1);
            return;
        case 'u':
        case 'i':
        case 'b':
            number();
            return;
        default:
            m_at = m_bytes.size(); // not needed so far
        }
    }

private:
    void array(std::string &signature, std::vector<std::string> &strings)
    {
        const std::size_t length = number();
        const bool isDictionary = signature.starts_with('{');
        align(isDictionary ? 8 : 4);
        const std::size_t end = std::min(m_at + length, m_bytes.size());
        std::string rest = signature;
        while (m_at < end) {
            rest = signature;
            value(rest, strings);
        }
        signature.erase(0, isDictionary ? signature.find('}') + 1 : 1);
    }

    const std::string &m_bytes;
    std::size_t m_at;
};

enum Field { kInterface = 2, kMember = 3, kSignature = 8 };

constexpr std::size_t kFixedHeader = 12;

} // namespace

std::optional<BusMessage> BusMessage::read(const std::string &bytes)
{
    if (bytes.size() < kFixedHeader + 4 || bytes[0] != 'l' || bytes[1] < 1 || bytes[1] > 4 || bytes[3] != 1)
        return std::nullopt;
    BusMessage message;
    message.type = Type(bytes[1]);
    Walk walk(bytes, kFixedHeader);
    const std::size_t length = walk.number();
    const std::size_t end = walk.at() + length;
    std::string signature;
    while (walk.at() < end && !walk.isAtEnd()) {
        walk.align(8);
        const int field = walk.byte();
        std::string type = walk.text(walk.byte());
        std::vector<std::string> values;
        if (type == "g")
            values.push_back(walk.text(walk.byte()));
        else
            walk.value(type, values);
        if (field == kInterface && !values.empty())
            message.interface = values.front();
        else if (field == kMember && !values.empty())
            message.member = values.front();
        else if (field == kSignature)
            signature = values.front();
    }
    walk.align(8);
    while (!signature.empty())
        walk.value(signature, message.strings);
    return message;
}
