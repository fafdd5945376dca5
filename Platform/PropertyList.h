#pragma once

#include "Platform/Result.h"
#include "Platform/Types.h"

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

class PropertyList;

/// Seconds since 2001-01-01 UTC.
struct PropertyListDate
{
    double seconds = 0;

    friend bool operator==(const PropertyListDate &, const PropertyListDate &) = default;
};

/// An integer of a property list: every value from -2^63 to 2^64-1.
struct PropertyListInteger
{
    std::uint64_t bits = 0;   ///< two's complement when negative
    bool isNegative = false;

    friend bool operator==(const PropertyListInteger &, const PropertyListInteger &) = default;
};

/// A property list: booleans, integers, reals, strings (UTF-8), data, dates, arrays and dictionaries with string keys,
/// whose order is kept. The formats are the published XML version 1.0 ("PropertyList-1.0.dtd") and "bplist00".
class PropertyList final
{
public:
    using Array = std::vector<PropertyList>;
    using Dictionary = std::vector<std::pair<std::string, PropertyList>>;

    PropertyList() : PropertyList(Dictionary()) {}
    PropertyList(bool value) : m_value(value) {}
    PropertyList(int value) : PropertyList(std::int64_t(value)) {}
    PropertyList(std::int64_t value) : m_value(PropertyListInteger{std::uint64_t(value), value < 0}) {}
    PropertyList(std::uint64_t value) : m_value(PropertyListInteger{value, false}) {}
    PropertyList(PropertyListInteger value) : m_value(value) {}
    PropertyList(double value) : m_value(value) {}
    PropertyList(const char *value) : m_value(std::string(value)) {}
    PropertyList(std::string value) : m_value(std::move(value)) {}
    PropertyList(Bytes value) : m_value(std::move(value)) {}
    PropertyList(PropertyListDate value) : m_value(value) {}
    PropertyList(Array value) : m_value(std::move(value)) {}
    PropertyList(Dictionary value) : m_value(std::move(value)) {}

    /// The value when it is a `T` (bool, double, std::string, Bytes, PropertyListInteger, PropertyListDate, Array,
    /// Dictionary), else nullptr.
    template <class T>
    const T *as() const
    {
        return std::get_if<T>(&m_value);
    }
    template <class T>
    T *as()
    {
        return std::get_if<T>(&m_value);
    }

    /// Calls `visitor` with the value, whichever of the eight types it is.
    template <class Visitor>
    void visit(Visitor visitor) const
    {
        std::visit(visitor, m_value);
    }

    /// The value for `key`, or nullptr when there is none or this is no dictionary.
    const PropertyList *find(const std::string &key) const;

    /// The string for `key`, or `other` when there is none or it is no string.
    std::string string(const std::string &key, const std::string &other = {}) const;

    /// Sets or adds; this must be a dictionary.
    void set(const std::string &key, PropertyList value);

    /// Removes the key if it is there; this must be a dictionary.
    void remove(const std::string &key);

    friend bool operator==(const PropertyList &, const PropertyList &) = default;

    /// Reads XML or binary, told apart by the first bytes. At most 64 levels and 1,000,000 values.
    /// Errors: Corrupt or TooLarge, the context naming what is wrong and at which offset.
    static Result<PropertyList> parse(ByteView bytes);

    /// XML version 1.0, UTF-8, tabs, keys in their order, dates to the whole second before. Errors: Corrupt for what XML
    /// cannot hold (text that is not UTF-8, control characters, dates outside the years 1 to 9999) or two equal keys in
    /// a dictionary; TooLarge for what `parse` would find too large.
    Result<Bytes> toXml() const;

    /// "bplist00". Errors: as `toXml`, but every character and every finite date is held.
    Result<Bytes> toBinary() const;

    /// The list in the file at `path`, of 64 MiB at most. Errors: those of `FileSystem::readFile` and of `parse`.
    static Result<PropertyList> read(const Path &path);

    /// Replaces the file with the list, as XML, or binary where XML cannot hold it. Errors: those of `toBinary`, the old
    /// file stands then; those of `FileSystem::replaceFile`.
    Result<void> write(const Path &path) const;

private:
    std::variant<bool, PropertyListInteger, double, std::string, Bytes, PropertyListDate, Array, Dictionary> m_value;
};
