#include "Classes/PrefPane/PXDefaultsController.h"

#include "Classes/PrefPane/PXPreferenceCommunicator.h"
#include "Classes/Shared/Log.h"
#include "Classes/Shared/keepAside.h"
#include "Classes/Shared/truthOf.h"
#include "Classes/Util/PXUtil.h"
#include "Platform/FileSystem.h"
#include "Platform/SuddenTermination.h"

static constexpr const char *kFirstRun = "firstRun";
static constexpr const char *kFolderAliases = "folderAliases";
static constexpr const char *kActive = "active";
static constexpr const char *kRunAtLogin = "runAtLogin";
static constexpr const char *kCheckUpdates = "checkUpdates";
static constexpr const char *kVisible = "visible";

void PXDefaultsController::init()
{
    setupDefaultValues();
}

void PXDefaultsController::setupDefaultValues()
{
    const SuddenTerminationGuard guard;
    m_defaultValues = PropertyList();
    m_defaultValues.set(kFirstRun, true);
    m_defaultValues.set(kFolderAliases, PropertyList::Array());
    m_defaultValues.set(kActive, true);
    m_defaultValues.set(kRunAtLogin, true);
    m_defaultValues.set(kCheckUpdates, true);
    m_defaultValues.set(kVisible, true);
    m_defaults = PropertyList();
    reload();
    synchronize();
}

std::optional<Path> PXDefaultsController::defaultsFileName() const
{
    const std::optional<Path> folder = PXUtil::applicationSupportFolder();
    return folder ? std::optional(*folder / "defaults.plist") : std::nullopt;
}

void PXDefaultsController::reload()
{
    m_fileIsUnreadable = m_fileIsUnknown = false;
    m_defaults = m_defaultValues;
    const std::optional<Path> file = defaultsFileName();
    if (!file)
        return;
    Result<PropertyList> read = PropertyList::read(*file);
    const auto *entries = read ? read->as<PropertyList::Dictionary>() : nullptr;
    if (entries && !entries->empty())
        m_defaults = *read;
    const bool isMissing = !read && read.failure().code == ErrorCode::NotFound;
    const bool leadsNowhere = isMissing && FileSystem::current().status(*file); // a link, and nothing behind it
    m_fileIsUnreadable = leadsNowhere || (read ? !entries : isUnreadableForGood(read.failure()));
    m_fileIsUnknown = !read && !m_fileIsUnreadable && !isMissing;
}

bool PXDefaultsController::keepUnreadableFileAside(const Path &file)
{
    const Result<Path> aside = keepAside(file);
    if (aside)
        logLine("Settings could not be read and were kept as " + aside->native());
    m_fileIsUnreadable = !aside && aside.failure().code != ErrorCode::NotFound;
    return !m_fileIsUnreadable;
}

void PXDefaultsController::synchronize()
{
    const std::optional<Path> file = defaultsFileName();
    const bool mayWrite = file && !m_fileIsUnknown && (!m_fileIsUnreadable || keepUnreadableFileAside(*file));
    if (!mayWrite || !m_defaults.write(*file))
        logLine("Could not write preferences to file: " + (file ? file->native() : "(null)"));
}

bool PXDefaultsController::flag(const char *key) const
{
    if (const std::optional<bool> stored = truthOf(m_defaults.find(key)))
        return *stored;
    return truthOf(m_defaultValues.find(key)).value_or(false);
}

void PXDefaultsController::store(const char *key, bool value)
{
    if (m_fileIsUnknown)
        reload();
    m_defaults.set(key, value);
    synchronize();
}

bool PXDefaultsController::firstRun() const
{
    return flag(kFirstRun);
}

void PXDefaultsController::setFirstRunDone()
{
    store(kFirstRun, false);
}

bool PXDefaultsController::helperActive() const
{
    return flag(kActive);
}

void PXDefaultsController::setHelperActive(bool active)
{
    store(kActive, active);
    Q_EMIT helperActiveChanged(active);
}

bool PXDefaultsController::autorunAtLogin() const
{
    return flag(kRunAtLogin);
}

void PXDefaultsController::setAutorunAtLogin(bool autorun)
{
    store(kRunAtLogin, autorun);
    Q_EMIT autorunAtLoginChanged(autorun);
}

bool PXDefaultsController::checkForUpdates() const
{
    return flag(kCheckUpdates);
}

void PXDefaultsController::setCheckForUpdates(bool check)
{
    store(kCheckUpdates, check);
    auto *const communicator = PXPreferenceCommunicator::sharedCommunicatorController();
    if (check)
        communicator->notifyAutomaticUpdatesEnabled();
    else
        communicator->notifyAutomaticUpdatesDisabled();
    Q_EMIT checkForUpdatesChanged(check);
}

bool PXDefaultsController::visible() const
{
    return flag(kVisible);
}

void PXDefaultsController::setVisible(bool visible)
{
    store(kVisible, visible);
    Q_EMIT visibleChanged(visible);
}
