#pragma once

#include "Classes/PrefPane/HistoryQuery.h"
#include "Helper/HistoryDatabase.h"
#include "Platform/DistributedNotificationCenter.h"
#include "Platform/FileSystem.h"
#include "Tests/Support/CompressedSample.h"
#include "Tests/Support/HelperProcess.h"
#include "Tests/Support/HistoryFixture.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WaitFor.h"

#include <gmock/gmock.h>

#include <fstream>
#include <string>
#include <vector>

/// A bus, a home, and a watched tree; the real helper works in them.
class HelperFixture : public ::testing::Test
{
protected:
    using Path = std::filesystem::path;

    static Path supportFolder() { return PrivateHome::current().home() / ".local/share/Tamsel"; }
    static Path store() { return supportFolder() / "history.db"; }

    void post(const std::string &name, const UserInfo &userInfo = {}) { center().post(name, userInfo); }
    void addFolders(const std::vector<std::string> &folders)
    {
        post("com.dovrane.pellix.folders", {{"foldersToAdd", folders}});
    }
    void removeFolders(const std::vector<std::string> &folders)
    {
        post("com.dovrane.pellix.folders", {{"foldersToRemove", folders}});
    }
    static DistributedNotificationCenter &center() { return DistributedNotificationCenter::current(); }

    static void set(const std::string &dictionary)
    {
        std::filesystem::create_directories(supportFolder());
        std::ofstream(supportFolder() / "defaults.plist")
            << "<plist version=\"1.0\"><dict>" << dictionary << "</dict></plist>";
    }

    /// Makes a compressed file and answers what it saves.
    static ByteCount makeCompressed(const Path &path, std::size_t size)
    {
        CompressedSample::make(path, CompressedSample::text(size));
        return *FileSystem::current().logicalSize(path) - *FileSystem::current().occupiedSize(path);
    }

    static std::vector<WatchedFolder> records()
    {
        const auto connection = SqliteConnection::open(store(), SqliteConnection::Mode::ReadOnly, 1000);
        if (!connection)
            return {};
        const auto all = HistoryQuery::records(**connection, HistoryFixture::model());
        return all ? *all : std::vector<WatchedFolder>();
    }

    /// Each record as "name on|off status savings".
    static std::vector<std::string> texts()
    {
        std::vector<std::string> texts;
        for (const WatchedFolder &record : records())
            texts.push_back(Path(record.folder).filename().native() + (record.isEnabled ? " on " : " off ") +
                            std::to_string(record.status) + ' ' + std::to_string(record.savings));
        return texts;
    }
    /// Waits long: what is surveyed gets only the time that nobody else on the machine wants.
    static bool untilTexts(const std::vector<std::string> &expected)
    {
        std::vector<std::string> found; // a moment later it may have gone on
        const bool isReached = waitFor([&] { return (found = texts()) == expected; }, 60000);
        EXPECT_EQ(found, expected);
        return isReached;
    }

    PrivateBus bus;
    Path folder = PrivateHome::current().makeFolder("watched");
};
