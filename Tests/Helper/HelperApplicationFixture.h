#pragma once

#include "Helper/HelperApplication.h"

#include "Classes/PrefPane/HistoryQuery.h"
#include "Classes/Shared/Log.h"
#include "Platform/Fake/FakeApplicationName.h"
#include "Platform/Fake/FakeNotificationCenter.h"
#include "Platform/Fake/FakeThisProcess.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/HistoryFixture.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/TestBundle.h"
#include "Tests/Support/WaitFor.h"

#include <gmock/gmock.h>

#include <atomic>
#include <fstream>
#include <mutex>
#include <optional>
#include <thread>

inline std::mutex s_logMutex;
inline std::vector<std::string> s_log;

inline void keepLine(const std::string &line)
{
    const std::lock_guard lock(s_logMutex);
    s_log.push_back(line);
}

inline std::vector<std::string> logged()
{
    const std::lock_guard lock(s_logMutex);
    return s_log;
}

/// A helper without a bus, whose surveys find what the test says.
class HelperApplicationFixture : public ::testing::Test
{
protected:
    HelperApplicationFixture()
    {
        setLogSink(keepLine);
        place.settings = PrivateHome::current().root() / "defaults.plist";
        place.excludedPaths = PrivateHome::current().root() / "excludedPaths.plist";
        place.excludedExtensions = PrivateHome::current().root() / "excludedExtensions.plist";
        place.history = {PrivateHome::current().makeFolder("support") / "history.db", HistoryFixture::seed(),
                         HistoryFixture::modelFile()};
        place.bundle = makeApplicationBundle(PrivateHome::current().root(), "Helper", "com.example.Helper", "");
        place.version = "1.0";
        setInstalledVersion("1.0");
        log = PrivateHome::current().makeFolder("folders/log");
        work = PrivateHome::current().makeFolder("folders/work");
    }
    ~HelperApplicationFixture() override
    {
        isHeld = false;
        helper.reset();
        setLogSink(nullptr);
    }

    void start()
    {
        helper.emplace(place, [this](auto &&...arguments) { return survey(arguments...); });
        QObject::connect(&*helper, &HelperApplication::quitRequested, [this] { ++quits; });
        QObject::connect(&*helper, &HelperApplication::restartRequested, [this] { ++restarts; });
        helper->start();
        settle();
    }
    void settle()
    {
        registry.deliver();
        center.deliver();
    }
    void receive(const std::string &notification, const UserInfo &userInfo = {})
    {
        center.deliver({notification, userInfo});
        settle();
    }
    void addFolders(const std::vector<std::string> &folders)
    {
        receive("com.dovrane.pellix.folders", {{"foldersToAdd", folders}});
    }
    void removeFolders(const std::vector<std::string> &folders)
    {
        receive("com.dovrane.pellix.folders", {{"foldersToRemove", folders}});
    }
    void set(const std::string &dictionary)
    {
        std::ofstream(place.settings) << "<plist version=\"1.0\"><dict>" << dictionary << "</dict></plist>";
    }
    void setInstalledVersion(const std::string &version)
    {
        std::ofstream(place.bundle / "Contents/Info.plist")
            << "<plist version=\"1.0\"><dict><key>CFBundleExecutable</key><string>Helper</string>"
            << "<key>CFBundleVersion</key><string>" << version << "</string></dict></plist>";
    }

    Result<SurveyResult> survey(const Path &folder, SurveyedFiles &, const FolderSurvey::Progressed &progressed,
                                std::stop_token stop)
    {
        ++surveys;
        SurveyResult result;
        for (unsigned percent = 1; percent <= 100 && !stop.stop_requested(); ++percent) {
            progressed({percent, found * percent / 100});
            while (isHeld && percent == 50 && !stop.stop_requested())
                std::this_thread::yield();
            std::this_thread::sleep_for(std::chrono::milliseconds(stepMs));
        }
        result.savings = folder == log ? found.load() : 0;
        result.isComplete = !stop.stop_requested();
        return result;
    }

    /// Each record as "name enabled status savings", read by another connection.
    std::vector<std::string> records()
    {
        std::vector<std::string> texts;
        const auto database = HistoryFixture::openDatabase(place.history.store);
        const auto all = database->folders();
        for (const WatchedFolder &record : *all)
            texts.push_back(Path(record.folder).filename().native() + (record.isEnabled ? " on " : " off ") +
                            std::to_string(record.status) + ' ' + std::to_string(record.savings));
        return texts;
    }
    std::vector<FolderRefusal> refusals()
    {
        const auto connection = SqliteConnection::open(place.history.store, SqliteConnection::Mode::ReadOnly, 1000);
        return *HistoryQuery::refusals(**connection);
    }
    bool untilRecords(const std::vector<std::string> &expected)
    {
        const bool isReached = waitFor([&] { return records() == expected; }, 30000);
        EXPECT_EQ(records(), expected);
        return isReached;
    }

    FakeThisProcess process; // surveys at ordinary priority, which a busy machine would keep from their end
    Override<ThisProcess> processOverride{process};
    FakeNotificationCenter center;
    Override<DistributedNotificationCenter> centerOverride{center};
    FakeApplicationName::Registry registry;
    FakeApplicationName name{registry};
    Override<ApplicationName> nameOverride{name};
    HelperApplication::Place place;
    Path log;
    Path work;
    std::atomic<bool> isHeld = false;
    std::atomic<int> surveys = 0;
    std::atomic<int> stepMs = 0;
    std::atomic<ByteCount> found = 1000;
    int quits = 0;
    int restarts = 0;
    std::optional<HelperApplication> helper;
};
