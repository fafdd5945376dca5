#include "Tools/tamselctl/SettingsFile.h"

#include "Classes/Shared/truthOf.h"
#include "Platform/FileSystem.h"

#include <ctime>

Result<SettingsFile> SettingsFile::read(const Path &path)
{
    SettingsFile file(path);
    auto list = PropertyList::read(path);
    if (!list && list.failure().code == ErrorCode::NotFound)
        return file;
    if (!list)
        return list.failure();
    if (!list->as<PropertyList::Dictionary>())
        return Failure{ErrorCode::Corrupt, 0, path.native() + " holds no dictionary"};
    file.m_settings = std::move(*list);
    return file;
}

bool SettingsFile::boolean(const std::string &key) const
{
    return truthOf(m_settings.find(key)).value_or(true);
}

Result<void> SettingsFile::store(const std::string &key, bool value)
{
    m_settings.set(key, value);
    return m_settings.write(m_path);
}

Result<Path> SettingsFile::setAside(const Path &path)
{
    const std::time_t now = std::time(nullptr);
    std::tm utc = {};
    char date[32] = {};
    std::strftime(date, sizeof date, "%Y%m%d-%H%M%S", gmtime_r(&now, &utc));
    for (int attempt = 0; attempt < 100; ++attempt) {
        Path aside = path;
        aside += std::string(".unreadable-") + date + (attempt == 0 ? "" : "-" + std::to_string(attempt));
        const auto moved = FileSystem::current().moveWithoutReplacing(path, aside);
        if (moved)
            return aside;
        if (moved.failure().code != ErrorCode::Exists)
            return moved.failure();
    }
    return Failure{ErrorCode::Exists, 0, "no free name beside " + path.native()};
}
