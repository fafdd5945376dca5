#pragma once

#include "Platform/Formats/DesktopEntry.h"
#include "Platform/LoginWindow.h"

/// The list is the user's XDG autostart folder, an entry a .desktop file in it. Entries of others come first, by file
/// name; ours, which bear "X-Tamsel-Path", by "X-Tamsel-Order". An entry with "Hidden" set was switched off by the user
/// and is not in the list. Files are reached through `FileSystem::current()`. Main thread.
class LinuxLoginWindow final : public LoginWindow
{
public:
    static constexpr const char *kEntryName = "com.dovrane.TamselHelper.desktop";

    /// $XDG_CONFIG_HOME/autostart, else ~/.config/autostart.
    LinuxLoginWindow() = default;
    explicit LinuxLoginWindow(Path folder)
        : m_folder(std::move(folder))
    {
    }

    Result<std::optional<std::vector<LoginItem>>> copyItems() const override;
    Result<void> storeItems(const std::vector<LoginItem> &items) override;
    Result<void> makeList() override;

private:
    struct Entry
    {
        LoginItem item;
        bool isOurs = false;
        long order = 0;
    };

    Result<Path> folder() const;
    Result<std::vector<std::string>> names(const Path &folder) const;
    static std::optional<Entry> readEntry(const Path &file);
    static std::vector<Entry> readEntries(const Path &folder, const std::vector<std::string> &names);
    static Result<Path> add(const LoginItem &item, long order, const Path &folder, const std::vector<Entry> &others);

    Path m_folder;
    mutable std::vector<LoginItem> m_copied; ///< what the caller has seen and may mean when it leaves one out
};
