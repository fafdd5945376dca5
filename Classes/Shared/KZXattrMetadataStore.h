#pragma once

#include "Classes/Shared/Error.h"
#include "Platform/PropertyList.h"
#include "Platform/Types.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

/// An attribute's value is no property list.
class KZXattrMetastoreCantUnserialize final : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// An object cannot be written as a property list.
class KZXattrMetastoreCantSerialize final : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A string cannot be written as UTF-8.
class NSCharacterConversionException final : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Lists, reads and writes the extended attributes of a file. With `traverseLink` a final link is followed, without it
/// the link itself is meant. Errors of writing have the domain "com.dovrane.quillor.xattr" and the system's error
/// number as code. No instances; any thread.
class KZXattrMetadataStore final
{
public:
    KZXattrMetadataStore() = delete;

    /// In the order of the file system; empty too when the file is missing.
    static std::vector<std::string> allKeysAtPath(const Path &path, bool traverseLink);

    /// nullopt when the attribute cannot be read.
    static std::optional<Bytes> dataForKey(const std::string &key, const Path &path, bool traverseLink);
    static bool setData(ByteView data, const std::string &key, const Path &path, bool traverseLink,
                        Error *error = nullptr);

    /// nullopt when the attribute is missing or its value is not UTF-8.
    static std::optional<std::string> stringForKey(const std::string &key, const Path &path, bool traverseLink);

    /// Throws NSCharacterConversionException when `string` is not UTF-8.
    static bool setString(const std::string &string, const std::string &key, const Path &path, bool traverseLink,
                          Error *error = nullptr);

    /// nullopt when the attribute is missing. Throws KZXattrMetastoreCantUnserialize when it is no property list.
    static std::optional<PropertyList> objectForKey(const std::string &key, const Path &path, bool traverseLink);

    /// Written as XML. Throws KZXattrMetastoreCantSerialize, and writes nothing, when XML cannot hold the object.
    static bool setObject(const PropertyList &object, const std::string &key, const Path &path, bool traverseLink,
                          Error *error = nullptr);
};
