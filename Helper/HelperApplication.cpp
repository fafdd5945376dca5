#include "Helper/HelperApplication.h"

#include "Classes/Shared/Log.h"
#include "Helper/HelperSettings.h"
#include "Platform/ApplicationName.h"

#include <algorithm>
#include <chrono>
#include <set>
#include <string_view>
#include <utility>

// On a machine with no processor to spare, what only gets the rest may take seconds to hear of anything.
static constexpr std::chrono::milliseconds kLongestStop{200};
static constexpr std::chrono::hours kSurveyInterval{1}; // other programs change the folders too
static constexpr unsigned kWhole = 100;
static constexpr std::size_t kMostWaiting = 32;

// Each is looked at and logged while nothing else is heard, and any process of the user may ask for anything.
static constexpr std::size_t kMostFolders = 10000; // twice what the pane puts into one notification
static constexpr std::size_t kLongestPath = 4096;

static const char *wordFor(bool isOn)
{
    return isOn ? "on" : "off";
}

HelperApplication::HelperApplication(Place place, SurveyScheduler::Survey surveyFolder)
    : m_place(std::move(place))
    , m_folders(m_place.history)
    , m_recorder(m_folders)
    , m_updateCheck(m_place.bundle, m_place.version)
    , m_surveyor(m_place.excludedPaths, m_place.excludedExtensions)
    , m_scheduler(surveyFolder ? std::move(surveyFolder) : [this](auto &&...arguments) {
        return m_surveyor.survey(std::forward<decltype(arguments)>(arguments)...);
    })
{
    connect(&m_scheduler, &SurveyScheduler::progressed, this, &HelperApplication::keepProgress);
    connect(&m_scheduler, &SurveyScheduler::surveyed, this, [this](qint64 key, quint64 savings) {
        m_savings[key] = savings;
        m_recorder.note(key, kWhole, savings);
    });
    connect(&m_scheduler, &SurveyScheduler::moved, this,
            [this](qint64 key, const std::string &folder, const Bytes &alias) {
                m_folders.setLocation(key, folder, alias);
                m_recorder.noteChange();
            });
    connect(&m_scheduler, &SurveyScheduler::finished, &m_recorder, &SavingsRecorder::finish);
    connect(&m_updateCheck, &UpdateCheck::found, this, &HelperApplication::prepareRestart);
    m_nextSurvey.setInterval(kSurveyInterval);
    connect(&m_nextSurvey, &QTimer::timeout, this, [this] {
        if (m_isActive && !m_scheduler.isSurveying())
            survey();
    });
}

HelperApplication::~HelperApplication()
{
    for (const auto observer : m_observers)
        DistributedNotificationCenter::current().removeObserver(observer);
}

void HelperApplication::start()
{
    // Whoever finds the name may post at once, so the observers come first.
    observe();
    ApplicationName &name = ApplicationName::current();
    name.setActivationHandler([this](const auto &) {
        logLine("Asked whether it runs");
        readSettings();
    });
    name.claim(kIdentifier, [this](ApplicationName::Claim claim) {
        if (claim != ApplicationName::Claim::Claimed) {
            logLine(claim == ApplicationName::Claim::NoBus ? "There is no session bus"
                                                           : "Another program has our name");
            return;
        }
        readSettings(); // what was posted before is lost
    });
    if (m_folders.clearRefusals())
        m_recorder.noteChange();
    readSettings();
    m_nextSurvey.start();
}

void HelperApplication::observe()
{
    using Action = std::function<void(const Notification &)>;
    const std::pair<const char *, Action> actions[] = {
        {"pellixHelperShouldQuit", [this](const auto &) { quit(); }},
        {"pellixHelperShouldKeepAlive", [](const auto &) { logLine("Asked to keep running"); }},
        {"com.dovrane.pellix.active", [this](const auto &) { readSettings(); }},
        {"pellixHelperShouldCheckForUpdates", [this](const auto &) { m_updateCheck.check(); }},
        {"pellixHelperEnableUpdates", [this](const auto &) { readSettings(); }},
        {"pellixHelperDisableUpdates", [this](const auto &) { readSettings(); }},
        {"com.dovrane.tamsel.version", [this](const auto &notification) { compareVersion(notification); }},
        {"com.dovrane.tamsel.visible", [this](const auto &) { readSettings(); }},
        {"com.dovrane.pellix.folders", [this](const auto &notification) { changeFolders(notification); }},
        {"com.dovrane.pellix.excludedPaths", [this](const auto &) { readExclusions(); }},
        {"com.dovrane.pellix.excludedExtensions", [this](const auto &) { readExclusions(); }},
    };
    for (const auto &[name, action] : actions)
        m_observers.push_back(DistributedNotificationCenter::current().addObserver(name, action));
}

