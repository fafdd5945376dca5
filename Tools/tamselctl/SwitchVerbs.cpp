#include "Tools/tamselctl/Verbs.h"

#include "Classes/PrefPane/HelperLoginItem.h"
#include "Classes/Shared/keepAside.h"
#include "Classes/Util/PXUtil.h"
#include "Platform/ApplicationName.h"
#include "Platform/Bundle.h"
#include "Platform/DistributedNotificationCenter.h"
#include "Platform/Workspace.h"
#include "Tools/tamselctl/Invocation.h"
#include "Tools/tamselctl/RunningPrograms.h"
#include "Tools/tamselctl/SettingsFile.h"
#include "Tools/tamselctl/waitUntil.h"

#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <chrono>

using namespace std::chrono_literals;

static constexpr char kActive[] = "active";
static constexpr auto kPatience = 10s;

/// What a click on the switch does to the list of login items. An account without a list stays without one.
static Result<void> storeLoginItem(bool isWanted)
{
    if (!isWanted)
        return HelperLoginItem::remove();
    const auto helper = Bundles::current().main();
    return helper ? HelperLoginItem::add(helper->path()) : Result<void>(helper.failure());
}

static ExitCode setLoginItem(const Invocation &invocation, bool isWanted)
{
    const auto stored = storeLoginItem(isWanted);
    return stored ? ExitCode::Done : invocation.fail(stored.failure());
}

static ExitCode launchHelper(const Invocation &invocation)
{
    const auto helper = Bundles::current().main();
    if (!helper)
        return invocation.fail(helper.failure());
    const auto launched = Workspace::current().launchApplication(helper->path());
    return launched ? ExitCode::Done : invocation.fail(launched.failure());
}

/// Reads the settings; a file that nobody can read makes room for a new one.
static Result<SettingsFile> readSettings(const Invocation &invocation, const Path &path)
{
    auto settings = SettingsFile::read(path);
    if (settings || (settings.failure().code != ErrorCode::Corrupt && settings.failure().code != ErrorCode::TooLarge))
        return settings;
    const auto aside = keepAside(path);
    if (!aside)
        return aside.failure();
    invocation.note(settings.failure().context + "; kept as " + aside->native());
    return SettingsFile::read(path);
}

static ExitCode switchInFiles(const Invocation &invocation, const Path &path, bool on, bool isHelperRunning)
{
    auto settings = readSettings(invocation, path);
    if (!settings)
        return invocation.fail(settings.failure());
    if (const auto stored = settings->store(kActive, on); !stored)
        return invocation.fail(stored.failure());
    const ExitCode items = setLoginItem(invocation, on);
    auto &center = DistributedNotificationCenter::current();
    center.post("com.dovrane.pellix.active");
    flush(center);
    const ExitCode launch = on && !isHelperRunning ? launchHelper(invocation) : ExitCode::Done;
    return std::max(items, launch);
}

/// Answers once the settings file says so, which is how the panel's answer is seen.
static bool waitForSetting(const Path &path, bool on)
{
    return waitUntil([&] {
        const auto settings = SettingsFile::read(path);
        return settings && settings->boolean(kActive) == on;
    });
}

static ExitCode askHost(const Invocation &invocation, const Path &path, bool on)
{
    const auto settings = SettingsFile::read(path);
    if (settings && settings->boolean(kActive) == on)
        return ExitCode::Done;
    QEventLoop loop;
    bool hasAnswered = false;
    ApplicationName::current().activateOwner(
        RunningPrograms::kHost, {"--pane", "com.dovrane.Tamsel", "--request", on ? "on" : "off"}, [&](bool answered) {
            hasAnswered = answered;
            loop.quit();
        });
    QTimer::singleShot(kPatience, &loop, &QEventLoop::quit);
    loop.exec();
    if (!hasAnswered)
        return invocation.fail("the panel does not answer");
    return waitForSetting(path, on) ? ExitCode::Done : invocation.fail("the panel has not moved its switch");
}

static ExitCode switchHelper(const Invocation &invocation, bool on)
{
    const auto folder = PXUtil::applicationSupportFolder();
    if (!folder)
        return invocation.fail("there is no application-support folder");
    const Path path = *folder / "defaults.plist";
    const RunningPrograms programs = RunningPrograms::find();
    return programs.isHostRunning ? askHost(invocation, path, on)
                                  : switchInFiles(invocation, path, on, programs.isHelperRunning);
}

ExitCode switchOn(Invocation &invocation)
{
    return switchHelper(invocation, true);
}

ExitCode switchOff(Invocation &invocation)
{
    return switchHelper(invocation, false);
}
