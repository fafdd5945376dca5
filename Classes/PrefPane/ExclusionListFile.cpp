#include "Classes/PrefPane/ExclusionListFile.h"

#include "Platform/FileSystem.h"
#include "Platform/PropertyList.h"

#include <ctime>
#include <utility>

static constexpr ByteCount kLargestList = 64u << 20;
static constexpr int kMostAttempts = 100;

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
    Result<std::optional<Path>> kept = keepOther();
    if (!kept)
        return kept;
    if (const Result<void> written = FileSystem::current().replaceFile(m_path, *bytes); !written)
        return written.failure();
    m_known = std::move(*bytes);
    return kept;
}

/// A copy and not a new name: until the new file stands there is always one.
Result<std::optional<Path>> ExclusionListFile::keepOther() const
{
    FileSystem &files = FileSystem::current();
    const Result<Bytes> bytes = files.readFile(m_path, kLargestList);
    if (!bytes && bytes.failure().code == ErrorCode::NotFound)
        return std::optional<Path>();
    if (!bytes)
        return bytes.failure();
    if (*bytes == m_known)
        return std::optional<Path>();
    const std::time_t now = std::time(nullptr);
    std::tm utc = {};
    char date[32] = {};
    std::strftime(date, sizeof date, "%Y%m%d-%H%M%S", gmtime_r(&now, &utc));
    for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
        Path kept = m_path;
        kept += std::string(".replaced-") + date + (attempt == 0 ? "" : "-" + std::to_string(attempt));
        const Result<void> made = files.createFile(kept, *bytes, 0600);
        if (made)
            return std::optional<Path>(kept);
        if (made.failure().code != ErrorCode::Exists)
            return made.failure();
    }
    return Failure{ErrorCode::Exists, 0, "no free name beside " + m_path.native()};
}
