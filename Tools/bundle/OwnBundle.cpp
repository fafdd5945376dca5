#include "Tools/bundle/OwnBundle.h"

#include "Platform/UserFolders.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdio>

std::optional<Path> ownBundle()
{
    const Path folder = QFile::encodeName(QCoreApplication::applicationDirPath()).toStdString();
    const Path contents = folder.parent_path();
    if (folder.filename() != "Resources" || contents.filename() != "Contents")
        return std::nullopt;
    return contents.parent_path();
}

std::optional<Path> userPaneFolder()
{
    const Result<Path> support = UserFolders::current().applicationSupport();
    if (!support)
        return std::nullopt;
    std::error_code failure;
    const Path real = std::filesystem::canonical(*support, failure);
    return failure ? std::nullopt : std::optional(real / "PreferencePanes");
}

std::vector<Path> sharedPaneFolders()
{
    return {"/usr/local/share/PreferencePanes", "/usr/share/PreferencePanes"};
}

bool isCalledRightly(int argc, char **argv, const char *does)
{
    if (argc == 2 && argv[1][0] == '\0')
        return true;
    const Path name = argc > 0 ? Path(argv[0]).filename() : Path("?");
    std::fprintf(stderr, "usage: %s \"\"\n%s\n", name.c_str(), does);
    return false;
}
