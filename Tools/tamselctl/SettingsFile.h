#pragma once

#include "Platform/PropertyList.h"

#include <optional>

/// The settings file as it lies on the disk. The pane's store is never used for it: that one writes on its own account.
class SettingsFile final
{
public:
    /// Reads the file. One that is not there, or holds no dictionary, has the built-in values. Errors: Corrupt or
    /// TooLarge when the content cannot be read, Permission and Io when the file cannot.
    static Result<SettingsFile> read(const Path &path);

    /// The setting, or the built-in value, which is YES, where the file has none.
    bool boolean(const std::string &key) const;

    /// Writes the file with this setting changed and all others as they are.
    Result<void> store(const std::string &key, bool value);

private:
    explicit SettingsFile(Path path)
        : m_path(std::move(path))
    {
    }

    Path m_path;
    PropertyList m_settings;
};
