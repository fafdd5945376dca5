#include "Classes/PrefPane/PXDefaultsController.h"
#include "Classes/Shared/RQAlias.h"
#include "Tests/Classes/PrefPane/PaneFixture.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

class TamselPrefLoginTest : public PaneFixture
{
protected:
    TamselPrefLoginTest()
    {
        QObject::connect(&pane(), &TamselPref::autorunAtLoginChanged, [this] { ++notices; });
    }

    std::vector<std::string> paths() const
    {
        std::vector<std::string> paths;
        for (const LoginItem &item : loginWindow.copyItems().valueOr(std::nullopt).value_or(std::vector<LoginItem>()))
            paths.push_back(item.path.native());
        return paths;
    }

    int notices = 0;
};

constexpr const char *kOther = "/opt/other/Other.app";
constexpr const char *kAlike = "/opt/other/TamselHelper.app.old";
constexpr const char *kOldHelper = "/old/place/TamselHelper.app";

} // namespace

TEST_F(TamselPrefLoginTest, withoutAList_nothingIsAddedAndTheNoticeIsSentAllTheSame)
{
    EXPECT_FALSE(pane().autorunAtLogin());
    pane().setAutorunAtLogin(true);
    EXPECT_FALSE(pane().autorunAtLogin());
    EXPECT_FALSE(loginWindow.copyItems()->has_value());
    EXPECT_EQ(notices, 1);
}

TEST_F(TamselPrefLoginTest, on_appendsOneEntryWithPathAndAlias)
{
    loginWindow.addOther("a", kOther);
    pane().setAutorunAtLogin(true);
    EXPECT_TRUE(pane().autorunAtLogin());
    EXPECT_THAT(paths(), ElementsAre(kOther, helperPath().native()));
    const LoginItem ours = loginWindow.copyItems()->value().back();
    EXPECT_FALSE(ours.hide);
    EXPECT_EQ(RQAlias::aliasWithData(ours.aliasData).fullPath(), std::optional<Path>(helperPath()));
    EXPECT_EQ(notices, 1);
}

TEST_F(TamselPrefLoginTest, theSameAgain_doesNothing)
{
    loginWindow.addOther("a", kOldHelper);
    pane().setAutorunAtLogin(true);
    EXPECT_THAT(paths(), ElementsAre(kOldHelper)) << "a helper at any place counts";
    EXPECT_EQ(loginWindow.stores(), 0);
    EXPECT_EQ(notices, 0);
}

TEST_F(TamselPrefLoginTest, off_removesEveryHelperAndNothingElse)
{
    loginWindow.addOther("a", kOldHelper);
    loginWindow.addOther("b", kAlike);
    loginWindow.addOther("c", helperPath());
    loginWindow.addOther("d", kOther);
    pane().setAutorunAtLogin(false);
    EXPECT_THAT(paths(), ElementsAre(kAlike, kOther));
    EXPECT_EQ(notices, 1);
    pane().setAutorunAtLogin(false);
    EXPECT_EQ(notices, 1);
}

TEST_F(TamselPrefLoginTest, anEntryThatOnlyContainsTheName_isNotTheHelpers)
{
    loginWindow.addOther("a", kAlike);
    EXPECT_FALSE(pane().autorunAtLogin());
}

TEST_F(TamselPrefLoginTest, regenerate_movesTheEntryToTheEndAndRenewsIt)
{
    loginWindow.addOther("a", kOldHelper);
    loginWindow.addOther("b", kOther);
    loginWindow.addOther("c", kAlike);
    pane().regenerateAutologinItem();
    EXPECT_THAT(paths(), ElementsAre(kOther, kAlike, helperPath().native()));
    EXPECT_EQ(loginWindow.stores(), 1) << "a crash between two would leave the helper off the list";
    EXPECT_EQ(notices, 2);
}

TEST_F(TamselPrefLoginTest, regenerateWhenTheBundleHasBeenRenamed_keepsTheEntry)
{
    loginWindow.addOther("a", kOldHelper);
    std::filesystem::remove_all(helperPath());
    pane().regenerateAutologinItem();
    EXPECT_THAT(paths(), ElementsAre(kOldHelper));
}

TEST_F(TamselPrefLoginTest, regenerateWithoutAnEntry_addsNone)
{
    loginWindow.addOther("a", kOther);
    pane().regenerateAutologinItem();
    EXPECT_THAT(paths(), ElementsAre(kOther));
    EXPECT_EQ(loginWindow.stores(), 0);
}

TEST_F(TamselPrefLoginTest, load_rebuildsAnEntryAndAddsNone)
{
    loginWindow.addOther("a", kOldHelper);
    loginWindow.addOther("b", kOther);
    load();
    EXPECT_THAT(paths(), ElementsAre(kOther, helperPath().native()));
}

TEST_F(TamselPrefLoginTest, theStoredFlag_isPushedWhenItChanges)
{
    loginWindow.addOther("a", kOther);
    load();
    EXPECT_FALSE(pane().autorunAtLogin()) << "loading alone adds nothing";
    PXDefaultsController::sharedDefaultsController()->setAutorunAtLogin(true);
    EXPECT_TRUE(pane().autorunAtLogin());
    PXDefaultsController::sharedDefaultsController()->setAutorunAtLogin(false);
    EXPECT_FALSE(pane().autorunAtLogin());
}

TEST_F(TamselPrefLoginTest, whateverCallFails_entriesOfOthersStay)
{
    for (const bool autorun : {true, false}) {
        for (int failing = 0;; ++failing) {
            FakeLoginWindow list;
            list.addOther("a", kOther);
            if (!autorun)
                list.addOther("b", kOldHelper);
            const Override<LoginWindow> installed(list);
            list.failCall(failing, ErrorCode::Io);
            pane().setAutorunAtLogin(autorun);
            const bool done = list.calls() <= failing;
            list.failCall(-1, ErrorCode::Io);
            EXPECT_EQ(list.copyItems()->value().front().path, Path(kOther))
                << "lost when call " << failing << " failed";
            if (done)
                break;
        }
    }
}

TEST_F(TamselPrefLoginTest, aBundleWithoutAHelper_addsNoEntry)
{
    loginWindow.addOther("a", kOther);
    std::filesystem::remove_all(helperPath());
    pane().setAutorunAtLogin(true);
    EXPECT_THAT(paths(), ElementsAre(kOther));
}

TEST_F(TamselPrefLoginTest, property_isKnownByName)
{
    loginWindow.addOther("a", kOther);
    EXPECT_TRUE(pane().setProperty("autorunAtLogin", true));
    EXPECT_EQ(pane().property("autorunAtLogin"), QVariant(true));
}
