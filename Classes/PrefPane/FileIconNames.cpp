#include "Classes/PrefPane/FileIconNames.h"

#include "Classes/Shared/stringWithFileSystemRepresentation.h"

#include <QFile>
#include <QMimeDatabase>
#include <QStandardPaths>

#include <filesystem>
#include <system_error>

static std::map<std::string, QStringList> userFolders()
{
    static constexpr std::pair<QStandardPaths::StandardLocation, const char *> kIcons[] = {
        {QStandardPaths::HomeLocation, "user-home"}, // first, since others that nobody has set are the home, too
        {QStandardPaths::DesktopLocation, "user-desktop"},
        {QStandardPaths::DocumentsLocation, "folder-documents"},
        {QStandardPaths::DownloadLocation, "folder-download"},
        {QStandardPaths::MusicLocation, "folder-music"},
        {QStandardPaths::PicturesLocation, "folder-pictures"},
        {QStandardPaths::MoviesLocation, "folder-videos"},
        {QStandardPaths::PublicShareLocation, "folder-publicshare"},
        {QStandardPaths::TemplatesLocation, "folder-templates"},
    };
    std::map<std::string, QStringList> folders;
    for (const auto &[location, icon] : kIcons) {
        const Path path = QFile::encodeName(QStandardPaths::writableLocation(location)).toStdString();
        folders.try_emplace(stringByCanonicalizingPath(path).native(),
                            QStringList{QLatin1String(icon), QStringLiteral("folder")});
    }
    return folders;
}

QStringList FileIconNames::of(const std::string &path)
{
    std::call_once(m_isFilled, [this] { m_userFolders = userFolders(); });
    std::error_code failure;
    const std::filesystem::file_status status = std::filesystem::status(path, failure);
    if (status.type() == std::filesystem::file_type::directory) {
        const auto found = m_userFolders.find(path);
        return found == m_userFolders.end() ? QStringList() : found->second;
    }
    if (failure || !std::filesystem::exists(status))
        return {};
    const QMimeType type = QMimeDatabase().mimeTypeForFile(QFile::decodeName(path.c_str()));
    return {type.iconName(), type.genericIconName()};
}
