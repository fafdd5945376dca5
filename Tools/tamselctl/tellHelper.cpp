#include "Tools/tamselctl/tellHelper.h"

#include "Classes/PrefPane/FolderRequests.h"
#include "Platform/Bundle.h"
#include "Platform/Workspace.h"
#include "Tools/tamselctl/RunningPrograms.h"
#include "Tools/tamselctl/waitUntil.h"

std::optional<std::string> reachHelper()
{
    const RunningPrograms programs = RunningPrograms::find();
    if (!programs.isBusThere)
        return "there is no session bus";
    if (programs.isHelperRunning)
        return std::nullopt;
    const auto helper = Bundles::current().main();
    if (!helper)
        return helper.failure().context;
    const auto launched = Workspace::current().launchApplication(helper->path());
    return launched ? std::nullopt : std::optional(launched.failure().context);
}

bool tellHelper(const char *key, const std::vector<std::string> &folders, const std::function<bool()> &isDone)
{
    FolderRequests requests;
    requests.post(key, folders);
    return waitUntil(isDone);
}
