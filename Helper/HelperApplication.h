#pragma once

#include "Helper/MovedFolders.h"
#include "Helper/SavingsRecorder.h"
#include "Helper/SurveyScheduler.h"
#include "Helper/Surveyor.h"
#include "Helper/UpdateCheck.h"
#include "Helper/WatchedFolders.h"
#include "Platform/DistributedNotificationCenter.h"
#include "Platform/Types.h"

#include <QObject>
#include <QTimer>

#include <map>
#include <string>
#include <vector>

/// The helper at work: hears what the pane announces and acts on it. What lasts is read from the disk each time; a
/// notification only says when to look. Main thread.
class HelperApplication final : public QObject
{
    Q_OBJECT

public:
    static constexpr const char *kIdentifier = "com.dovrane.TamselHelper";

    struct Place
    {
        Path settings; ///< "defaults.plist"
        Path excludedPaths;
        Path excludedExtensions;
        WatchedFolders::Files history;
        Path bundle;         ///< the helper's own
        std::string version; ///< of the running program
    };

    /// `surveyFolder` takes the place of a `Surveyor`; for tests.
    explicit HelperApplication(Place place, SurveyScheduler::Survey surveyFolder = {});
    ~HelperApplication() override;

    /// Listens, takes the helper's name and begins to work.
    void start();

    /// Reads the settings and does what they say.
    void readSettings();

    bool isSurveying() const { return m_scheduler.isSurveying(); }

    /// Ends all work and lets name and history go. Answers whether the survey has stopped too; one that gets no time to
    /// run may not have, and changes nothing any more.
    bool stop();

Q_SIGNALS:
    void quitRequested();

    /// The bundle on the disk is newer and wants to run in this one's place. All work has been ended.
    void restartRequested();

private:
    struct FolderChange
    {
        std::vector<std::string> toAdd;
        std::vector<std::string> toRemove;
        bool isAddition = false; ///< an empty one forgets what was refused
    };

    void observe();
    void quit();
    void changeFolders(const Notification &notification);
    void makeChanges();
    void makeChange(const FolderChange &change);
    void compareVersion(const Notification &notification);
    void readExclusions();
    void survey();
    void keepProgress(qint64 key, unsigned percent, ByteCount savings);
    void prepareRestart(const std::string &version);

    Place m_place;
    WatchedFolders m_folders;
    MovedFolders m_movedFolders;
    std::vector<FolderChange> m_changes; ///< that wait until moved folders have been searched for
    SavingsRecorder m_recorder;
    UpdateCheck m_updateCheck;
    Surveyor m_surveyor;
    SurveyScheduler m_scheduler;
    QTimer m_nextSurvey;
    std::map<qint64, ByteCount> m_savings; ///< as recorded when the round began
    std::vector<DistributedNotificationCenter::ObserverId> m_observers;
    std::string m_trouble; ///< with which the settings could not be read last time
    bool m_isActive = false;
    bool m_isVisible = true;
};
