#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Tools/tamselctl/Tamselctl.h"

#include "Platform/PropertyList.h"

#include <QDeadlineTimer>
#include <QThread>

#include <gmock/gmock.h>

#include <csignal>
#include <functional>

using ::testing::HasSubstr;
namespace fs = std::filesystem;

/// The switch of a panel that runs.
class SwitchOfPanel : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_panel.start(QStringLiteral(PANEL), {QStringLiteral("--pane"), QStringLiteral(PANE)});
        ASSERT_TRUE(m_panel.waitForStarted());
        ASSERT_TRUE(wait([] { return isRunning("hostRunning") && isRunning("helperRunning"); }));
    }

    void TearDown() override
    {
        ::kill(pid_t(m_panel.processId()), SIGCONT);
        m_panel.terminate();
        EXPECT_TRUE(m_panel.waitForFinished());
        EXPECT_EQ(tamselctl({"post", "pellixHelperShouldQuit"}).exitCode, 0);
        EXPECT_TRUE(wait([] { return !isRunning("helperRunning"); }));
    }

    static bool wait(const std::function<bool()> &condition)
    {
        QDeadlineTimer deadline(60'000);
        while (!condition()) {
            if (deadline.hasExpired())
                return false;
            QThread::msleep(50);
        }
        return true;
    }

    static bool isRunning(const char *key)
    {
        const auto objects = jsonLines(tamselctl({"status", "--json"}).out);
        return !objects.empty() && objects[0][QString::fromLatin1(key)].toBool();
    }

    bool isActive() const
    {
        const auto list = PropertyList::read(m_settings);
        EXPECT_TRUE(list);
        const PropertyList *value = list ? list->find("active") : nullptr;
        return value && value->as<bool>() && *value->as<bool>();
    }

    const PrivateBus m_bus;
    const fs::path m_settings = PrivateHome::current().home() / ".local/share/Tamsel/defaults.plist";
    const fs::path m_item = PrivateHome::current().home() / ".config/autostart/com.dovrane.TamselHelper.desktop";
    QProcess m_panel;
};

TEST_F(SwitchOfPanel, offAndOn_areDoneByThePanelItself)
{
    ASSERT_TRUE(wait([this] { return fs::exists(m_settings); }));
    RunningTamselctl listener({"listen"});
    ASSERT_TRUE(listener.waitForError("listening"));

    const Ended off = tamselctl({"off"});
    EXPECT_EQ(off.exitCode, 0) << off.err;
    EXPECT_FALSE(isActive());

    const Ended on = tamselctl({"on"});
    EXPECT_EQ(on.exitCode, 0) << on.err;
    EXPECT_TRUE(isActive());
    EXPECT_TRUE(wait([this] { return fs::exists(m_item); }));

    EXPECT_EQ(tamselctl({"off"}).exitCode, 0);
    EXPECT_TRUE(wait([this] { return !fs::exists(m_item); }));

    EXPECT_EQ(tamselctl({"post", "the end"}).exitCode, 0);
    ASSERT_TRUE(listener.waitForOutput("the end\n"));
    // The helper's own posts come between.
    const QString heard = QString::fromStdString(listener.out());
    EXPECT_EQ(heard.count(QStringLiteral("com.dovrane.pellix.active\n")), 3) << heard.toStdString();
}

TEST_F(SwitchOfPanel, whatIsSoAlready_staysSo)
{
    ASSERT_TRUE(wait([this] { return fs::exists(m_settings); }));
    EXPECT_EQ(tamselctl({"on"}).exitCode, 0);
    EXPECT_TRUE(isActive());
}

TEST_F(SwitchOfPanel, panelThatHangs_isAFailureAndNothingIsWritten)
{
    ASSERT_TRUE(wait([this] { return fs::exists(m_settings); }));
    ::kill(pid_t(m_panel.processId()), SIGSTOP);
    const Ended ended = tamselctl({"off"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_THAT(ended.err, HasSubstr("the panel does not answer"));
    EXPECT_TRUE(isActive());
}
