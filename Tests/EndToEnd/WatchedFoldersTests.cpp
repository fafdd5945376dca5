// Folders reach the list as a user brings them there: with pointer and keys, between real programs on a real display.
#include "Tests/EndToEnd/HelperFixture.h"
#include "Tests/Support/FileDrag.h"
#include "Tests/Support/HostProcess.h"
#include "Tests/Support/PrivateMounts.h"
#include "Tests/Support/VirtualDisplay.h"

#include <csignal>
#include <optional>

namespace fs = std::filesystem;

namespace {

/// In a window of the size that it has at first.
constexpr QPoint kTable{380, 380};

/// The folders lie on a volume in memory, so that the user is asked wherever the test runs.
class WatchedFolders : public HelperFixture
{
protected:
    void SetUp() override
    {
        if (!mounts.mountMemory(volume))
            GTEST_SKIP() << "this machine gives a test no mounts of its own";
        fs::create_directories(first);
        fs::create_directories(second);
        std::ofstream(volume / "file") << "text";
        host.showOn(display.name());
        host.start();
        ASSERT_TRUE(waitFor([&] { return host.firstFrameOfPane().has_value(); }, 60000));
        ASSERT_TRUE(display.activate(kWindow));
    }
    ~WatchedFolders() override
    {
        const int helper = host.helperId();
        host.kill();
        if (helper > 0)
            ::kill(helper, SIGKILL);
    }

    /// Offers the files from another program's window, moves the pointer with them and lets them go. Answers whether
    /// they were taken.
    std::optional<bool> dragToTable(const std::vector<fs::path> &files)
    {
        FileDrag drag(display, files);
        return drag.moveTo(kWindow, kTable) && drag.drop() ? std::optional(drag.isTaken()) : std::nullopt;
    }

    /// Waits for the question and presses Return, which is what it offers, until the list is as expected.
    bool untilListed(const std::vector<fs::path> &expected)
    {
        EXPECT_TRUE(waitFor([&] { return display.isShown("^Compatibility Warning"); }, 60000));
        EXPECT_THAT(folders(), ::testing::IsEmpty()) << "before the user has agreed";
        std::vector<std::string> paths;
        for (const fs::path &path : expected)
            paths.push_back(path.native());
        std::vector<std::string> found;
        const bool isReached = waitFor(
            [&] {
                found = folders();
                if (found == paths)
                    return true;
                display.press({QStringLiteral("Return")});
                return false;
            },
            60000);
        EXPECT_EQ(found, paths);
        return isReached;
    }
    static std::vector<std::string> folders()
    {
        std::vector<std::string> folders;
        for (const WatchedFolder &record : records()) {
            if (record.isEnabled)
                folders.push_back(record.folder);
        }
        return folders;
    }

    static constexpr const char *kWindow = "^Tamsel";
    const fs::path volume = PrivateHome::current().makeFolder("volume");
    const fs::path first = volume / "first";
    const fs::path second = volume / "second folder";
    PrivateMounts mounts;
    VirtualDisplay display;
    HostProcess host;
};

} // namespace

TEST_F(WatchedFolders, draggedFromAnotherProgram_areOnTheListOnceTheUserAgrees)
{
    ASSERT_EQ(dragToTable({first, volume / "file", second}), true);
    EXPECT_TRUE(untilListed({first, second}));
}

TEST_F(WatchedFolders, fileDraggedAlone_isRefused)
{
    EXPECT_EQ(dragToTable({volume / "file"}), false);
    ASSERT_EQ(dragToTable({first}), true);
    EXPECT_TRUE(untilListed({first}));
}

TEST_F(WatchedFolders, draggedAfterTheHelperWasKilled_areOnTheListOnceAnotherRuns)
{
    int killed = 0;
    ASSERT_TRUE(waitFor([&] { return (killed = host.helperId()) > 0; }, 60000));
    ASSERT_EQ(::kill(killed, SIGKILL), 0);
    ASSERT_EQ(dragToTable({first}), true);
    EXPECT_TRUE(untilListed({first}));
    EXPECT_NE(host.helperId(), killed);
}

TEST_F(WatchedFolders, chosenByKeyboard_isOnTheListAndGoesWithTheDeleteKey)
{
    ASSERT_TRUE(display.click(kWindow, kTable));
    ASSERT_TRUE(display.press({QStringLiteral("Insert")}));
    ASSERT_TRUE(waitFor([&] { return display.isShown("Watch folders"); }, 60000));
    ASSERT_TRUE(display.type(second.native()));
    ASSERT_TRUE(display.press({QStringLiteral("Return")}));
    ASSERT_TRUE(untilListed({second}));
    ASSERT_TRUE(waitFor(
        [&] {
            display.activate(kWindow);
            display.click(kWindow, kTable); // below the rows
            display.press({QStringLiteral("Home"), QStringLiteral("Delete")});
            return folders().empty();
        },
        60000));
}
