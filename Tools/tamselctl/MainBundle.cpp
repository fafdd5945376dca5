#include "Tools/tamselctl/MainBundle.h"

#include "Platform/UserFolders.h"

#include <QCoreApplication>
#include <QFile>

/// Those of the same build or installation first, then the user's own, then the system's.
static std::vector<Path> paneFolders()
{
    const Path ownFolder = QFile::encodeName(QCoreApplication::applicationDirPath()).toStdString();
    std::vector<Path> folders = {ownFolder.parent_path() / "PreferencePanes",
                                 ownFolder.parent_path() / "share/PreferencePanes"};
    if (const auto support = UserFolders::current().applicationSupport())
        folders.push_back(*support / "PreferencePanes");
    folders.emplace_back("/usr/local/share/PreferencePanes");
    folders.emplace_back("/usr/share/PreferencePanes");
    return folders;
}

Result<Bundle> MainBundle::main() const
{
    for (const Path &folder : paneFolders()) {
        auto helper = m_others.open(folder / "Tamsel.prefPane/Contents/Resources/TamselHelper.app");
        if (helper || helper.failure().code != ErrorCode::NotFound)
            return helper;
    }
    return Failure{ErrorCode::NotFound, 0, "TamselHelper.app is in none of the pane folders"};
}
