#include "Platform/Linux/Qt/LinuxWorkspace.h"

#include "Platform/Bundle.h"
#include "Platform/Linux/Qt/BusNameWatch.h"
#include "Platform/Linux/Qt/LaunchedApplication.h"
#include "Platform/Linux/Qt/MountWatch.h"
#include "Platform/Linux/Qt/SessionBus.h"
#include "Platform/UserFolders.h"

#include <algorithm>
#include <utility>

LinuxWorkspace::LinuxWorkspace(SessionBus &bus)
    : m_bus(bus)
{
}

LinuxWorkspace::~LinuxWorkspace() = default;

bool LinuxWorkspace::Kind::isRunning() const
{
    return name->isOwned() || std::any_of(launched.begin(), launched.end(), [](const auto &application) {
               return !application->isTerminated() && !application->isLeaving();
           });
}

LinuxWorkspace::Kind &LinuxWorkspace::kind(const std::string &bundleIdentifier) const
{
    Kind &kind = m_kinds[bundleIdentifier];
    if (kind.name)
        return kind;
    kind.name = std::make_unique<BusNameWatch>(m_bus, QString::fromStdString(bundleIdentifier));
    auto *const self = const_cast<LinuxWorkspace *>(this); // whoever hears of a change may launch one
    QObject::connect(kind.name.get(), &BusNameWatch::changed,
                     [self, bundleIdentifier] { self->update(bundleIdentifier); });
    QObject::connect(kind.name.get(), &BusNameWatch::released, [&kind] {
        for (const auto &application : kind.launched)
            application->setLeaving();
    });
    return kind;
}

/// Where a launched program writes that cannot write where this one does; empty when there is no place.
static Path logOf(const Path &executable)
{
    const Result<Path> folder = UserFolders::current().temporary();
    return folder ? *folder / (executable.filename().native() + ".log") : Path();
}

Result<std::shared_ptr<RunningApplication>> LinuxWorkspace::launchApplication(const Path &bundle)
{
    const Result<Bundle> opened = Bundles::current().open(bundle);
    if (!opened)
        return opened.failure();
    const Path executable = opened->executable();
    if (executable.empty())
        return Failure{ErrorCode::Corrupt, 0, bundle.native() + " names no executable"};
    Result<DetachedProcess> process = DetachedProcess::start(executable, {}, logOf(executable));
    if (!process)
        return process.failure();
    const std::string identifier = opened->identifier();
    return std::shared_ptr<RunningApplication>(keep(identifier, *std::move(process)));
}

std::shared_ptr<LaunchedApplication> LinuxWorkspace::keep(const std::string &bundleIdentifier, DetachedProcess process)
{
    // It may end in the middle of telling that it has.
    const std::shared_ptr<LaunchedApplication> application(
        new LaunchedApplication(bundleIdentifier, std::move(process)),
        [](LaunchedApplication *ended) { ended->deleteLater(); });
    kind(bundleIdentifier).launched.push_back(application);
    QObject::connect(application.get(), &LaunchedApplication::terminated,
                     [this, bundleIdentifier, ended = application.get()] {
                         auto &launched = kind(bundleIdentifier).launched;
                         std::erase_if(launched, [&](const auto &one) { return one.get() == ended; });
                         update(bundleIdentifier);
                     });
    update(bundleIdentifier);
    return application;
}

bool LinuxWorkspace::isRunning(const std::string &bundleIdentifier) const
{
    return kind(bundleIdentifier).isRunning();
}

void LinuxWorkspace::watchRunning(const std::string &bundleIdentifier, std::function<void(bool)> changed)
{
    kind(bundleIdentifier).watchers.push_back(std::move(changed));
}

void LinuxWorkspace::watchVolumes(std::function<void()> changed)
{
    if (!m_mounts)
        m_mounts = std::make_unique<MountWatch>();
    QObject::connect(m_mounts.get(), &MountWatch::changed, std::move(changed));
}

void LinuxWorkspace::update(const std::string &bundleIdentifier)
{
    Kind &changedKind = kind(bundleIdentifier);
    const bool isRunning = changedKind.isRunning();
    if (std::exchange(changedKind.told, isRunning) == isRunning)
        return;
    const auto watchers = changedKind.watchers; // one may add another
    for (const auto &watcher : watchers)
        watcher(isRunning);
}

Result<void> LinuxWorkspace::openUrl(const std::string &url)
{
    if (url.empty() || url.front() == '-')
        return Failure{ErrorCode::NotSupported, 0, "Not an address: " + url};
    Result<DetachedProcess> process = DetachedProcess::start("xdg-open", {url});
    if (!process)
        return process.failure();
    keep("xdg-open", *std::move(process)); // until it has ended
    return {};
}
