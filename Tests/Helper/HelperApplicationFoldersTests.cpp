#include "Platform/AliasManager.h"
#include "Platform/Linux/LinuxAliasManager.h"
#include "Tests/Helper/HelperApplicationFixture.h"

namespace fs = std::filesystem;

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

using HelperApplicationTest = HelperApplicationFixture;

namespace {

/// A helper that is switched off and has to search for folders that were moved, as anybody's but root's.
class HelperApplicationMovedFoldersTest : public HelperApplicationFixture
{
protected:
    HelperApplicationMovedFoldersTest()
    {
        set("<key>active</key><false/>");
        start();
    }
    ~HelperApplicationMovedFoldersTest() override { helper.reset(); } // before what it asks

    LinuxAliasManager aliases{LinuxAliasManager::Handles::DoNotTry};
    Override<AliasManager> aliasesOverride{aliases};
};

} // namespace

TEST_F(HelperApplicationTest, foldersToAdd_folders_areRecordedSurveyedAndAnnounced)
{
    start();
    addFolders({log, work});
    ASSERT_TRUE(untilRecords({"log on 100 1000", "work on 100 0"}));
    const auto database = HistoryFixture::openDatabase(place.history.store);
    const auto kept = database->folders();
    const auto target = AliasManager::current().resolve(kept->front().alias);
    ASSERT_TRUE(target);
    EXPECT_EQ(target->path, log);
    EXPECT_THAT(center.postedNames(), Contains("pellixSavingsChanged"));
}

TEST_F(HelperApplicationTest, foldersToAdd_sameFolderUnderSeveralPaths_isOneRecord)
{
    fs::create_symlink(log, log.parent_path() / "link");
    start();
    addFolders({log, log, log / "", log.parent_path() / "link", log / "../log"});
    addFolders({log});
    EXPECT_TRUE(untilRecords({"log on 100 1000"}));
    EXPECT_EQ(HistoryFixture::openDatabase(place.history.store)->folders()->front().folder, log.native());
}

TEST_F(HelperApplicationTest, foldersToAdd_noFolders_areLeftOut)
{
    std::ofstream(log / "file") << "x";
    start();
    addFolders({"", "folders/log", log / "file", log / "missing"});
    EXPECT_THAT(records(), IsEmpty());
    EXPECT_THAT(center.postedNames(), Not(Contains("com.dovrane.pellix.folders")));
}

TEST_F(HelperApplicationTest, foldersToAdd_whatNoUserMeans_isRefusedAnnouncedAndForgottenWithTheNext)
{
    using Reason = FolderRefusal::Reason;
    start();
    center.clearPosts();
    const fs::path support = place.history.store.parent_path();
    addFolders({"/", "/usr/lib", support, log / "gone", log});
    ASSERT_TRUE(untilRecords({"log on 100 1000"}));
    EXPECT_THAT(refusals(),
                ElementsAre(FolderRefusal{"/", Reason::WholeDisk}, FolderRefusal{"/usr/lib", Reason::System},
                            FolderRefusal{support, Reason::OwnFiles}, FolderRefusal{log / "gone", Reason::Missing}));
    removeFolders({log});
    EXPECT_EQ(refusals().size(), 4U) << "removing says nothing of them";
    addFolders({work});
    EXPECT_THAT(refusals(), IsEmpty());
}

TEST_F(HelperApplicationTest, foldersToAdd_onlyRefused_isAnnounced)
{
    start();
    center.clearPosts();
    addFolders({"/"});
    EXPECT_THAT(center.postedNames(), Contains("pellixSavingsChanged"));
    EXPECT_THAT(records(), IsEmpty());
}

TEST_F(HelperApplicationTest, start_refusalsOfAnEarlierHelper_areForgotten)
{
    start();
    addFolders({"/"});
    EXPECT_EQ(refusals().size(), 1U);
    helper.reset();
    start();
    EXPECT_THAT(refusals(), IsEmpty());
}

TEST_F(HelperApplicationTest, folders_malformedPayloads_changeNothing)
{
    start();
    receive("com.dovrane.pellix.folders");
    receive("com.dovrane.pellix.folders", {{"foldersToAdd", log.native()}});
    receive("com.dovrane.pellix.folders", {{"other", std::vector<std::string>{log.native()}}});
    EXPECT_THAT(records(), IsEmpty());
    EXPECT_THAT(logged(), Contains(HasSubstr("foldersToAdd is no array")));
}

TEST_F(HelperApplicationTest, folders_moreThanAnybodyMeans_areCut)
{
    start();
    std::vector<std::string> many(20000, work.native());
    for (int number = 0; number < 12000; ++number)
        many.push_back("missing " + std::to_string(number));
    many.push_back(log);
    removeFolders(many);
    EXPECT_THAT(logged(), Contains("com.dovrane.pellix.folders: only 10000 of foldersToRemove are taken"));
    const std::vector<std::string> lines = logged();
    EXPECT_EQ(std::ranges::count_if(lines, [](const std::string &line) { return line.starts_with("Not removed"); }),
              10000);
    addFolders({log.native() + std::string(5000, 'x'), log});
    EXPECT_TRUE(untilRecords({"log on 100 1000"}));
}

