#include "Classes/Shared/RQAlias.h"

static constexpr int kPermission = -5000;

/// The platform's own number for what went wrong.
static int statusOf(ErrorCode code)
{
    switch (code) {
    case ErrorCode::NotFound:
        return RQAlias::kFileNotFound;
    case ErrorCode::Exists:
        return -48;
    case ErrorCode::Permission:
        return kPermission;
    case ErrorCode::NoSpace:
        return -34;
    case ErrorCode::Busy:
        return -47;
    case ErrorCode::NotSupported:
    case ErrorCode::Corrupt:
    case ErrorCode::TooLarge:
        return -50;
    case ErrorCode::Io:
        break;
    }
    return -36;
}

static std::optional<AliasInfo> infoOf(const std::optional<Bytes> &data)
{
    if (!data)
        return std::nullopt;
    const Result<AliasInfo> info = AliasManager::current().copyInfo(*data);
    return info ? std::optional(*info) : std::nullopt;
}

static std::optional<PropertyList> dictionaryOf(const std::optional<AliasInfo> &info)
{
    if (!info)
        return std::nullopt;
    return PropertyList(PropertyList::Dictionary{
        {"targetNameString", info->targetName},
        {"volumeNameString", info->volumeName},
        {"pathString", info->path},
        {"fileType", std::uint64_t(info->fileType)},
        {"fileCreator", std::uint64_t(info->fileCreator)},
        {"parentDirID", std::uint64_t(info->parentDirID)},
        {"nodeID", std::uint64_t(info->nodeID)},
        {"filesystemID", std::uint64_t(info->filesystemID)},
        {"signature", std::uint64_t(info->signature)},
        {"volumeIsBootVolume", info->volumeIsBootVolume},
        {"volumeIsAutomounted", info->volumeIsAutomounted},
        {"volumeIsEjectable", info->volumeIsEjectable},
        {"volumeHasPersistentFileIDs", info->volumeHasPersistentFileIDs},
    });
}

std::optional<RQAlias> RQAlias::aliasWithPath(const Path &path, Error *error)
{
    std::optional<RQAlias> alias = aliasWithFSRef(path, {}, error);
    if (!alias && error && error->code == kPermission) // no reference can be had to what may not be looked at
        error->code = kFileNotFound;
    return alias;
}

std::optional<RQAlias> RQAlias::aliasWithPathRelativeToPath(const Path &path, const Path &relativeToPath)
{
    if (relativeToPath.empty())
        return std::nullopt;
    // Appended as a component: a leading slash does not start again at the top.
    return aliasWithFSRef(relativeToPath / path.relative_path(), relativeToPath);
}

std::optional<RQAlias> RQAlias::aliasWithFSRef(const Path &target, const Path &relativeTo, Error *error)
{
    Result<Bytes> record = AliasManager::current().newAlias(target, relativeTo);
    if (record)
        return aliasWithData(std::move(*record));
    if (error)
        *error = {kErrorDomain, statusOf(record.failure().code), record.failure().context};
    return std::nullopt;
}

RQAlias RQAlias::aliasWithData(std::optional<Bytes> data)
{
    RQAlias alias;
    alias.setAliasData(std::move(data));
    return alias;
}

RQAlias RQAlias::aliasWithCoder(const PropertyList::Array &coder)
{
    const Bytes *const data = coder.empty() ? nullptr : coder.front().as<Bytes>();
    return aliasWithData(data ? std::optional(*data) : std::nullopt);
}

void RQAlias::encodeWithCoder(PropertyList::Array &coder) const
{
    if (m_alias)
        coder.push_back(*m_alias);
}

void RQAlias::setAliasData(std::optional<Bytes> data)
{
    m_alias = std::move(data);
    m_originalAliasInfo = infoOf(m_alias);
}

std::optional<Path> RQAlias::fullPathRelativeToPath(const Path &relativeTo) const
{
    if (!m_alias)
        return std::nullopt;
    Result<AliasManager::Resolution> resolution = AliasManager::current().resolve(*m_alias, relativeTo);
    if (!resolution)
        return std::nullopt;
    m_alias = std::move(resolution->record);
    const std::optional<AliasInfo> info = infoOf(m_alias);
    if (!info || !m_originalAliasInfo || info->nodeID != m_originalAliasInfo->nodeID ||
        info->volumeName != m_originalAliasInfo->volumeName)
        return std::nullopt;
    return std::move(resolution->path);
}

std::optional<PropertyList> RQAlias::aliasInfo() const
{
    return aliasInfoForAliasData(m_alias);
}

std::optional<PropertyList> RQAlias::originalAliasInfo() const
{
    return dictionaryOf(m_originalAliasInfo);
}

std::optional<PropertyList> RQAlias::aliasInfoForAliasData(const std::optional<Bytes> &data)
{
    return dictionaryOf(infoOf(data));
}

std::size_t RQAlias::hash() const
{
    const std::optional<Path> path = fullPath();
    return path ? std::hash<std::string>()(path->native()) : 0;
}
