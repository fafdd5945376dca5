#include "Platform/PropertyList.h"

#include "Platform/FileSystem.h"
#include "Platform/PropertyListFormats.h"
#include "Platform/Utf8.h"

#include <cassert>
#include <cmath>

using namespace PropertyListFormats;

const PropertyList *PropertyList::find(const std::string &key) const
{
    if (const auto *const dictionary = as<Dictionary>()) {
        for (const auto &[name, value] : *dictionary) {
            if (name == key)
                return &value;
        }
    }
    return nullptr;
}

std::string PropertyList::string(const std::string &key, const std::string &other) const
{
    const PropertyList *const value = find(key);
    const auto *const text = value ? value->as<std::string>() : nullptr;
    return text ? *text : other;
}

void PropertyList::set(const std::string &key, PropertyList value)
{
    auto *const dictionary = as<Dictionary>();
    assert(dictionary);
    for (auto &[name, old] : *dictionary) {
        if (name == key) {
            old = std::move(value);
            return;
        }
    }
    dictionary->emplace_back(key, std::move(value));
}

void PropertyList::remove(const std::string &key)
{
    auto *const dictionary = as<Dictionary>();
    assert(dictionary);
    std::erase_if(*dictionary, [&](const auto &entry) { return entry.first == key; });
}

Result<PropertyList> PropertyList::parse(ByteView bytes)
{
    if (bytes.size() > kMaximumBytes)
        return failureAt(ErrorCode::TooLarge, "more than 64 MiB", kMaximumBytes);
    const std::string_view magic = kBinaryMagic.substr(0, 6);
    const bool isBinary = bytes.size() >= magic.size() && std::equal(magic.begin(), magic.end(), bytes.begin());
    return isBinary ? readBinary(bytes) : readXml(bytes);
}

Result<PropertyList> PropertyList::read(const Path &path)
{
    const Result<Bytes> bytes = FileSystem::current().readFile(path, kMaximumBytes);
    if (!bytes)
        return bytes.failure();
    Result<PropertyList> list = parse(*bytes);
    if (list)
        return list;
    Failure failure = list.failure();
    failure.context += " of " + path.native();
    return failure;
}

Result<void> PropertyList::write(const Path &path) const
{
    Result<Bytes> bytes = toXml();
    if (!bytes) // XML has no room for some characters and dates
        bytes = toBinary();
    return bytes ? FileSystem::current().replaceFile(path, *bytes) : bytes.failure();
}

namespace {

/// Walks a list that is to be written.
class Check
{
public:
    Result<void> value(const PropertyList &list, std::size_t depth)
    {
        if (++m_values > kMaximumValues)
            return tooLarge("more than 1,000,000 values");
        if (const auto *const text = list.as<std::string>())
            return string(*text);
        const auto *const date = list.as<PropertyListDate>();
        if (date && !std::isfinite(date->seconds))
            return wrong("a date that is none");
        const auto *const array = list.as<PropertyList::Array>();
        const auto *const dictionary = list.as<PropertyList::Dictionary>();
        if ((array || dictionary) && depth == kMaximumDepth)
            return tooLarge("more than 64 levels");
        if (array)
            return elements(*array, depth);
        return dictionary ? entries(*dictionary, depth) : Result<void>();
    }

private:
    static Failure tooLarge(const char *what)
    {
        return {ErrorCode::TooLarge, 0, std::string("property list: ") + what};
    }
    static Failure wrong(const char *what) { return {ErrorCode::Corrupt, 0, std::string("property list: ") + what}; }

    static Result<void> string(const std::string &text)
    {
        return isUtf8(text) ? Result<void>() : wrong("a string is not UTF-8");
    }

    Result<void> elements(const PropertyList::Array &array, std::size_t depth)
    {
        for (const PropertyList &element : array) {
            if (Result<void> checked = value(element, depth + 1); !checked)
                return checked;
        }
        return {};
    }

    Result<void> entries(const PropertyList::Dictionary &dictionary, std::size_t depth)
    {
        if (hasEqualKeys(dictionary))
            return wrong("two equal keys in a dictionary");
        for (const auto &[key, element] : dictionary) {
            if (Result<void> checked = string(key); !checked)
                return checked;
            if (Result<void> checked = value(element, depth + 1); !checked)
                return checked;
        }
        return {};
    }

    std::size_t m_values = 0;
};

} // namespace

Result<void> PropertyListFormats::checkWritable(const PropertyList &list)
{
    return Check().value(list, 0);
}
