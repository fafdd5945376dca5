// Everything that is kept for the user, on a volume without room for another byte and on one that cannot be written to:
// what was there stays there.
#include "Classes/PrefPane/ExclusionListFile.h"
#include "Classes/PrefPane/PXDefaultsController.h"
#include "Classes/Shared/Log.h"
#include "Host/HostSettings.h"
#include "Platform/Linux/LinuxLoginWindow.h"
#include "Tests/Classes/PrefPane/PaneTestServices.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/HistoryFixture.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <map>
#include <unistd.h>

namespace fs = std::filesystem;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

std::vector<std::string> s_log;

enum class Volume { Full, ReadOnly };

class NoRoom : public ::testing::TestWithParam<Volume>
{
protected:
    NoRoom()
    {
        setLogSink([](const std::string &line) { s_log.push_back(line); });
    }
    ~NoRoom() override { setLogSink(nullptr); }

    void SetUp() override
    {
        fs::create_directories(volume());
        if (!mounts.mountMemory(volume()))
            GTEST_SKIP() << "this machine does not let the test mount anything";
        fs::create_directories(support());
    }

    static Path volume() { return PrivateHome::current().home() / ".local/share"; }
    static Path support() { return volume() / "Tamsel"; }
    static Path filler() { return volume() / "filler"; }

    /// Nothing can be written from now on.
    void close()
    {
        if (GetParam() == Volume::ReadOnly) {
            ASSERT_TRUE(mounts.makeReadOnly(volume()));
            return;
        }
        const int file = ::open(filler().c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        const std::string some(4096, 'f');
        while (::write(file, some.data(), some.size()) > 0) {
        }
        ASSERT_EQ(errno, ENOSPC);
        ::close(file);
    }

    /// What is in which file; empty ones, such as locks, leave nothing out.
    static std::map<Path, std::string> contents()
    {
        std::map<Path, std::string> contents;
        for (const auto &entry : fs::recursive_directory_iterator(volume())) {
            if (entry.is_regular_file() && entry.path() != filler() && entry.file_size() > 0)
                contents[entry.path()] = contentOf(entry.path());
        }
        return contents;
    }

    PrivateMounts mounts;
    SettingsServices services;
};

} // namespace

TEST_P(NoRoom, settings_stayAndTheLogSaysSo)
{
    const Path file = support() / "defaults.plist";
    writeFile(file, "<plist version=\"1.0\"><dict><key>active</key><true/></dict></plist>");
    PXDefaultsController *const settings = PXDefaultsController::sharedDefaultsController();
    settings->synchronize(); // what it adds to them
    ASSERT_NO_FATAL_FAILURE(close());
    const auto before = contents();
    s_log.clear();
    settings->setHelperActive(false);
    settings->synchronize();
    EXPECT_EQ(contents(), before);
    EXPECT_THAT(s_log, Not(IsEmpty()));
}

TEST_P(NoRoom, damagedSettings_areNotLost)
{
    const std::string damaged = "<plist version=\"1.0\"><dict><key>active</key><fal";
    writeFile(support() / "defaults.plist", damaged);
    ASSERT_NO_FATAL_FAILURE(close());
    PXDefaultsController::sharedDefaultsController()->synchronize();
    bool isThere = false;
    for (const auto &[file, content] : contents()) {
        EXPECT_EQ(content, damaged) << file << " is half a file";
        isThere |= content == damaged;
    }
    EXPECT_TRUE(isThere);
    EXPECT_THAT(s_log, Not(IsEmpty()));
}

TEST_P(NoRoom, exclusionList_stays)
{
    const Path path = support() / "excludedPaths.plist";
    ASSERT_TRUE(ExclusionListFile(path).write({"/precious"}));
    ASSERT_NO_FATAL_FAILURE(close());
    const auto before = contents();
    ExclusionListFile file(path);
    ASSERT_TRUE(file.read());
    EXPECT_FALSE(file.write({"/another", std::string(8000, 'x')}));
    EXPECT_FALSE(ExclusionListFile(support() / "other.plist").write({std::string(8000, 'x')}));
    EXPECT_EQ(contents(), before);
}

TEST_P(NoRoom, hostSettings_stay)
{
    const Path path = support() / "host.plist";
    {
        HostSettings settings(path);
        settings.setLastPane("com.example.pane");
        settings.save();
    }
    ASSERT_NO_FATAL_FAILURE(close());
    const auto before = contents();
    HostSettings settings(path);
    settings.setLastPane(std::string(8000, 'x'));
    settings.save();
    EXPECT_EQ(contents(), before);
    EXPECT_THAT(s_log, Not(IsEmpty()));
}

TEST_P(NoRoom, loginItems_stay)
{
    LinuxLoginWindow list(support() / "autostart");
    ASSERT_TRUE(list.makeList());
    const LoginItem first{"/one/TamselHelper.app", {1}, false, {}};
    ASSERT_TRUE(list.storeItems({first}));
    ASSERT_NO_FATAL_FAILURE(close());
    const auto before = contents();
    std::vector<LoginItem> items = list.copyItems().valueOr(std::nullopt).value_or(std::vector<LoginItem>());
    ASSERT_EQ(items.size(), 1u);
    items.push_back({"/another/TamselHelper.app", Bytes(8000, 2), false, {}});
    EXPECT_FALSE(list.storeItems(items));
    EXPECT_EQ(contents(), before);
}

TEST_P(NoRoom, history_keepsItsRecords)
{
    const Path store = support() / "history.db";
    const auto open = [&] { return HistoryDatabase::open(store, HistoryFixture::seed(), HistoryFixture::model()); };
    ASSERT_TRUE((*open())->addFolder("/precious", bytesOf("alias")));
    ASSERT_NO_FATAL_FAILURE(close());
    const std::string before = contentOf(store);
    if (const auto database = open()) {
        EXPECT_FALSE((*database)->addFolder("/another", Bytes(60000, 7)));
    }
    EXPECT_EQ(contentOf(store), before);
    if (GetParam() == Volume::ReadOnly)
        return;
    fs::remove(filler());
    const auto database = open();
    ASSERT_TRUE(database) << database.failure().context;
    const auto folders = (*database)->folders();
    ASSERT_TRUE(folders && folders->size() == 1);
    EXPECT_EQ(folders->front().folder, "/precious");
}

INSTANTIATE_TEST_SUITE_P(, NoRoom, ::testing::Values(Volume::Full, Volume::ReadOnly), [](const auto &each) {
    return std::string(each.param == Volume::Full ? "full" : "readOnly");
});
