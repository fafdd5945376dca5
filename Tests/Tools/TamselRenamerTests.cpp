#include "Platform/DistributedNotificationCenter.h"
#include "Platform/Types.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Tools/ToolRun.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

class TamselRenamerTest : public ::testing::Test
{
protected:
    ~TamselRenamerTest() override { fs::remove_all(m_panes); }

    Path makePaneAt(const Path &bundle) const { return makePane(bundle, "com.dovrane.Tamsel", RENAMER); }
    ToolRun run(const Path &tool) const { return ToolRun::of(tool, {QString::fromLatin1("")}); }

    Path m_panes = PrivateHome::current().home() / ".local/share/PreferencePanes";
};

class TamselRenamerBusTest : public TamselRenamerTest
{
protected:
    TamselRenamerBusTest()
    {
        auto &center = DistributedNotificationCenter::current();
        center.addObserver("com.dovrane.tamsel.relaunch", [this](const Notification &) { ++m_posts; });
        bool ready = false;
        center.flush([&](bool) { ready = true; });
        spinUntil([&] { return ready; });
    }
    template <class Condition>
    static bool spinUntil(Condition condition, int patienceMs = 10'000)
    {
        QElapsedTimer clock;
        clock.start();
        while (!condition() && clock.elapsed() < patienceMs)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        return condition();
    }

    PrivateBus m_bus;
    int m_posts = 0;
};

} // namespace

TEST_F(TamselRenamerBusTest, legacyName_isRenamedAndAnnounced)
{
    for (const std::string name : {"Pellix.prefPane", "Pellixer.prefPane"}) {
        m_posts = 0;
        fs::remove_all(m_panes);
        const ToolRun outcome = run(makePaneAt(m_panes / name));
        EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
        EXPECT_FALSE(fs::exists(m_panes / name));
        EXPECT_TRUE(fs::exists(m_panes / "Tamsel.prefPane/Contents/Info.plist"));
        EXPECT_TRUE(spinUntil([&] { return m_posts > 0; }));
        EXPECT_EQ(m_posts, 1);
    }
}

TEST_F(TamselRenamerBusTest, presentName_isLeftAndNothingPosted)
{
    EXPECT_EQ(run(makePaneAt(m_panes / "Tamsel.prefPane")).exitCode, 0);
    EXPECT_EQ(run(makePaneAt(m_panes / "Other.prefPane")).exitCode, 0);
    EXPECT_TRUE(fs::exists(m_panes / "Tamsel.prefPane"));
    EXPECT_TRUE(fs::exists(m_panes / "Other.prefPane"));
    EXPECT_FALSE(spinUntil([&] { return m_posts > 0; }, 300));
}

TEST_F(TamselRenamerBusTest, newNameTaken_bothAreLeft)
{
    writeFile(m_panes / "Tamsel.prefPane/precious", "precious");
    const ToolRun outcome = run(makePaneAt(m_panes / "Pellix.prefPane"));
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_NE(outcome.errors.find("is there already"), std::string::npos) << outcome.errors;
    EXPECT_TRUE(fs::exists(m_panes / "Pellix.prefPane/Contents/Info.plist"));
    EXPECT_EQ(contentOf(m_panes / "Tamsel.prefPane/precious"), "precious");
    EXPECT_FALSE(spinUntil([&] { return m_posts > 0; }, 300));
}

TEST_F(TamselRenamerTest, legacyNameElsewhere_isLeft)
{
    const Path elsewhere = PrivateHome::current().makeFolder("build") / "Pellix.prefPane";
    EXPECT_EQ(run(makePaneAt(elsewhere)).exitCode, 0);
    EXPECT_TRUE(fs::exists(elsewhere));
    const Path deeper = m_panes / "folder/Pellix.prefPane";
    EXPECT_EQ(run(makePaneAt(deeper)).exitCode, 0);
    EXPECT_TRUE(fs::exists(deeper));
}

TEST_F(TamselRenamerTest, noBus_isRenamedAllTheSame)
{
    const ToolRun outcome = run(makePaneAt(m_panes / "Pellix.prefPane"));
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_TRUE(fs::exists(m_panes / "Tamsel.prefPane"));
    EXPECT_NE(outcome.errors.find("no session bus"), std::string::npos) << outcome.errors;
}

TEST_F(TamselRenamerTest, wrongUse_saysHowAndDoesNothing)
{
    const Path tool = makePaneAt(m_panes / "Pellix.prefPane");
    for (const QStringList &arguments : {QStringList{}, {QStringLiteral("x")}, {QString::fromLatin1(""), QString()}}) {
        const ToolRun outcome = ToolRun::of(tool, arguments);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_NE(outcome.errors.find("usage"), std::string::npos);
    }
    EXPECT_TRUE(fs::exists(tool));
}
