#include "Helper/UpdateCheck.h"

#include "Classes/Shared/Log.h"
#include "Classes/Util/PXVersionComparator.h"
#include "Platform/Bundle.h"
#include "Platform/FileSystem.h"

UpdateCheck::UpdateCheck(Path bundle, std::string runningVersion, std::chrono::milliseconds interval)
    : m_bundle(std::move(bundle))
    , m_runningVersion(std::move(runningVersion))
{
    m_timer.setInterval(interval);
    connect(&m_timer, &QTimer::timeout, this, &UpdateCheck::check);
}

void UpdateCheck::setAutomatic(bool isAutomatic)
{
    if (isAutomatic == m_timer.isActive())
        return;
    if (!isAutomatic) {
        m_timer.stop();
        return;
    }
    m_timer.start();
    check();
}

/// Whether there is a file that may be run; an installation that is under way may not have got so far.
static bool isProgram(const Path &path)
{
    constexpr std::uint32_t kMayBeRun = 0111;
    const Result<FileStatus> status = FileSystem::current().status(path);
    return status && status->type == FileType::Regular && (status->mode & kMayBeRun) != 0;
}

void UpdateCheck::check()
{
    const Result<Bundle> installed = Bundles::current().open(m_bundle);
    if (!installed) {
        logLine("No update check: " + installed.failure().context);
        return;
    }
    const std::string version = installed->version();
    const bool isNewer = PXVersionComparator::defaultComparator().compareVersion(version, m_runningVersion) > 0;
    logLine("Running version " + m_runningVersion + ", installed version " + version);
    if (!isNewer || version == m_foundVersion)
        return;
    if (!isProgram(installed->executable())) {
        logLine("Its program cannot be run, the running one goes on");
        return;
    }
    m_foundVersion = version;
    Q_EMIT found(version);
}
