#include "Classes/PrefPane/HelperLoginItem.h"

#include "Classes/Shared/RQAlias.h"
#include "Platform/Fake/FakeLoginWindow.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

class HelperLoginItemTest : public testing::Test
{
protected:
    std::vector<std::string> paths() const
    {
        std::vector<std::string> paths;
        for (const LoginItem &item : list.copyItems().valueOr(std::nullopt).value_or(std::vector<LoginItem>()))
            paths.push_back(item.path.native());
        return paths;
    }

    const Path helper = PrivateHome::current().makeFolder("bundle") / "TamselHelper.app";
    FakeLoginWindow list;
    const Override<LoginWindow> installed{list};
};

constexpr const char *kOther = "/opt/other/Other.app";
constexpr const char *kAlike = "/opt/other/TamselHelper.app.old";
constexpr const char *kOldHelper = "/old/place/TamselHelper.app";

} // namespace

TEST_F(HelperLoginItemTest, withoutAList_isAbsentAndNoneIsMade)
{
    EXPECT_FALSE(*HelperLoginItem::isPresent());
    EXPECT_TRUE(HelperLoginItem::add(helper));
    EXPECT_TRUE(HelperLoginItem::remove());
    EXPECT_FALSE(list.copyItems()->has_value());
    EXPECT_EQ(list.stores(), 0);
}

TEST_F(HelperLoginItemTest, add_appendsOneEntryWithPathAndAlias)
{
    std::filesystem::create_directory(helper);
    list.addOther("a", kOther);
    list.addOther("b", kAlike);
    EXPECT_FALSE(*HelperLoginItem::isPresent()) << "an entry that only contains the name is another program's";
    EXPECT_TRUE(HelperLoginItem::add(helper));
    EXPECT_TRUE(*HelperLoginItem::isPresent());
    EXPECT_THAT(paths(), ElementsAre(kOther, kAlike, helper.native()));
    const LoginItem ours = list.copyItems()->value().back();
    EXPECT_FALSE(ours.hide);
    EXPECT_EQ(RQAlias::aliasWithData(ours.aliasData).fullPath(), std::optional<Path>(helper));
}

TEST_F(HelperLoginItemTest, addWithAHelperInTheList_changesNothing)
{
    list.addOther("a", kOldHelper);
    EXPECT_TRUE(HelperLoginItem::add(helper));
    EXPECT_THAT(paths(), ElementsAre(kOldHelper));
    EXPECT_EQ(list.stores(), 0);
}

TEST_F(HelperLoginItemTest, remove_takesEveryHelperAndNothingElse)
{
    list.addOther("a", kOldHelper);
    list.addOther("b", kAlike);
    list.addOther("c", helper);
    list.addOther("d", kOther);
    EXPECT_TRUE(HelperLoginItem::remove());
    EXPECT_THAT(paths(), ElementsAre(kAlike, kOther));
    EXPECT_TRUE(HelperLoginItem::remove());
    EXPECT_EQ(list.stores(), 1) << "with none left there is nothing to store";
}

TEST_F(HelperLoginItemTest, aListThatCannotBeReadOrStored_isReported)
{
    list.addOther("a", kOldHelper);
    list.failCall(0, ErrorCode::Permission);
    EXPECT_EQ(HelperLoginItem::isPresent().failure().code, ErrorCode::Permission);
    list.failCall(0, ErrorCode::Permission);
    EXPECT_EQ(HelperLoginItem::add(helper).failure().code, ErrorCode::Permission);
    for (const int failing : {0, 1}) {
        list.failCall(failing, ErrorCode::Io);
        EXPECT_EQ(HelperLoginItem::remove().failure().code, ErrorCode::Io);
        list.failCall(-1, ErrorCode::Io);
        EXPECT_THAT(paths(), ElementsAre(kOldHelper));
    }
}
