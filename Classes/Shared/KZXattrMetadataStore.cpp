#include "Classes/Shared/KZXattrMetadataStore.h"

#include "Platform/FileSystem.h"
#include "Platform/Utf8.h"

static constexpr char kErrorDomain[] = "com.dovrane.quillor.xattr";

static Links linksFor(bool traverseLink)
{
    return traverseLink ? Links::Follow : Links::NotFollow;
}

std::vector<std::string> KZXattrMetadataStore::allKeysAtPath(const Path &path, bool traverseLink)
{
    return FileSystem::current().attributeNames(path, linksFor(traverseLink)).valueOr({});
}

std::optional<Bytes> KZXattrMetadataStore::dataForKey(const std::string &key, const Path &path, bool traverseLink)
{
    Result<Bytes> value = FileSystem::current().attribute(path, key, linksFor(traverseLink));
    return value ? std::optional(std::move(*value)) : std::nullopt;
}

bool KZXattrMetadataStore::setData(ByteView data, const std::string &key, const Path &path, bool traverseLink,
                                   Error *error)
{
    const Result<void> written = FileSystem::current().setAttribute(path, key, data, linksFor(traverseLink));
    if (!written)
        report(written.failure(), kErrorDomain, error);
    return bool(written);
}

std::optional<std::string> KZXattrMetadataStore::stringForKey(const std::string &key, const Path &path,
                                                              bool traverseLink)
{
    const std::optional<Bytes> data = dataForKey(key, path, traverseLink);
    if (!data)
        return std::nullopt;
    std::string string = stringOf(*data);
    return isUtf8(string) ? std::optional(std::move(string)) : std::nullopt;
}

bool KZXattrMetadataStore::setString(const std::string &string, const std::string &key, const Path &path,
                                     bool traverseLink, Error *error)
{
    if (!isUtf8(string))
        throw NSCharacterConversionException("Couldn't convert string to UTF8 for xattr storage.");
    return setData(bytesOf(string), key, path, traverseLink, error);
}

std::optional<PropertyList> KZXattrMetadataStore::objectForKey(const std::string &key, const Path &path,
                                                               bool traverseLink)
{
    const std::optional<Bytes> data = dataForKey(key, path, traverseLink);
    if (!data)
        return std::nullopt;
    Result<PropertyList> object = PropertyList::parse(*data);
    if (!object)
        throw KZXattrMetastoreCantUnserialize(object.failure().context);
    return std::move(*object);
}

bool KZXattrMetadataStore::setObject(const PropertyList &object, const std::string &key, const Path &path,
                                     bool traverseLink, Error *error)
{
    const Result<Bytes> data = object.toXml();
    if (!data)
        throw KZXattrMetastoreCantSerialize(data.failure().context);
    return setData(*data, key, path, traverseLink, error);
}
