#include "Tools/tamselctl/Record.h"

#include "Platform/Formats/Unicode.h"

#include <cstdio>

template <class... Functions>
struct Overloaded : Functions...
{
    using Functions::operator()...;
};

static std::string quoted(const std::string &text)
{
    std::string result = "\"";
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t start = at;
        const char32_t character = Unicode::nextCharacter(text, at);
        char escape[16] = {};
        if (character == Unicode::kNoCharacter)
            std::snprintf(escape, sizeof escape, "\\udc%02x", static_cast<unsigned char>(text[at++]));
        else if (character < 0x20 || character == 0x7F)
            std::snprintf(escape, sizeof escape, "\\u%04x", unsigned(character));
        else if (character == U'"' || character == U'\\')
            result += '\\';
        result += escape[0] ? std::string(escape) : text.substr(start, at - start);
    }
    return result + "\"";
}

template <class List, class Function>
static std::string joined(const List &list, const char *separator, Function &&toString)
{
    std::string result;
    for (const auto &element : list)
        result += (result.empty() ? "" : separator) + toString(element);
    return result;
}

Record &Record::add(std::string key, Record value)
{
    Object object;
    object.content.push_back(std::move(value));
    return addValue(std::move(key), std::move(object));
}

Record &Record::addValue(std::string key, Value value)
{
    m_values.emplace_back(std::move(key), std::move(value));
    return *this;
}

std::string Record::toJson(const Value &value)
{
    return std::visit(Overloaded{
                          [](bool truth) -> std::string { return truth ? "true" : "false"; },
                          [](std::int64_t number) { return std::to_string(number); },
                          [](std::uint64_t number) { return std::to_string(number); },
                          [](const std::string &text) { return quoted(text); },
                          [](const std::vector<std::string> &texts) { return "[" + joined(texts, ",", quoted) + "]"; },
                          [](const std::vector<Record> &records) {
                              return "[" + joined(records, ",", [](const Record &record) { return record.toJson(); }) +
                                     "]";
                          },
                          [](const Object &object) { return object.content.front().toJson(); },
                      },
                      value);
}

std::string Record::toJson() const
{
    return "{" +
           joined(m_values, ",", [](const auto &pair) { return quoted(pair.first) + ":" + toJson(pair.second); }) + "}";
}

std::string Record::toWord(const Value &value)
{
    return std::visit(Overloaded{
                          [](bool truth) -> std::string { return truth ? "yes" : "no"; },
                          [](std::int64_t number) { return std::to_string(number); },
                          [](std::uint64_t number) { return std::to_string(number); },
                          [](const std::string &text) { return text; },
                          [](const std::vector<std::string> &texts) {
                              return joined(texts, " ", [](const auto &text) { return text; });
                          },
                          [](const std::vector<Record> &records) {
                              return joined(records, ", ", [](const Record &record) { return record.toLine(); });
                          },
                          [](const Object &object) { return object.content.front().toLine(); },
                      },
                      value);
}

std::string Record::toLine() const
{
    return joined(m_values, " ", [](const auto &pair) { return pair.first + "=" + toWord(pair.second); });
}

std::string Record::toText() const
{
    std::string result;
    for (const auto &[key, value] : m_values) {
        result += key + ":";
        if (const auto *texts = std::get_if<std::vector<std::string>>(&value)) {
            for (const std::string &text : *texts)
                result += "\n  " + text;
        } else if (const auto *records = std::get_if<std::vector<Record>>(&value)) {
            for (const Record &record : *records)
                result += "\n  " + record.toLine();
        } else {
            result += " " + toWord(value);
        }
        result += "\n";
    }
    return result;
}
