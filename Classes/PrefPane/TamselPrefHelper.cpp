#include "Classes/PrefPane/TamselPref.h"

#include "Classes/Shared/AlertSheet.h"
#include "Classes/Shared/Log.h"
#include "Platform/DistributedNotificationCenter.h"
#include "Platform/FileSystem.h"
#include "Platform/Workspace.h"

static constexpr std::uint32_t kExpectedPermissions = 0755;

std::optional<Path> TamselPref::helperPath() const
{
    return bundle().resource("TamselHelper", "app");
}

void TamselPref::checkRunningHelperVersion()
{
    DistributedNotificationCenter::current().post("com.dovrane.tamsel.version", {{"version", version()}});
}

void TamselPref::launchHelper()
{
    const std::optional<Path> helper = helperPath();
    if (!helper)
        return;
    const Result<FileStatus> status = FileSystem::current().status(*helper / "Contents/MacOS/TamselHelper");
    if (status && status->mode != kExpectedPermissions)
        warnOnWrongHelperPermissions();

    Result<std::shared_ptr<RunningApplication>> launched = Workspace::current().launchApplication(*helper);
    m_helper = launched ? *launched : nullptr;
    logLine("Helper launch error: " + (launched ? "(null)" : launched.failure().context));
    logLine("running app is " + (m_helper ? m_helper->description() : "(null)"));
    if (m_helper)
        m_helper->observeTerminated([] {}); // its end is noticed at the next selection, not before
}

void TamselPref::warnOnWrongHelperPermissions()
{
    static bool s_hasWarned = false;
    if (std::exchange(s_hasWarned, true))
        return;
    AlertSheet::alertWithMessageText("Permissions Issue", "OK", {}, {},
                                     "Tamsel Helper application has the wrong permissions, and will probably not run. "
                                     "Please reinstall Tamsel or change the permissions manually, or contact support.")
        .beginSheetModalForWindow(windowForSheets(), {});
}
