// Which record of the list a path means, and what is recorded when folders have moved.
#include "Helper/WatchedFolders.h"

#include "Platform/AliasManager.h"
#include "Tests/Support/BackgroundAliases.h"
#include "Tests/Support/HistoryFixture.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

/// Counts how often a folder is looked for.
class CountingAliasManager final : public AliasManager
{
public:
    explicit CountingAliasManager(AliasManager &manager)
        : m_manager(manager)
    {
    }

    Result<Bytes> newAlias(const Path &target, const Path &relativeTo) const override
    {
        return m_manager.newAlias(target, relativeTo);
    }
    Result<Resolution> resolve(ByteView record, const Path &relativeTo) const override
    {
        ++resolutions;
        return m_manager.resolve(record, relativeTo);
    }
    Result<AliasInfo> copyInfo(ByteView record) const override { return m_manager.copyInfo(record); }

    mutable int resolutions = 0;

private:
    AliasManager &m_manager;
};

/// A list in a home of its own, of folders that are there.
class FolderRecordsTest : public ::testing::Test
{
protected:
    fs::path make(const std::string &name)
    {
        fs::create_directories(root / name);
        return root / name;
    }

    /// Makes and watches them.
    void watch(const std::vector<std::string> &names)
    {
        std::vector<std::string> paths;
        for (const std::string &name : names)
            paths.push_back(make(name));
        EXPECT_TRUE(list.add(paths));
    }
    void rename(const char *from, const char *to) const { fs::rename(root / from, root / to); }
    bool remove(const std::vector<std::string> &names)
    {
        std::vector<std::string> paths;
        for (const std::string &name : names)
            paths.push_back(root / name);
        return list.remove(paths);
    }

    /// As a survey tells it that has found the folder of that record there.
    void surveyFinds(std::size_t record, const char *name)
    {
        const auto alias = AliasManager::current().newAlias(root / name);
        ASSERT_TRUE(alias);
        list.setLocation(records().at(record).key, root / name, *alias);
    }

    std::vector<WatchedFolder> records() const { return *HistoryFixture::openDatabase(store)->folders(); }

    /// Each record as "recorded name on|off", in the order in which they were added.
    std::vector<std::string> texts() const
    {
        std::vector<std::string> texts;
        for (const WatchedFolder &record : records())
            texts.push_back(fs::path(record.folder).filename().native() + (record.isEnabled ? " on" : " off"));
        return texts;
    }

    const fs::path root = fs::canonical(PrivateHome::current().makeFolder("folders"));
    const fs::path store = PrivateHome::current().makeFolder("support") / "history.db";
    WatchedFolders list{{store, HistoryFixture::seed(), HistoryFixture::modelFile()}};
    BackgroundAliases searchingAliases;
    CountingAliasManager aliases{searchingAliases};
    Override<AliasManager> installedAliases{aliases};
};

} // namespace

TEST_F(FolderRecordsTest, remove_anotherFolderHasItsFormerPath_removesTheOneThatIsThere)
{
    watch({"photos", "photos-new"});
    rename("photos", "photos-old");
    rename("photos-new", "photos");
    EXPECT_TRUE(remove({"photos"}));
    EXPECT_THAT(texts(), ElementsAre("photos on", "photos-new off"));
    EXPECT_FALSE(remove({"photos"})) << "told twice, for it does not mean the other";
    EXPECT_THAT(texts(), ElementsAre("photos on", "photos-new off"));
    EXPECT_TRUE(remove({"photos-old"}));
    EXPECT_THAT(texts(), ElementsAre("photos off", "photos-new off"));
}

TEST_F(FolderRecordsTest, remove_swappedNames_removesTheOneThatIsThere)
{
    watch({"a", "b"});
    rename("a", "c");
    rename("b", "a");
    rename("c", "b");
    EXPECT_TRUE(remove({"a"}));
    EXPECT_THAT(texts(), ElementsAre("a on", "b off"));
}

TEST_F(FolderRecordsTest, remove_lostFolder_isNamedByWhereItWas)
{
    watch({"a", "b"});
    fs::remove(root / "a");
    EXPECT_TRUE(remove({"a"}));
    EXPECT_THAT(texts(), ElementsAre("a off", "b on"));
}

TEST_F(FolderRecordsTest, remove_pathThatNoFolderCanHave_meansNoneWhosePathItBeginsWith)
{
    watch({"a"});
    EXPECT_FALSE(remove({std::string("a\0b", 3)}));
    EXPECT_THAT(texts(), ElementsAre("a on"));
}

