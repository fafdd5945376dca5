#include "Host/PanePage.h"

#include <QLabel>
#include <QVBoxLayout>

#include <gmock/gmock.h>

#include <stdexcept>
#include <vector>

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

using Calls = std::vector<std::string>;

class NotingPane final : public PreferencePane
{
public:
    NotingPane(Calls &calls, std::string failing, const std::function<void()> &duringStart)
        : PreferencePane(Bundle())
        , m_calls(calls)
        , m_failing(std::move(failing))
        , m_duringStart(duringStart)
    {
    }

    QWidget *loadMainView() override
    {
        note("loadMainView");
        if (m_failing == "noView")
            return nullptr;
        m_view = new QLabel;
        m_view->setObjectName(QStringLiteral("view"));
        return m_view;
    }
    void mainViewDidLoad() override
    {
        note(m_view->isVisible() ? "mainViewDidLoad" : "mainViewDidLoad too early");
        if (m_duringStart)
            m_duringStart();
    }
    void didSelect() override { note("didSelect"); }
    void didUnselect() override { note("didUnselect"); }

private:
    void note(const std::string &call)
    {
        m_calls.push_back(call);
        if (call == m_failing)
            throw std::runtime_error("failed at " + call);
    }

    Calls &m_calls;
    std::string m_failing;
    const std::function<void()> &m_duringStart;
    QWidget *m_view = nullptr;
};

class PanePageTest : public ::testing::Test
{
protected:
    PanePage &pageFailingAt(const std::string &call)
    {
        page = new PanePage(QStringLiteral("Pane <1>"), [this, call]() -> PaneOrFault {
            return std::make_unique<NotingPane>(calls, call, duringStart);
        });
        layout.addWidget(page);
        window.show();
        page->show(); // a layout shows what is added later from the event loop only
        return *page;
    }

    std::string textOf(const char *label) const
    {
        const auto *const found = page->findChild<QLabel *>(QLatin1String(label));
        return found && found->isVisible() ? found->text().toStdString() : std::string();
    }

    QWidget window;
    QVBoxLayout layout{&window};
    PanePage *page = nullptr;
    Calls calls;
    std::function<void()> duringStart;
};

} // namespace

TEST_F(PanePageTest, select_theFirstTime_loadsShowsAndSelectsInThisOrder)
{
    PanePage &shown = pageFailingAt("nothing");
    EXPECT_THAT(calls, IsEmpty());
    shown.select();
    EXPECT_THAT(calls, ElementsAre("loadMainView", "mainViewDidLoad", "didSelect"));
    EXPECT_TRUE(shown.isSelected());
}

TEST_F(PanePageTest, select_again_onlySelects)
{
    PanePage &shown = pageFailingAt("nothing");
    shown.select();
    shown.select();
    shown.unselect();
    shown.unselect();
    shown.select();
    EXPECT_THAT(calls, ElementsAre("loadMainView", "mainViewDidLoad", "didSelect", "didUnselect", "didSelect"));
}

TEST_F(PanePageTest, unselect_neverSelected_tellsNothing)
{
    pageFailingAt("nothing").unselect();
    EXPECT_THAT(calls, IsEmpty());
}

TEST_F(PanePageTest, select_startThrows_showsAMessageAndIsNotTriedAgain)
{
    for (const char *const call : {"loadMainView", "mainViewDidLoad"}) {
        calls.clear();
        PanePage &shown = pageFailingAt(call);
        shown.select();
        EXPECT_FALSE(shown.isSelected()) << call;
        EXPECT_EQ(textOf("faultTitle"), "“Pane <1>” cannot be shown.") << call;
        EXPECT_EQ(textOf("faultDetail"), std::string("failed at ") + call);
        const std::size_t made = calls.size();
        shown.select();
        shown.unselect();
        EXPECT_EQ(calls.size(), made) << call;
    }
}

TEST_F(PanePageTest, select_noView_showsAMessage)
{
    pageFailingAt("noView").select();
    EXPECT_EQ(textOf("faultReason"), "Its program made no view.");
}

TEST_F(PanePageTest, select_didSelectThrows_showsAMessageAndTellsNoUnselect)
{
    PanePage &shown = pageFailingAt("didSelect");
    shown.select();
    shown.unselect();
    EXPECT_EQ(textOf("faultDetail"), "failed at didSelect");
    EXPECT_THAT(calls, ElementsAre("loadMainView", "mainViewDidLoad", "didSelect"));
}

TEST_F(PanePageTest, select_leftWhileThePaneStarts_isNotSelectedAfterwards)
{
    PanePage &shown = pageFailingAt("nothing");
    duringStart = [&shown] { shown.unselect(); };
    shown.select();
    EXPECT_FALSE(shown.isSelected());
    EXPECT_THAT(calls, ElementsAre("loadMainView", "mainViewDidLoad"));
    shown.select();
    EXPECT_THAT(calls, ElementsAre("loadMainView", "mainViewDidLoad", "didSelect"));
}

TEST_F(PanePageTest, unselect_throws_isCaughtAndTheNextSelectShowsTheViewAgain)
{
    PanePage &shown = pageFailingAt("didUnselect");
    shown.select();
    shown.unselect();
    EXPECT_EQ(textOf("faultDetail"), "failed at didUnselect");
    shown.select();
    EXPECT_TRUE(shown.isSelected());
    EXPECT_TRUE(shown.findChild<QLabel *>(QStringLiteral("view"))->isVisible());
    EXPECT_EQ(textOf("faultDetail"), "");
}

TEST_F(PanePageTest, select_faultWhileLoading_isTriedAgainTheNextTime)
{
    int tries = 0;
    page = new PanePage(QStringLiteral("Pane"), [&]() -> PaneOrFault {
        if (++tries == 1)
            return PaneFault{QStringLiteral("Not <b>yet</b>."), {}};
        return std::make_unique<NotingPane>(calls, "", duringStart);
    });
    layout.addWidget(page);
    window.show();
    page->select();
    EXPECT_EQ(textOf("faultReason"), "Not <b>yet</b>.");
    EXPECT_EQ(page->findChild<QLabel *>(QStringLiteral("faultReason"))->textFormat(), Qt::PlainText);
    EXPECT_FALSE(page->isLoaded());
    page->select();
    EXPECT_TRUE(page->isSelected());
    EXPECT_EQ(textOf("faultReason"), "");
}
