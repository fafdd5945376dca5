#include "Classes/PrefPane/FolderPresence.h"

#include "Tests/Support/FileContent.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WaitFor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <future>
#include <memory>

namespace fs = std::filesystem;

namespace {

class FolderPresenceTest : public ::testing::Test
{
protected:
    FolderPresenceTest()
    {
        QObject::connect(&presence, &FolderPresence::changed, [this] { ++changes; });
    }
    bool untilChanges(int count)
    {
        return waitFor([&] { return changes == count; });
    }

    const fs::path there = PrivateHome::current().makeFolder("there");
    const fs::path gone = PrivateHome::current().root() / "gone";
    FolderPresence presence;
    int changes = 0;
};

} // namespace

TEST_F(FolderPresenceTest, beforeTheFirstLook_nothingIsMissing)
{
    EXPECT_FALSE(presence.isMissing(gone));
}

TEST_F(FolderPresenceTest, look_tellsWhatIsMissingAndWhatHasComeBack)
{
    presence.look({there, gone});
    EXPECT_FALSE(presence.isMissing(gone)); // nobody has waited for the disk
    ASSERT_TRUE(untilChanges(1));
    EXPECT_TRUE(presence.isMissing(gone));
    EXPECT_FALSE(presence.isMissing(there));
    fs::create_directory(gone);
    fs::remove(there);
    presence.look({there, gone});
    ASSERT_TRUE(untilChanges(2));
    EXPECT_FALSE(presence.isMissing(gone));
    EXPECT_TRUE(presence.isMissing(there));
}

TEST_F(FolderPresenceTest, missing_comesBackByItself)
{
    presence.look({there, gone});
    ASSERT_TRUE(untilChanges(1));
    fs::create_directory(gone);
    ASSERT_TRUE(untilChanges(2));
    EXPECT_FALSE(presence.isMissing(gone));
}

TEST_F(FolderPresenceTest, lookAgain_looksAtTheSamePaths)
{
    presence.look({there});
    fs::remove(there);
    ASSERT_TRUE(waitFor([&] { return presence.lookAgain(), changes == 1; }));
    EXPECT_TRUE(presence.isMissing(there));
}

TEST_F(FolderPresenceTest, look_askedForWhileLooking_theLastIsDone)
{
    for (int i = 0; i < 20; ++i)
        presence.look({there});
    presence.look({gone});
    ASSERT_TRUE(untilChanges(1));
    EXPECT_TRUE(presence.isMissing(gone));
}

TEST_F(FolderPresenceTest, look_pathThatCannotBeReached_isNotCalledMissing)
{
    const fs::path tooLong = there / std::string(300, 'a'); // the file system cannot have it, or say that it has not
    presence.look({tooLong, gone});
    ASSERT_TRUE(untilChanges(1));
    EXPECT_FALSE(presence.isMissing(tooLong));
}

TEST_F(FolderPresenceTest, icons_areForWhatIsThereAndStayWhenItGoes)
{
    writeFile(gone, "int main() {}");
    fs::rename(gone, gone.native() + ".c");
    const fs::path file = gone.native() + ".c";
    presence.look({there, file});
    EXPECT_TRUE(presence.icons(file).isEmpty());
    ASSERT_TRUE(untilChanges(1));
    const QStringList icons = presence.icons(file);
    EXPECT_FALSE(icons.isEmpty());
    EXPECT_TRUE(presence.icons(there).isEmpty()) << "an ordinary folder";
    fs::remove(file);
    presence.look({there, file});
    ASSERT_TRUE(untilChanges(2));
    EXPECT_TRUE(presence.isMissing(file));
    EXPECT_EQ(presence.icons(file), icons);
    presence.look({there});
    EXPECT_TRUE(presence.icons(file).isEmpty());
}

TEST(FolderPresence, folderThatHangs_blindsNoOther)
{
    static std::promise<void> s_release;
    static std::atomic<bool> s_isGone = true;
    FolderPresence presence([hang = s_release.get_future().share()](const std::string &path) {
        if (path == "/silent")
            hang.wait();
        return FolderState{path == "/disk" && s_isGone, {}};
    });
    presence.look({"/silent", "/disk"});
    ASSERT_TRUE(waitFor([&] { return presence.isMissing("/disk"); }));
    s_isGone = false;
    EXPECT_TRUE(waitFor([&] { return !presence.isMissing("/disk"); })) << "it comes back by itself";
    EXPECT_FALSE(presence.isMissing("/silent"));
    s_release.set_value();
}

TEST_F(FolderPresenceTest, destroyedWhileLooking_endsInPeace)
{
    for (int i = 0; i < 50; ++i) {
        auto shortLived = std::make_unique<FolderPresence>();
        QObject::connect(shortLived.get(), &FolderPresence::changed, [this] { ++changes; });
        shortLived->look({gone});
        shortLived.reset();
    }
    runFor(50);
    EXPECT_EQ(changes, 0);
}