TEST_F(HelperApplicationTest, foldersToRemove_watched_isDisabledAndKeepsItsSavings)
{
    start();
    addFolders({log, work});
    ASSERT_TRUE(untilRecords({"log on 100 1000", "work on 100 0"}));
    center.clearPosts();
    removeFolders({log, log, work / "unknown"});
    EXPECT_TRUE(untilRecords({"log off 100 1000", "work on 100 0"}));
    EXPECT_TRUE(waitFor([&] { return !center.postedNames().empty(); }));
    addFolders({log});
    EXPECT_TRUE(untilRecords({"log on 100 1000", "work on 100 0"}));
}

TEST_F(HelperApplicationTest, foldersToRemove_movedFolder_isFoundByItsNewPath)
{
    start();
    addFolders({log});
    ASSERT_TRUE(untilRecords({"log on 100 1000"}));
    fs::rename(log, log.parent_path() / "moved");
    removeFolders({log.parent_path() / "moved"});
    EXPECT_TRUE(untilRecords({"log off 100 1000"}));
}

TEST_F(HelperApplicationMovedFoldersTest, foldersToRemove_movedFolderThatHasToBeSearchedFor_isFoundByItsNewPath)
{
    addFolders({log, work});
    ASSERT_TRUE(untilRecords({"log on 0 0", "work on 0 0"}));
    fs::rename(log, log.parent_path() / "moved");
    removeFolders({log.parent_path() / "moved"});
    removeFolders({work}); // meanwhile
    EXPECT_TRUE(untilRecords({"log off 0 0", "work off 0 0"}));
    EXPECT_EQ(aliases.searches(), 1);
}

TEST_F(HelperApplicationMovedFoldersTest, foldersToAdd_movedFolderThatHasToBeSearchedFor_staysItsRecord)
{
    addFolders({log});
    ASSERT_TRUE(untilRecords({"log on 0 0"}));
    fs::rename(log, log.parent_path() / "moved");
    fs::create_directory(log);
    addFolders({log});
    EXPECT_TRUE(untilRecords({"moved on 0 0", "log on 0 0"}));
}

TEST_F(HelperApplicationMovedFoldersTest, quit_whileAMovedFolderIsSearchedFor_theChangeIsMade)
{
    addFolders({log});
    ASSERT_TRUE(untilRecords({"log on 0 0"}));
    fs::rename(log, log.parent_path() / "moved");
    addFolders({work});
    helper->stop();
    EXPECT_TRUE(untilRecords({"log on 0 0", "work on 0 0"}));
}

TEST_F(HelperApplicationTest, foldersToRemove_movedAndSurveyedSince_isFoundWhereItIsNow)
{
    start();
    addFolders({log});
    ASSERT_TRUE(untilRecords({"log on 100 1000"}));
    fs::rename(log, log.parent_path() / "moved");
    addFolders({work});
    ASSERT_TRUE(untilRecords({"moved on 100 0", "work on 100 0"}));
    removeFolders({log.parent_path() / "moved"});
    EXPECT_TRUE(untilRecords({"moved off 100 0", "work on 100 0"}));
}

TEST_F(HelperApplicationTest, foldersToRemove_anotherFolderHasItsFormerPath_removesTheOneThatIsThere)
{
    set("<key>active</key><false/>");
    start();
    addFolders({log, work});
    ASSERT_TRUE(untilRecords({"log on 0 0", "work on 0 0"}));
    fs::rename(log, log.parent_path() / "old log");
    fs::rename(work, log);
    removeFolders({log});
    removeFolders({log});
    EXPECT_TRUE(untilRecords({"log on 0 0", "work off 0 0"}));
}

TEST_F(HelperApplicationTest, movedFolders_swappedNames_nextSurveyKeepsBothPlaces)
{
    start();
    addFolders({log, work});
    ASSERT_TRUE(untilRecords({"log on 100 1000", "work on 100 0"}));
    helper.reset();
    fs::rename(log, log.parent_path() / "between");
    fs::rename(work, log);
    fs::rename(log.parent_path() / "between", work);
    start();
    EXPECT_TRUE(untilRecords({"work on 100 0", "log on 100 1000"}));
}

TEST_F(HelperApplicationTest, movedFolder_nextSurvey_keepsItsPlace)
{
    start();
    addFolders({log});
    ASSERT_TRUE(untilRecords({"log on 100 1000"}));
    helper.reset();
    fs::rename(log, log.parent_path() / "moved");
    start();
    EXPECT_TRUE(untilRecords({"moved on 100 0"}));
}

TEST_F(HelperApplicationTest, movedFolder_anotherIsAddedAtItsOldPlace_bothHaveARecord)
{
    start();
    addFolders({log});
    ASSERT_TRUE(untilRecords({"log on 100 1000"}));
    fs::rename(log, log.parent_path() / "moved");
    fs::create_directory(log);
    addFolders({log});
    EXPECT_TRUE(untilRecords({"moved on 100 0", "log on 100 1000"}));
}
