#include "Tools/tamselctl/SettingsFile.h"

#include "Classes/Shared/truthOf.h"

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
