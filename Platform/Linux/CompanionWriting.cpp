#include "Platform/Linux/Companion.h"
#include "Platform/Linux/CompanionFork.h"
#include "Platform/Linux/FileCalls.h"
#include "Platform/Linux/NewFile.h"
#include "Platform/asciiLowercase.h"

#include <algorithm>
#include <set>

static constexpr std::size_t kMostContent = std::size_t{2} << 20; // three of these are in memory at once

/// Whether all but the fork can be held, with as many bytes more; known before any of it is read.
Result<void> Companion::checkRoomFor(ByteCount more) const
{
    if (!m_layout.isWhollyUnderstood)
        return Failure{ErrorCode::Corrupt, 0, m_path.native() + " holds what would be lost"};
    ByteCount total = more; // each is a 32-bit number, and the layout holds less than 2^32 of them
    for (const auto &attribute : m_layout.attributes)
        total += attribute.value.length;
    for (const auto &entry : m_layout.others)
        total += entry.content.length;
    if (total > kMostContent)
        return Failure{ErrorCode::TooLarge, E2BIG, m_path.native()};
    return {};
}

/// Everything but the resource fork, which is copied from file to file.
Result<AppleDoubleContent> Companion::content() const
{
    AppleDoubleContent content;
    if (Result<void> room = checkRoomFor(0); !room)
        return room.failure();
    if (m_layout.finderInformation) {
        const Result<Bytes> bytes = read(*m_layout.finderInformation);
        if (!bytes)
            return bytes.failure();
        content.finderInformation.emplace();
        std::copy(bytes->begin(), bytes->end(), content.finderInformation->begin());
    }
    for (const auto &attribute : m_layout.attributes) {
        Result<Bytes> bytes = read(attribute.value);
        if (!bytes)
            return bytes.failure();
        content.attributes.push_back({attribute.name, std::move(*bytes)});
    }
    for (const auto &entry : m_layout.others) {
        Result<Bytes> bytes = read(entry.content);
        if (!bytes)
            return bytes.failure();
        content.others.push_back({entry.identifier, std::move(*bytes)});
    }
    return content;
}

/// The companion that is rewritten must still be the one that was read.
Result<void> Companion::checkUnchangedSince(const struct stat &status) const
{
    struct stat now = {};
    if (::lstat(m_path.c_str(), &now) != 0)
        return Failure::fromErrno(errno, "lstat", m_path);
    const bool isSame = FileCalls::isSameFile(now, status) && now.st_size == status.st_size &&
                        now.st_mtim.tv_sec == status.st_mtim.tv_sec && now.st_mtim.tv_nsec == status.st_mtim.tv_nsec;
    if (!isSame)
        return Failure{ErrorCode::Busy, EBUSY, m_path.native() + " was changed meanwhile"};
    return {};
}

static Result<void> copyFork(const ReadableFork &fork, NewFile &file)
{
    Bytes window(std::size_t{64} << 10);
    for (ByteCount offset = 0; offset < fork.size();) {
        const Result<std::size_t> got = fork.readAt(offset, window);
        if (!got)
            return got.failure();
        if (*got == 0)
            return Failure{ErrorCode::Corrupt, 0, "the companion became shorter"};
        if (Result<void> written = file.write(ByteView(window).first(*got)); !written)
            return written;
        offset += *got;
    }
    return {};
}

/// Access to the companion is access to the file's content, so both have one owner and one mode.
static Result<void> giveAccess(const NewFile &file, const struct stat &like, const Path &path)
{
    struct stat made = {};
    if (::fstat(file.descriptor(), &made) != 0)
        return Failure::fromErrno(errno, "fstat", path);
    const bool isOthers = made.st_uid != like.st_uid || made.st_gid != like.st_gid;
    if (isOthers && ::fchown(file.descriptor(), like.st_uid, like.st_gid) != 0)
        return Failure::fromErrno(errno, "fchown", path);
    if (::fchmod(file.descriptor(), like.st_mode & 0666) != 0)
        return Failure::fromErrno(errno, "fchmod", path);
    return {};
}