TEST_F(FolderRecordsTest, remove_watchedOneIsWhereALostOneWas_theyGoOneAfterTheOther)
{
    watch({"a", "b"});
    fs::remove(root / "a");
    rename("b", "a");
    EXPECT_TRUE(remove({"a"}));
    EXPECT_THAT(texts(), ElementsAre("a on", "b off"));
    EXPECT_TRUE(remove({"a"}));
    EXPECT_THAT(texts(), ElementsAre("a off", "b off"));
}

TEST_F(FolderRecordsTest, remove_bothOfOnePath_bothGo)
{
    watch({"a", "b"});
    fs::remove(root / "a");
    rename("b", "a");
    EXPECT_TRUE(remove({"a", "a"}));
    EXPECT_THAT(texts(), ElementsAre("a off", "b off"));
}

TEST_F(FolderRecordsTest, remove_formerPathOfAMovedOne_meansItOnlyWhereNothingElseIs)
{
    watch({"a"});
    rename("a", "b");
    make("a");
    EXPECT_FALSE(remove({"a"})) << "what is there is not watched";
    EXPECT_THAT(texts(), ElementsAre("a on"));
    fs::remove(root / "a");
    EXPECT_TRUE(remove({"a"}));
    EXPECT_THAT(texts(), ElementsAre("a off"));
}

TEST_F(FolderRecordsTest, setLocation_swappedNames_bothAreKept)
{
    watch({"a", "b"});
    rename("a", "c");
    rename("b", "a");
    rename("c", "b");
    surveyFinds(0, "b");
    EXPECT_THAT(texts(), ElementsAre("b on", "a on"));
    const std::vector<WatchedFolder> before = records();
    surveyFinds(1, "a");
    EXPECT_EQ(records(), before) << "it is known already";
}

TEST_F(FolderRecordsTest, setLocation_inACircle_allAreKept)
{
    watch({"a", "b", "c"});
    rename("c", "d");
    rename("b", "c");
    rename("a", "b");
    rename("d", "a");
    surveyFinds(0, "b");
    EXPECT_THAT(texts(), ElementsAre("b on", "c on", "a on"));
}

TEST_F(FolderRecordsTest, setLocation_aLostOneWasThere_nothingChanges)
{
    watch({"a", "b", "c"});
    fs::remove(root / "c");
    rename("b", "c");
    rename("a", "b");
    surveyFinds(0, "b");
    EXPECT_THAT(texts(), ElementsAre("a on", "b on", "c on"));
}

TEST_F(FolderRecordsTest, setLocation_whereAFormerOneWasLost_isKept)
{
    watch({"a", "b"});
    EXPECT_TRUE(remove({"b"}));
    fs::remove(root / "b");
    rename("a", "b");
    surveyFinds(0, "b");
    EXPECT_THAT(texts(), ElementsAre("b on", "b off"));
    EXPECT_FALSE(list.add({root / "b"})) << "it is watched";
    EXPECT_TRUE(remove({"b"}));
    EXPECT_THAT(texts(), ElementsAre("b off", "b off"));
}

TEST_F(FolderRecordsTest, add_whereOneWasThatHasTakenTheNameOfALostOne_bothAreWatched)
{
    watch({"a", "b"});
    EXPECT_TRUE(remove({"b"}));
    fs::remove(root / "b");
    rename("a", "b");
    watch({"a"});
    EXPECT_THAT(texts(), ElementsAre("b on", "b off", "a on"));
}

TEST_F(FolderRecordsTest, setLocation_recordIsGone_doesNothing)
{
    watch({"a"});
    list.setLocation(99, root / "b", {});
    EXPECT_THAT(texts(), ElementsAre("a on"));
}

TEST_F(FolderRecordsTest, add_whereOneOfTwoSwappedOnesIsNow_bothStay)
{
    watch({"a", "b"});
    rename("a", "c");
    rename("b", "a");
    rename("c", "b");
    list.add({root / "b"});
    EXPECT_THAT(texts(), ElementsAre("b on", "a on"));
}

TEST_F(FolderRecordsTest, addAndRemove_several_lookForEachFolderOnceAtMost)
{
    std::vector<std::string> names;
    for (int i = 0; i < 20; ++i)
        names.push_back("there " + std::to_string(i));
    watch(names);
    aliases.resolutions = 0;
    watch({"new 1", "new 2", "new 3"});
    EXPECT_LE(aliases.resolutions, 23);
    aliases.resolutions = 0;
    EXPECT_TRUE(remove({"there 3", "there 17"}));
    EXPECT_EQ(aliases.resolutions, 2) << "nobody else has to be looked for";
    EXPECT_EQ(records().size(), 23U);
}

TEST_F(FolderRecordsTest, removedAndAddedInTurn_isOneRecord)
{
    watch({"a"});
    EXPECT_TRUE(remove({"a"}));
    EXPECT_TRUE(list.add({root / "a", root / "a"}));
    EXPECT_THAT(texts(), ElementsAre("a on"));
}
