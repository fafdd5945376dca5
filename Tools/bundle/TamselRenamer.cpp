#include "Platform/DistributedNotificationCenter.h"
#include "Platform/FileSystem.h"
#include "Platform/Services.h"
#include "Tools/bundle/OwnBundle.h"

#include <QCoreApplication>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

static constexpr const char *kName = "Tamsel.prefPane";
static constexpr const char *kRelaunch = "com.dovrane.tamsel.relaunch";
static constexpr int kPatienceMs = 5000;

namespace {

enum ExitCode { kDone = 0, kFailed = 1, kWrongUse = 2 };

} // namespace

static bool bearsLegacyName(const Path &bundle)
{
    return bundle.filename() == "Pellix.prefPane" || bundle.filename() == "Pellixer.prefPane";
}

/// A bundle somewhere else, in a build tree for example, keeps the name that its owner gave it.
static bool liesInPaneFolder(const Path &bundle)
{
    std::vector<Path> folders = sharedPaneFolders();
    if (const std::optional<Path> own = userPaneFolder())
        folders.push_back(*own);
    return std::any_of(folders.begin(), folders.end(), [&](const Path &folder) {
        std::error_code failure;
        const Path real = std::filesystem::canonical(folder, failure);
        return !failure && real == bundle.parent_path();
    });
}

/// Waits until the post has reached the bus: what is posted by a process that ends at once may be lost.
static bool postRelaunch(QCoreApplication &application)
{
    bool reached = false;
    DistributedNotificationCenter &center = DistributedNotificationCenter::current();
    center.post(kRelaunch);
    center.flush([&](bool done) {
        reached = done;
        QTimer::singleShot(0, &application, &QCoreApplication::quit);
    });
    QTimer::singleShot(kPatienceMs, &application, &QCoreApplication::quit);
    application.exec();
    return reached;
}

int main(int argc, char **argv)
{
    if (!isCalledRightly(argc, argv, "Renames the pane that holds this program when it bears a legacy name."))
        return kWrongUse;
    ::setenv("DBUS_FATAL_WARNINGS", "0", 1);
    QCoreApplication application(argc, argv);
    installEngineServices();
    installPaneServices();
    const std::optional<Path> bundle = ownBundle();
    if (!bundle || !bearsLegacyName(*bundle) || !liesInPaneFolder(*bundle))
        return kDone;
    const Path renamed = bundle->parent_path() / kName;
    if (const Result<void> moved = FileSystem::current().moveWithoutReplacing(*bundle, renamed); !moved) {
        std::fprintf(stderr, "TamselRenamer: %s keeps its name: %s\n", bundle->c_str(),
                     moved.failure().code == ErrorCode::Exists ? (renamed.native() + " is there already").c_str()
                                                               : moved.failure().context.c_str());
        return kFailed;
    }
    if (!postRelaunch(application))
        std::fprintf(stderr, "TamselRenamer: renamed, but there is no session bus to tell it on\n");
    return kDone;
}