Result<void> Companion::write(const AppleDoubleContent &content, const ReadableFork *fork,
                              const struct stat &fileStatus) const
{
    const Result<Bytes> head = appleDoubleHead(content, fork ? fork->size() : 0);
    if (!head)
        return head.failure();
    Result<NewFile> file = NewFile::beside(m_path, 0600);
    if (!file)
        return file.failure();
    if (Result<void> given = giveAccess(*file, m_file ? m_status : fileStatus, m_path); !given)
        return given;
    if (Result<void> written = file->write(*head); !written)
        return written;
    if (fork) {
        if (Result<void> copied = copyFork(*fork, *file); !copied)
            return copied;
    }
    if (!m_file)
        return file->appear();
    if (Result<void> unchanged = checkUnchangedSince(m_status); !unchanged)
        return unchanged;
    return file->replace();
}

Result<void> Companion::setAttributes(const Path &file, const struct stat &fileStatus,
                                      const std::vector<std::pair<std::string, Bytes>> &attributes)
{
    Result<Companion> companion = open(file, fileStatus);
    struct stat other = {};
    const Path path = pathOf(file);
    if (!companion && companion.failure().code != ErrorCode::NotFound)
        return companion.failure();
    if (!companion && ::lstat(path.c_str(), &other) == 0)
        return Failure{ErrorCode::Permission, EPERM, path.native() + " is in the companion's place"};
    if (!companion)
        companion = Companion(path, nullptr, {});
    ByteCount more = 0;
    std::set<std::string_view> names;
    for (const auto &[name, value] : attributes) {
        names.insert(name);
        const AppleDoubleLayout::Attribute *old = companion->layout().attribute(name);
        more += value.size() - (old ? old->value.length : 0);
    }
    if (Result<void> room = companion->checkRoomFor(more); !room)
        return room;
    Result<AppleDoubleContent> content = companion->content();
    if (!content)
        return content.failure();
    std::erase_if(content->attributes, [&](const auto &each) { return names.contains(each.name); });
    for (const auto &[name, value] : attributes)
        content->attributes.push_back({name, value});
    return companion->write(*content, companion->resourceFork().get(), fileStatus);
}

/// Finder information of zeros says nothing.
static bool hasFinderInformation(const AppleDoubleContent &content)
{
    return content.finderInformation &&
           std::any_of(content.finderInformation->begin(), content.finderInformation->end(),
                       [](auto byte) { return byte != 0; });
}

Result<void> Companion::writeOrRemove(AppleDoubleContent content, const ReadableFork *fork,
                                      const struct stat &fileStatus) const
{
    if (!hasFinderInformation(content))
        content.finderInformation.reset();
    if (!content.isEmpty() || fork)
        return write(content, fork, fileStatus);
    if (Result<void> unchanged = checkUnchangedSince(m_status); !unchanged)
        return unchanged;
    if (::unlink(m_path.c_str()) != 0)
        return Failure::fromErrno(errno, "unlink", m_path);
    return {};
}

Result<void> Companion::removeAttribute(const Path &file, const struct stat &fileStatus, const std::string &name)
{
    const Result<Companion> companion = open(file, fileStatus);
    if (!companion)
        return companion.failure();
    if (!companion->layout().attribute(name))
        return Failure{ErrorCode::NotFound, ENODATA, pathOf(file).native() + " has no attribute " + name};
    Result<AppleDoubleContent> content = companion->content();
    if (!content)
        return content.failure();
    std::erase_if(content->attributes, [&](const auto &each) { return each.name == name; });
    return companion->writeOrRemove(std::move(*content), companion->resourceFork().get(), fileStatus);
}

Result<void> Companion::discard(const Path &file, const struct stat &fileStatus, const ReadableFork &fork,
                                const std::vector<std::string> &names)
{
    const Result<Companion> companion = open(file, fileStatus);
    if (!companion && companion.failure().code == ErrorCode::NotFound)
        return {};
    if (!companion)
        return companion.failure();
    const auto *read = dynamic_cast<const CompanionFork *>(&fork);
    if (read) {
        if (Result<void> unchanged = companion->checkUnchangedSince(read->companion()); !unchanged)
            return unchanged;
    }
    const auto isUnwanted = [&](const auto &attribute) {
        return std::any_of(names.begin(), names.end(), [&](const std::string &name) {
            return asciiLowercase(name) == asciiLowercase(attribute.name);
        });
    };
    const auto &attributes = companion->layout().attributes;
    if (!read && std::none_of(attributes.begin(), attributes.end(), isUnwanted))
        return {};
    Result<AppleDoubleContent> content = companion->content();
    if (!content)
        return content.failure();
    std::erase_if(content->attributes, isUnwanted);
    const std::unique_ptr<ReadableFork> kept = read ? nullptr : companion->resourceFork();
    return companion->writeOrRemove(std::move(*content), kept.get(), fileStatus);
}
