#include "Host/PaneCatalog.h"

#include "Platform/Bundle.h"
#include "Platform/FileSystem.h"
#include "Platform/UserFolders.h"

#include <algorithm>
#include <set>

static const char *const kFolderName = "PreferencePanes";
static const char *const kExtension = ".prefPane";

static Path iconOf(const Bundle &bundle)
{
    for (const char *key : {"NSPrefPaneIconFile", "CFBundleIconFile"}) {
        const std::string name = bundle.information().string(key);
        if (name.empty())
            continue;
        for (const char *type : {"", "svg", "png"}) {
            if (const std::optional<Path> file = bundle.resource(name, type))
                return *file;
        }
    }
    return {};
}

static Path withoutTrailingSlash(const Path &path)
{
    const Path normal = path.lexically_normal();
    return normal.has_filename() ? normal : normal.parent_path();
}

std::vector<Path> paneFolders()
{
    std::vector<Path> folders;
    if (const Result<Bundle> host = Bundles::current().main()) {
        const Path applications = withoutTrailingSlash(host->path()).parent_path();
        folders.push_back(applications.parent_path() / kFolderName);                         // of a build
        folders.push_back(applications.parent_path().parent_path() / "share" / kFolderName); // of an installation
    }
    if (const Result<Path> user = UserFolders::current().applicationSupport())
        folders.push_back(*user / kFolderName);
    folders.push_back(Path("/usr/local/share") / kFolderName);
    folders.push_back(Path("/usr/share") / kFolderName);
    return folders;
}

std::vector<PaneListing> findPanes(const std::vector<Path> &folders)
{
    std::vector<PaneListing> panes;
    std::set<std::string> identifiers;
    for (const Path &folder : folders) {
        const Result<std::vector<std::string>> names = FileSystem::current().entries(folder);
        if (!names)
            continue;
        for (const std::string &name : *names) {
            if (Path(name).extension() != kExtension)
                continue;
            PaneListing pane = describePane(folder / name);
            const std::string &identity = pane.identifier.empty() ? pane.path.native() : pane.identifier;
            if (identifiers.insert(identity).second)
                panes.push_back(std::move(pane));
        }
    }
    std::ranges::stable_sort(panes, {}, &PaneListing::name);
    return panes;
}

PaneListing describePane(const Path &path)
{
    const Path clean = withoutTrailingSlash(path);
    const Result<Bundle> bundle = Bundles::current().open(clean);
    if (!bundle)
        return {clean, {}, clean.stem().native(), {}};
    const std::string label = bundle->information().string("NSPrefPaneIconLabel");
    return {clean, bundle->identifier(), label.empty() ? bundle->name() : label, iconOf(*bundle)};
}

std::optional<PaneListing> findPane(const std::string &argument, const std::vector<PaneListing> &panes)
{
    if (argument.find('/') != std::string::npos)
        return describePane(argument);
    const auto isMeant = [&argument](const PaneListing &pane) {
        return pane.path.filename() == argument || pane.path.stem() == argument || pane.identifier == argument;
    };
    const auto found = std::ranges::find_if(panes, isMeant);
    return found == panes.end() ? std::nullopt : std::optional(*found);
}
