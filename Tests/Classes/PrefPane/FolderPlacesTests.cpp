#include "Classes/PrefPane/FolderPlaces.h"

#include "Platform/AliasManager.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WaitFor.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

namespace fs = std::filesystem;

namespace {

/// Slow, as on a network.
class SlowAliases final : public AliasManager
{
public:
    Result<Bytes> newAlias(const Path &target, const Path &relativeTo) const override
    {
        return m_real.newAlias(target, relativeTo);
    }
    Result<Resolution> resolve(ByteView record, const Path &relativeTo) const override
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return m_real.resolve(record, relativeTo);
    }
    Result<AliasInfo> copyInfo(ByteView record) const override { return m_real.copyInfo(record); }

private:
    const AliasManager &m_real = AliasManager::current();
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

TEST_F(FolderPlacesTest, fewFolders_areFoundAtOnceHoweverSlow)
{
    const auto records = moved(5);
    const SlowAliases slow;
    const Override<AliasManager> installed(const_cast<SlowAliases &>(slow));
    const auto found = places.placesOf(records);
    for (std::size_t number = 0; number < found.size(); ++number)
        EXPECT_EQ(found[number], after(number));
}

TEST_F(FolderPlacesTest, manySlowFolders_areAsRecordedUntilTheThreadHasFoundThem)
{
    const auto records = moved(60);
    static SlowAliases slow; // the thread uses it
    const Override<AliasManager> installed(slow);
    auto found = places.placesOf(records);
    ASSERT_EQ(found.size(), records.size());
    EXPECT_EQ(found.front(), after(0));
    EXPECT_EQ(found.back(), records.back().folder);
    ASSERT_TRUE(waitFor([this] { return changes == 1; }));
    found = places.placesOf(records);
    for (std::size_t number = 0; number < found.size(); ++number)
        EXPECT_EQ(found[number], after(number));
    runFor(50);
    EXPECT_EQ(changes, 1) << "what has been found is not looked for again at once";
}

TEST_F(FolderPlacesTest, recordThatChanges_isLookedUpAnew)
{
    auto records = moved(60);
    static SlowAliases slow;
    const Override<AliasManager> installed(slow);
    places.placesOf(records);
    ASSERT_TRUE(waitFor([this] { return changes == 1; }));
    records.back().alias.clear();
    records.back().folder = root.native();
    EXPECT_EQ(places.placesOf(records).back(), root.native());
}

TEST_F(FolderPlacesTest, destroyedWhileLooking_endsInPeace)
{
    const auto records = moved(40);
    static SlowAliases slow;
    const Override<AliasManager> installed(slow);
    auto shortLived = std::make_unique<FolderPlaces>();
    shortLived->placesOf(records);
    shortLived.reset();
    runFor(400);
}
