#include "Classes/PrefPane/HelperLoginItem.h"
#include "Platform/Bundle.h"
#include "Platform/FileSystem.h"
#include "Platform/Services.h"
#include "Platform/TreeRemoval.h"
#include "Platform/UserFolders.h"
#include "Tools/bundle/OwnBundle.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>

static constexpr const char *kIdentifier = "com.dovrane.Tamsel";

namespace {

enum ExitCode { kDone = 0, kFailed = 1, kWrongUse = 2 };

} // namespace

static void say(const std::string &line)
{
    std::fprintf(stderr, "TamselRemover: %s\n", line.c_str());
}

/// Why the bundle is none that this program removes, and who does; empty when it is.
static std::string objectionTo(const Path &bundle)
{
    const std::vector<Path> shared = sharedPaneFolders();
    if (std::find(shared.begin(), shared.end(), bundle.parent_path()) != shared.end())
        return bundle.native() + " is installed for all users. Remove it with the package manager, for example with "
                                 "\"sudo apt remove tamsel\", or delete it as administrator.";
    const std::optional<Path> own = userPaneFolder();
    if (!own || bundle.parent_path() != *own)
        return bundle.native() +
               " does not lie directly in your folder of panes. Delete it by hand where it is; a link "
               "to it in a folder of panes can be deleted as well.";
    const Result<FileStatus> folder = FileSystem::current().status(*own, Links::NotFollow);
    if (!folder || folder->type != FileType::Directory)
        return own->native() + " is a link. Delete " + bundle.native() + " by hand.";
    const Result<Bundle> read = Bundles::current().open(bundle);
    if (!read || read->identifier() != kIdentifier)
        return bundle.native() + " does not say that it is Tamsel. If you know that it is, delete it by hand.";
    return {};
}

static bool removeLoginItem()
{
    const Result<void> removed = HelperLoginItem::remove();
    if (!removed)
        say("the login item may still be there: " + removed.failure().context);
    return bool(removed);
}

static bool removeIfThere(const Path &file)
{
    const Result<FileStatus> status = FileSystem::current().status(file, Links::NotFollow);
    if (!status || status->type != FileType::Regular)
        return true;
    const Result<void> removed = FileSystem::current().removeFile(file);
    if (!removed)
        say(removed.failure().context);
    return bool(removed);
}

/// The helper's log, and the locks, which only a running program needs. Settings, history and lists are the user's and
/// stay.
static bool removeRuntimeFiles()
{
    const Result<Path> support = UserFolders::current().applicationSupport();
    const Result<Path> temporary = UserFolders::current().temporary();
    if (!support || !temporary)
        return false;
    bool done = removeIfThere(*temporary / "TamselHelper.log");
    for (const char *const folder : {"Pellix", "Pellixer", "Tamsel"}) {
        for (const char *const lock :
             {"helper.lock", "history.db.lock", "excludedPaths.plist.lock", "excludedExtensions.plist.lock"})
            done = removeIfThere(*support / folder / lock) && done;
    }
    return done;
}

int main(int argc, char **argv)
{
    if (!isCalledRightly(argc, argv, "Removes the pane that holds this program, if it is the user's own."))
        return kWrongUse;
    const QCoreApplication application(argc, argv);
    installEngineServices();
    const std::optional<Path> bundle = ownBundle();
    if (!bundle) {
        say("this program lies in no bundle, so there is nothing that it could remove.");
        return kFailed;
    }
    if (const std::string objection = objectionTo(*bundle); !objection.empty()) {
        say(objection);
        return kFailed;
    }
    const Result<FileStatus> status = FileSystem::current().status(*bundle, Links::NotFollow);
    const Result<void> removed = status ? removeTree(bundle->parent_path(), bundle->filename(), status->identity)
                                        : Result<void>(status.failure());
    if (!removed) {
        say(bundle->native() + " could not be removed: " + removed.failure().context + ". Delete it by hand.");
        return kFailed;
    }
    const bool itemGone = removeLoginItem();
    const bool filesGone = removeRuntimeFiles();
    return itemGone && filesGone ? kDone : kFailed;
}
