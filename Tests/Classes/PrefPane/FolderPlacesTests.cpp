#include "Classes/PrefPane/FolderPlaces.h"

#include "Platform/AliasManager.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WaitFor.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <filesystem>
#include <mutex>

namespace fs = std::filesystem;

namespace {

/// Finds nothing before it is let go, as on a network volume whose server is silent.
class SilentAliases final : public AliasManager
{
public:
    Result<Bytes> newAlias(const Path &target, const Path &relativeTo) const override
    {
        return m_real.newAlias(target, relativeTo);
    }
    Result<Resolution> resolve(ByteView record, const Path &relativeTo) const override
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_isFree; });
        return m_real.resolve(record, relativeTo);
    }
    Result<AliasInfo> copyInfo(ByteView record) const override { return m_real.copyInfo(record); }

    void letGo()
    {
        const std::lock_guard lock(m_mutex);
        m_isFree = true;
        m_changed.notify_all();
    }

private:
    const AliasManager &m_real = AliasManager::current();
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    bool m_isFree = false;
};

class FolderPlacesTest : public ::testing::Test
{
protected:
    FolderPlacesTest()
    {
        QObject::connect(&places, &FolderPlaces::changed, [this] { ++changes; });
    }

    /// Records folders under names that they no longer have.
    std::vector<HistoryRecord> moved(int count)
    {
        std::vector<HistoryRecord> records;
        fs::create_directories(root / "before");
        for (int number = 0; number < count; ++number) {
            const std::string name = std::to_string(number);
            fs::create_directories(root / "before" / name);
            HistoryRecord record;
            record.key = number + 1;
            record.folder = root / "before" / name;
            record.alias = *AliasManager::current().newAlias(record.folder);
            records.push_back(record);
        }
        fs::rename(root / "before", root / "after");
        return records;
    }
    std::string after(std::size_t number) const { return root / "after" / std::to_string(number); }

    const fs::path root = PrivateHome::current().makeFolder("root");
    FolderPlaces places;
    int changes = 0;
};

} // namespace

TEST_F(FolderPlacesTest, firstAnswer_ofAShortList_isRightAtOnce)
{
    // The wait for it is short, and a busy machine may need longer.
    const auto records = moved(1);
    if (places.placesOf(records).front() != after(0)) {
        ASSERT_TRUE(waitFor([this] { return changes == 1; }));
        EXPECT_EQ(places.placesOf(records).front(), after(0));
    }
    runFor(50);
    EXPECT_LE(changes, 1);
}

TEST_F(FolderPlacesTest, silentServer_oneFolderIsAsRecordedUntilItAnswers)
{
    const auto records = moved(1);
    static SilentAliases aliases; // the thread uses it
    const Override<AliasManager> installed(aliases);
    EXPECT_EQ(places.placesOf(records).front(), records.front().folder);
    runFor(50);
    EXPECT_EQ(changes, 0);
    aliases.letGo();
    ASSERT_TRUE(waitFor([this] { return changes == 1; }));
    EXPECT_EQ(places.placesOf(records).front(), after(0));
}

TEST_F(FolderPlacesTest, manyFolders_areAllFound)
{
    const auto records = moved(60);
    ASSERT_TRUE(waitFor([&] { return places.placesOf(records).back() == after(59); }));
    const auto found = places.placesOf(records);
    for (std::size_t number = 0; number < found.size(); ++number)
        EXPECT_EQ(found[number], after(number));
}

TEST_F(FolderPlacesTest, recordThatChanges_isLookedUpAnew)
{
    auto records = moved(2);
    ASSERT_TRUE(waitFor([&] { return places.placesOf(records).back() == after(1); }));
    records.back().alias.clear();
    records.back().folder = root.native();
    EXPECT_EQ(places.placesOf(records).back(), root.native());
}

TEST_F(FolderPlacesTest, askedAMomentAfterTheLastLook_isLookedForLater)
{
    const auto records = moved(2);
    ASSERT_TRUE(waitFor([&] { return places.placesOf(records).back() == after(1); }));
    fs::rename(root / "after", root / "later");
    changes = 0;
    places.placesOf(records);
    ASSERT_TRUE(waitFor([this] { return changes == 1; })) << "without being asked once more";
    EXPECT_EQ(places.placesOf(records).back(), (root / "later/1").native());
}

TEST_F(FolderPlacesTest, destroyedWhileLooking_endsInPeace)
{
    const auto records = moved(40);
    static SilentAliases aliases;
    const Override<AliasManager> installed(aliases);
    auto shortLived = std::make_unique<FolderPlaces>();
    shortLived->placesOf(records);
    shortLived.reset();
    aliases.letGo();
    runFor(100);
}
