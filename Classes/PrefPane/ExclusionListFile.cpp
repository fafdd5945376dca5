#include "Classes/PrefPane/ExclusionListFile.h"

#include "Platform/PropertyList.h"

#include <ctime>
#include <utility>

static constexpr ByteCount kLargestList = 64u << 20;
static constexpr int kMostAttempts = 100;

static bool holds(const Path &file, const Bytes &content)
{
    const Result<Bytes> bytes = FileSystem::current().readFile(file, kLargestList);
    return bytes && *bytes == content;
}

ExclusionListFile::ExclusionListFile(Path path)
    : m_path(std::move(path))
{
}

Result<void> ExclusionListFile::makeFrom(const Path &defaults)
{
    FileSystem &files = FileSystem::current();
    const Result<FileStatus> status = files.status(m_path);
    if (status || status.failure().code != ErrorCode::NotFound)
        return {};
    const Result<Bytes> bytes = files.readFile(defaults, kLargestList);
    return bytes ? files.createFile(m_path, *bytes) : bytes.failure();
}

Result<std::vector<std::string>> ExclusionListFile::read()
{
    m_known.reset();
    Result<Bytes> bytes = FileSystem::current().readFile(m_path, kLargestList);
    if (!bytes)
        return bytes.failure();
    const Result<PropertyList> list = PropertyList::parse(*bytes);
    const auto *const elements = list ? list->as<PropertyList::Array>() : nullptr;
    if (!list)
        return Failure{list.failure().code, 0, list.failure().context + " of " + m_path.native()};
    if (!elements)
        return Failure{ErrorCode::Corrupt, 0, "no array: " + m_path.native()};
    std::vector<std::string> strings;
    for (const PropertyList &element : *elements) {
        if (const auto *const string = element.as<std::string>())
            strings.push_back(*string);
    }
    // What cannot be held in memory as it is must not be taken for known: replacing it would lose it.
    if (strings.size() == elements->size())
        m_known = std::move(*bytes);
    return strings;
}

Result<std::optional<Path>> ExclusionListFile::write(const std::vector<std::string> &strings)
{
    const PropertyList list(PropertyList::Array(strings.begin(), strings.end()));
    Result<Bytes> bytes = list.toXml();
    if (!bytes)
        bytes = list.toBinary(); // XML cannot hold every character that a file name may have
    if (!bytes)
        return bytes.failure();
    Result<std::optional<Path>> kept = put(*bytes);
    // A failure may have come only once the new list stood.
    if (kept || holds(m_path, *bytes))
        m_known = std::move(*bytes);
    return kept;
}

/// Looks at what was there once the new file stands: until then somebody might change it.
Result<std::optional<Path>> ExclusionListFile::put(ByteView content) const
{
    FileSystem &files = FileSystem::current();
    for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
        const Result<FileStatus> old = files.status(m_path);
        if (!old && old.failure().code != ErrorCode::NotFound)
            return old.failure();
        const Path kept = old ? nameForKeeping(*old, attempt) : Path();
        const Result<void> written =
            old ? files.replaceFileKeepingOld(m_path, content, kept) : files.createFile(m_path, content);
        if (written && old && !isKnown(kept))
            return std::optional(kept);
        if (written && old)
            static_cast<void>(files.removeFile(kept)); // where that fails there is one too many
        if (written)
            return std::optional<Path>();
        const bool isGone = old && written.failure().code == ErrorCode::NotFound;
        if (!isGone && written.failure().code != ErrorCode::Exists)
            return written.failure();
    }
    return Failure{ErrorCode::Exists, 0, "no free name beside " + m_path.native()};
}

Path ExclusionListFile::nameForKeeping(const FileStatus &status, int attempt) const
{
    const std::time_t changed = std::time_t(status.modified);
    std::tm utc = {};
    char date[64] = {};
    if (::gmtime_r(&changed, &utc)) // a file can bear times that no calendar holds
        std::strftime(date, sizeof date, "%Y%m%d-%H%M%S", &utc);
    return m_path.native() + ".replaced-" + date + (attempt == 0 ? "" : "-" + std::to_string(attempt));
}

bool ExclusionListFile::isKnown(const Path &file) const
{
    return m_known && holds(file, *m_known);
}
