#pragma once

#include "Classes/Shared/Error.h"
#include "Platform/AliasManager.h"
#include "Platform/PropertyList.h"
#include "Platform/Types.h"

#include <cstddef>
#include <functional>
#include <optional>

/// One alias record: remembers a file or folder so that it is found again after it was moved or renamed. A value; not
/// to be used from two threads at once, since resolving may bring the record up to date.
///
/// What describes a record is a dictionary with the keys "targetNameString", "volumeNameString", "pathString" (the
/// bytes of the path, which need not be UTF-8), "fileType", "fileCreator", "parentDirID", "nodeID", "filesystemID",
/// "signature" (numbers), "volumeIsBootVolume", "volumeIsAutomounted", "volumeIsEjectable" and
/// "volumeHasPersistentFileIDs" (booleans).
class RQAlias final
{
public:
    static constexpr const char *kErrorDomain = "NSOSStatusErrorDomain";
    static constexpr int kFileNotFound = -43;

    /// An object without a record.
    RQAlias() = default;

    /// For `path`; a link at its end is meant itself. Nothing on failure, with the code -43 when there is no such file,
    /// or none that this user may look at.
    static std::optional<RQAlias> aliasWithPath(const Path &path, Error *error = nullptr);

    /// For `path` below `relativeToPath`; both must exist.
    static std::optional<RQAlias> aliasWithPathRelativeToPath(const Path &path, const Path &relativeToPath);

    /// For a file that is known to exist, seen from `relativeTo` when that is not empty.
    static std::optional<RQAlias> aliasWithFSRef(const Path &target, const Path &relativeTo = {},
                                                 Error *error = nullptr);

    /// Any bytes make an object; no data makes one without a record.
    static RQAlias aliasWithData(std::optional<Bytes> data);

    /// Decodes and encodes one data object, none for an object without a record.
    static RQAlias aliasWithCoder(const PropertyList::Array &coder);
    void encodeWithCoder(PropertyList::Array &coder) const;

    /// The record's bytes, nothing where there is none.
    const std::optional<Bytes> &aliasData() const { return m_alias; }
    void setAliasData(std::optional<Bytes> data);

    /// Where the file is now. On the main thread a moved one is not searched for. Nothing when it cannot be found
    /// without mounting anything, or when what was found has another ID or lies on a volume of another name than when
    /// the record was set. May bring the record up to date.
    std::optional<Path> fullPath() const { return fullPathRelativeToPath({}); }
    /// `relativeTo` must exist unless it is empty.
    std::optional<Path> fullPathRelativeToPath(const Path &relativeTo) const;

    /// What the record says now, and what it said when it was set. Nothing for a record that cannot be read.
    std::optional<PropertyList> aliasInfo() const;
    std::optional<PropertyList> originalAliasInfo() const;
    static std::optional<PropertyList> aliasInfoForAliasData(const std::optional<Bytes> &data);

    /// Whether both resolve to one path, or neither resolves.
    bool isEqual(const RQAlias &other) const { return fullPath() == other.fullPath(); }
    std::size_t hash() const;
    friend bool operator==(const RQAlias &left, const RQAlias &right) { return left.isEqual(right); }

    /// Forgets the record.
    void cleanup() { m_alias.reset(); }

private:
    mutable std::optional<Bytes> m_alias;
    std::optional<AliasInfo> m_originalAliasInfo;
};

template <>
struct std::hash<RQAlias>
{
    std::size_t operator()(const RQAlias &alias) const { return alias.hash(); }
};
