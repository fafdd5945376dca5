#include "Classes/PrefPane/IconButton.h"
#include "Classes/PrefPane/PXDefaultsController.h"
#include "Classes/PrefPane/SwitchView.h"
#include "Classes/Shared/AnimatorProxy.h"
#include "Tests/Classes/PrefPane/PaneFixture.h"
#include "Tests/Support/WaitFor.h"

#include <QPropertyAnimation>
#include <QTabWidget>
#include <QTest>

#include <gmock/gmock.h>

#include <numbers>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class TamselPrefToggleTest : public PaneFixture
{
protected:
    void loadAndSelect()
    {
        load();
        pane().didSelect();
        journal.clear();
    }

    QAbstractButton &knob() { return *pane().toggleActiveButton(); }

    void finishSliding()
    {
        QPropertyAnimation *const sliding = AnimatorProxy::frameAnimation(&knob());
        ASSERT_NE(sliding, nullptr);
        EXPECT_EQ(sliding->duration(), 250);
        sliding->pause();
        sliding->setCurrentTime(sliding->duration());
    }

    static bool storedActive()
    {
        const Result<PropertyList> stored = PropertyList::read(supportFolder() / "defaults.plist");
        return stored && *stored->find("active") == PropertyList(true);
    }

    Layer &iconLayer() { return pane().iconButton()->layer(); }

    /// A bubble whose animations run and are held.
    Layer *addHeldBubble()
    {
        pane().addBubble();
        Layer *const bubble = iconLayer().sublayers().back().get();
        EXPECT_TRUE(waitFor([bubble] { return bubble->animation(QStringLiteral("opacity")) != nullptr; }));
        for (const char *key : {"position", "opacity"})
            bubble->animation(QString::fromLatin1(key))->pause();
        return bubble;
    }
};

} // namespace

TEST_F(TamselPrefToggleTest, knob_standsAtItsFramesCountedFromTheBottomLeft)
{
    loadAndSelect();
    const int height = knob().parentWidget()->height();
    pane().setActiveButton(false, false);
    EXPECT_EQ(knob().geometry(), QRect(89, height - 86 - 25, 40, 25));
    pane().setActiveButton(true, false);
    EXPECT_EQ(knob().geometry(), QRect(142, height - 86 - 25, 40, 25));
    EXPECT_EQ(AnimatorProxy::frameAnimation(&knob()), nullptr);
    EXPECT_TRUE(knob().isChecked()) << "the state is not touched";
    pane().setActiveButton(false, false);
    EXPECT_TRUE(knob().isChecked());
}

TEST_F(TamselPrefToggleTest, fromAnotherControl_flipsStoresAndSlides)
{
    loginWindow.addOther("other", "/opt/other/Other.app");
    loadAndSelect();
    pane().setAutorunAtLogin(true);
    pane().toggleActive(nullptr);
    EXPECT_FALSE(knob().isChecked());
    EXPECT_FALSE(storedActive());
    EXPECT_FALSE(pane().autorunAtLogin());
    EXPECT_THAT(journal.lines(), ElementsAre("post com.dovrane.pellix.active"));
    EXPECT_EQ(knob().x(), 142);
    finishSliding();
    EXPECT_EQ(knob().x(), 89);

    pane().toggleActive(pane().tabView());
    EXPECT_TRUE(knob().isChecked());
    EXPECT_TRUE(storedActive());
    EXPECT_TRUE(pane().autorunAtLogin());
    EXPECT_THAT(journal.lines(), ElementsAre("post com.dovrane.pellix.active", "post com.dovrane.pellix.active"));
    finishSliding();
    EXPECT_EQ(knob().x(), 142);
}

TEST_F(TamselPrefToggleTest, clickedItself_takesTheStateItHas)
{
    loadAndSelect();
    window.show();
    QTest::mouseClick(&knob(), Qt::LeftButton);
    EXPECT_FALSE(knob().isChecked());
    EXPECT_FALSE(storedActive());
    knob().setFocus();
    QTest::keyClick(&knob(), Qt::Key_Space);
    EXPECT_TRUE(knob().isChecked());
    EXPECT_TRUE(storedActive());
}

TEST_F(TamselPrefToggleTest, toggledByAnAssistiveTechnology_doesWhatAClickDoes)
{
    loginWindow.addOther("other", "/opt/other/Other.app");
    loadAndSelect();
    pane().setAutorunAtLogin(true);
    for (const bool isOn : {false, true}) {
        journal.clear();
        toggleByAccessibleAction(knob());
        EXPECT_EQ(knob().isChecked(), isOn);
        EXPECT_EQ(storedActive(), isOn);
        EXPECT_EQ(pane().autorunAtLogin(), isOn);
        EXPECT_THAT(journal.lines(), ElementsAre("post com.dovrane.pellix.active"));
        finishSliding();
        EXPECT_EQ(knob().x(), isOn ? 142 : 89);
    }
}

TEST_F(TamselPrefToggleTest, switchThatFollowsTheStoredState_tellsNobody)
{
    loadAndSelect();
    PXDefaultsController::sharedDefaultsController()->setHelperActive(false);
    pane().didSelect();
    EXPECT_FALSE(knob().isChecked());
    EXPECT_THAT(journal.lines(), IsEmpty());
}

TEST_F(TamselPrefToggleTest, clickBesideTheKnob_flipsToo_butNotOutsideTheTrack)
{
    loadAndSelect();
    window.show();
    auto *const track = pane().toggleActiveButton()->parentWidget();
    QTest::mouseClick(track, Qt::LeftButton, {}, {110, knob().geometry().center().y()});
    EXPECT_FALSE(storedActive());
    QTest::mouseClick(track, Qt::LeftButton, {}, {300, knob().geometry().center().y()});
    EXPECT_FALSE(storedActive());
    QTest::mouseClick(track, Qt::RightButton, {}, {170, knob().geometry().center().y()});
    EXPECT_FALSE(storedActive());
}

