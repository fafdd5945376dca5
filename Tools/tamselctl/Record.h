#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

/// What one line of output says: named values in their order. Strings are bytes as they were given, which need not be
/// UTF-8.
class Record final
{
public:
    Record &add(std::string key, bool value) { return addValue(std::move(key), value); }
    Record &add(std::string key, std::int64_t value) { return addValue(std::move(key), value); }
    Record &add(std::string key, std::uint64_t value) { return addValue(std::move(key), value); }
    Record &add(std::string key, std::uint32_t value) { return add(std::move(key), std::uint64_t(value)); }
    Record &add(std::string key, std::uint16_t value) { return add(std::move(key), std::uint64_t(value)); }
    Record &add(std::string key, const char *value) { return addValue(std::move(key), std::string(value)); }
    Record &add(std::string key, std::string value) { return addValue(std::move(key), std::move(value)); }
    Record &add(std::string key, std::vector<std::string> value) { return addValue(std::move(key), std::move(value)); }
    Record &add(std::string key, std::vector<Record> value) { return addValue(std::move(key), std::move(value)); }
    Record &add(std::string key, Record value);

    /// One JSON object without a line end. A byte that is not UTF-8 becomes the lone surrogate U+DC00 plus the byte,
    /// so that it can be had back and the line itself stays UTF-8.
    std::string toJson() const;

    /// "key: value" lines; a list is one indented line for each element.
    std::string toText() const;

private:
    struct Object
    {
        std::vector<Record> content; ///< exactly one
    };
    using Value = std::variant<bool, std::int64_t, std::uint64_t, std::string, std::vector<std::string>,
                               std::vector<Record>, Object>;

    Record &addValue(std::string key, Value value);
    static std::string toJson(const Value &value);
    static std::string toWord(const Value &value);
    std::string toLine() const;

    std::vector<std::pair<std::string, Value>> m_values;
};
