#pragma once

#include <QStringList>

#include <map>
#include <mutex>
#include <string>

/// Tells under which names the desktop's themes keep the icons for files of a kind. Any thread.
class FileIconNames final
{
public:
    /// The most telling name first: "text-x-csrc" and "text-x-generic"; for the folders that every user has
    /// "folder-music" and "folder". None for other folders and for what is not there. Looks at the disk.
    QStringList of(const std::string &path);

private:
    std::once_flag m_isFilled;
    std::map<std::string, QStringList> m_userFolders; ///< by canonical path
};