void HelperApplication::readSettings()
{
    const HelperSettings settings = HelperSettings::read(m_place.settings);
    if (std::exchange(m_trouble, settings.trouble) != settings.trouble && !settings.trouble.empty())
        logLine("Settings cannot be read, the built-in ones hold: " + settings.trouble);
    if (std::exchange(m_isVisible, settings.visible) != settings.visible)
        logLine(std::string("Visible: ") + wordFor(settings.visible));
    if (std::exchange(m_isActive, settings.active) != settings.active) {
        logLine(std::string("Compressing: ") + wordFor(settings.active));
        if (m_isActive) {
            survey();
        } else {
            m_scheduler.stop();
            m_recorder.finish();
        }
    }
    m_updateCheck.setAutomatic(settings.checkUpdates);
}

/// The paths under the key, each once.
static std::vector<std::string> listOf(const Notification &notification, const std::string &key)
{
    const auto entry = notification.userInfo.find(key);
    if (entry == notification.userInfo.end())
        return {};
    const auto *const list = std::get_if<std::vector<std::string>>(&entry->second);
    if (!list) {
        logLine(notification.name + ": " + key + " is no array");
        return {};
    }
    std::set<std::string_view> met;
    std::vector<std::string> folders;
    for (const std::string &folder : *list) {
        if (folder.size() <= kLongestPath && met.size() < kMostFolders && met.insert(folder).second)
            folders.push_back(folder);
    }
    if (met.size() == kMostFolders && list->size() > kMostFolders)
        logLine(notification.name + ": only " + std::to_string(kMostFolders) + " of " + key + " are taken");
    return folders;
}

void HelperApplication::changeFolders(const Notification &notification)
{
    m_changes.push_back({listOf(notification, "foldersToAdd"), listOf(notification, "foldersToRemove"),
                         notification.userInfo.contains("foldersToAdd")});
    if (m_changes.size() > kMostWaiting)
        return makeChanges();
    if (m_changes.size() > 1)
        return;
    std::vector<Bytes> lost = m_folders.lost(m_changes.front().toAdd, m_changes.front().toRemove);
    if (lost.empty())
        makeChanges();
    else
        m_movedFolders.find(std::move(lost), [this] { makeChanges(); });
}

void HelperApplication::makeChanges()
{
    m_movedFolders.cancel();
    for (const FolderChange &change : std::exchange(m_changes, {}))
        makeChange(change);
}

void HelperApplication::makeChange(const FolderChange &change)
{
    const bool hasRemoved = m_folders.remove(change.toRemove);
    const bool hasAdded = change.isAddition && m_folders.add(change.toAdd);
    if (hasAdded || hasRemoved)
        m_recorder.noteChange();
    // A folder that is added again is looked at again.
    if (m_isActive && (!change.toAdd.empty() || hasRemoved))
        survey();
}

void HelperApplication::quit()
{
    // One that starts while this one ends is not to be told that a helper runs.
    ApplicationName::current().setActivationHandler(nullptr);
    Q_EMIT quitRequested();
}

void HelperApplication::compareVersion(const Notification &notification)
{
    const auto entry = notification.userInfo.find("version");
    const auto *const version =
        entry == notification.userInfo.end() ? nullptr : std::get_if<std::string>(&entry->second);
    if (!version)
        logLine(notification.name + ": there is no version");
    else if (*version != m_place.version)
        logLine("The pane has version " + *version + ", this is version " + m_place.version);
}

void HelperApplication::readExclusions()
{
    if (m_surveyor.readLists() && m_isActive)
        survey();
}

/// A file counts in the innermost folder around it: the one around that may be removed, and keeps what it has.
static bool isDeeper(const WatchedFolder &one, const WatchedFolder &other)
{
    const auto depth = [](const WatchedFolder &folder) {
        return std::count(folder.folder.begin(), folder.folder.end(), '/');
    };
    return depth(one) > depth(other);
}

void HelperApplication::survey()
{
    m_surveyor.readLists(); // what was posted while there was no bus is lost
    m_recorder.write();
    m_surveyor.setKept(m_folders.kept());
    std::vector<WatchedFolder> folders = m_folders.enabled();
    std::stable_sort(folders.begin(), folders.end(), isDeeper);
    std::vector<SurveyJob> jobs;
    m_savings.clear();
    for (const WatchedFolder &folder : folders) {
        jobs.push_back({folder.key, folder.folder, folder.alias});
        m_savings[folder.key] = folder.savings;
    }
    m_scheduler.start(std::move(jobs));
}

void HelperApplication::keepProgress(qint64 key, unsigned percent, ByteCount savings)
{
    // A folder that was surveyed before keeps what is known of it until the new figure is whole.
    m_recorder.note(key, percent, std::max(savings, m_savings[key]));
}

void HelperApplication::prepareRestart(const std::string &version)
{
    logLine("Version " + version + " is installed, restarting");
    DistributedNotificationCenter &center = DistributedNotificationCenter::current();
    center.post("com.dovrane.tamsel.restarting.after.update");
    center.flush([this](bool) {
        stop();
        Q_EMIT restartRequested();
    });
}

bool HelperApplication::stop()
{
    ApplicationName::current().release(kIdentifier);
    makeChanges();
    m_scheduler.stop();
    m_recorder.write();
    m_folders.close();
    return m_scheduler.waitUntilIdle(kLongestStop);
}
