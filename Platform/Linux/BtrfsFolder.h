#pragma once

#include "Platform/Linux/Descriptor.h"
#include "Platform/TransparentCompression.h"

#include <optional>
#include <string>

/// A folder on a btrfs volume and its property "btrfs.compression", which is handed down to what is made in it. What is
/// ours of that is told by a mark, an attribute of the port's own: it stands before the property is set, and says so
/// once that is done; so a property that is there without it, or differs from it, is somebody else's. One thread.
class BtrfsFolder final
{
public:
    /// Errors: NotFound, NotSupported (no folder, or a link), Permission (not to be read, or another user's), Io.
    static Result<BtrfsFolder> open(const Path &path);

    Result<TransparentCompression::FolderState> turnOn();
    Result<bool> isTurnedOn() const;
    Result<bool> turnOff();

private:
    struct Mark
    {
        bool isDone = false;    ///< the property was set, and is not only to be
        std::int64_t since = 0; ///< what was made in the folder before did not get it; seconds since 1970
    };

    BtrfsFolder(Descriptor descriptor, Path path);

    static Result<std::optional<std::string>> value(int folder, const char *name, const Path &path);
    static Result<std::optional<Mark>> markOf(int folder, const Path &path);
    Result<std::optional<std::string>> property() const;
    Result<bool> isOtherwiseWanted() const;
    Result<std::optional<std::int64_t>> handedDownSince() const;
    Result<void> set(const char *name, const std::string &value) const;
    Result<void> setMark(const char *stage, std::int64_t since) const;
    Result<void> remove(const char *name) const;
    Result<TransparentCompression::FolderState> begin(std::int64_t since) const;
    Result<TransparentCompression::FolderState> finish(std::int64_t since) const;

    Descriptor m_descriptor;
    Path m_path;
};