TEST_F(TamselPrefToggleTest, withoutARunningHelper_launchesFirst)
{
    loadAndSelect();
    workspace.end("com.dovrane.TamselHelper");
    pane().toggleActive(nullptr);
    EXPECT_THAT(journal.lines(), ElementsAre("launch TamselHelper.app", "post com.dovrane.pellix.active"));
}

TEST_F(TamselPrefToggleTest, betweenStoringAndTelling_theHostIsNotEnded)
{
    loadAndSelect();
    const int callsBefore = termination.disableCalls();
    int whileStoring = -1;
    int whileTelling = -1;
    QObject::connect(PXDefaultsController::sharedDefaultsController(), &PXDefaultsController::helperActiveChanged,
                     [&] { whileStoring = termination.count(); });
    notingCenter.posting = [&](const std::string &name) {
        EXPECT_EQ(name, "com.dovrane.pellix.active");
        whileTelling = termination.count();
    };
    pane().toggleActive(nullptr);
    notingCenter.posting = nullptr;
    EXPECT_EQ(whileStoring, 1);
    EXPECT_EQ(whileTelling, 1);
    EXPECT_EQ(termination.disableCalls() - callsBefore, 1) << "in one piece";
    EXPECT_EQ(termination.count(), 0);
}

TEST_F(TamselPrefToggleTest, repeatedFlips_endWhereTheLastOnePoints)
{
    loadAndSelect();
    for (int i = 0; i < 5; ++i)
        pane().toggleActive(nullptr);
    EXPECT_FALSE(storedActive());
    finishSliding();
    EXPECT_EQ(knob().x(), 89);
}

TEST_F(TamselPrefToggleTest, bubbleAnimation_followsTheArcAndTheLine)
{
    const auto animation = pane().bubbleAnimation();
    EXPECT_EQ(animation->duration(), 300);
    animation->start();
    animation->pause();
    const double diagonal = 15 / std::numbers::sqrt2;
    const std::pair<int, QPointF> expected[] = {
        {0, {100, 35}}, {75, {100 + diagonal, 50 - diagonal}}, {150, {115, 50}}, {225, {117.5, 92.5}}};
    for (const auto &[time, point] : expected) {
        animation->setCurrentTime(time);
        EXPECT_NEAR(animation->point().x(), point.x(), 0.1) << time;
        EXPECT_NEAR(animation->point().y(), point.y(), 0.1) << time;
    }
    EXPECT_EQ(animation->path().currentPosition(), QPointF(120, 135));
}

TEST_F(TamselPrefToggleTest, opacityAnimation_fadesInTheLastQuarter)
{
    const auto animation = pane().opacityAnimation();
    EXPECT_EQ(animation->duration(), 300);
    EXPECT_THAT(animation->keyTimes(), ElementsAre(0.0, 0.75, 1.0));
    EXPECT_THAT(animation->values(), ElementsAre(1.0, 1.0, 0.0));
    EXPECT_FALSE(animation->isRemovedOnCompletion());
}

TEST_F(TamselPrefToggleTest, addBubble_placesAnInvisibleLayerThatStartsAMomentLater)
{
    loadView();
    pane().addBubble();
    ASSERT_EQ(iconLayer().sublayers().size(), 1u);
    Layer *const bubble = iconLayer().sublayers().front().get();
    EXPECT_EQ(bubble->bounds(), QRectF(0, 0, 20, 20));
    EXPECT_EQ(bubble->position(), QPointF(100, 35));
    EXPECT_EQ(bubble->opacity(), 0);
    EXPECT_EQ(bubble->animation(QStringLiteral("opacity")), nullptr);
    EXPECT_TRUE(waitFor([bubble] { return bubble->animation(QStringLiteral("opacity")) != nullptr; }));
    EXPECT_NE(bubble->animation(QStringLiteral("position")), nullptr);
}

TEST_F(TamselPrefToggleTest, bubbleWithoutAnImage_isALayerAllTheSame)
{
    std::filesystem::remove(bundlePath() / "Contents/Resources/bubble.png");
    loadView();
    pane().addBubble();
    EXPECT_EQ(iconLayer().sublayers().size(), 1u);
}

TEST_F(TamselPrefToggleTest, finishedBubble_goes_andOnlyThatOne)
{
    loadView();
    Layer *const first = addHeldBubble();
    Layer *const second = addHeldBubble();
    second->animation(QStringLiteral("opacity"))->setCurrentTime(300);
    ASSERT_EQ(iconLayer().sublayers().size(), 1u);
    EXPECT_EQ(iconLayer().sublayers().front().get(), first);
}

TEST_F(TamselPrefToggleTest, interruptedBubble_stays)
{
    loadView();
    Layer *const bubble = addHeldBubble();
    bubble->animation(QStringLiteral("opacity"))->stop();
    EXPECT_THAT(iconLayer().sublayers().size(), 1u);
}

TEST_F(TamselPrefToggleTest, icon_letsABubbleRise_andPoppingDoesNothing)
{
    loadView();
    pane().popBubbles();
    EXPECT_THAT(iconLayer().sublayers(), IsEmpty());
    pane().iconButton()->click();
    ASSERT_EQ(iconLayer().sublayers().size(), 1u);
    pane().popBubbles();
    EXPECT_EQ(iconLayer().sublayers().size(), 1u);
    EXPECT_TRUE(waitFor([this] { return iconLayer().sublayers().empty(); })) << "it runs out by itself";
}
