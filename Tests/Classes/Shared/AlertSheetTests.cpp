#include "Classes/Shared/AlertSheet.h"

#include "Platform/Fake/Qt/FakeHostApplication.h"
#include "Platform/HostApplication.h"

#include <QAbstractButton>
#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

class AlertSheetTest : public ::testing::Test
{
protected:
    AlertSheetTest() { window->show(); }

    void begin(const AlertSheet &alert)
    {
        alert.beginSheetModalForWindow(window.get(), [this](int code) { codes.push_back(code); });
    }

    void beginWithThreeButtons()
    {
        begin(AlertSheet::alertWithMessageText("Compatibility Warning", "Add Anyway", "Cancel", "Help", "Text"));
    }

    QMessageBox *box() const
    {
        return qobject_cast<QMessageBox *>(HostApplication::current().attachedSheet(window.get()));
    }

    void click(const char *title)
    {
        for (QAbstractButton *button : box()->buttons()) {
            if (button->text() == QLatin1String(title)) {
                button->click();
                return;
            }
        }
        FAIL() << "no button " << title;
    }

    std::unique_ptr<QWidget> window = std::make_unique<QWidget>();
    std::vector<int> codes;
};

} // namespace

TEST_F(AlertSheetTest, begin_answersAtOnceAndShowsAWindowModalSheet)
{
    beginWithThreeButtons();
    ASSERT_NE(box(), nullptr);
    EXPECT_TRUE(codes.empty());
    EXPECT_TRUE(box()->isVisible());
    EXPECT_EQ(box()->windowModality(), Qt::WindowModal);
    EXPECT_EQ(box()->parentWidget(), window.get());
    EXPECT_EQ(box()->text(), QStringLiteral("Compatibility Warning"));
    EXPECT_EQ(box()->buttons().size(), 3);
}

TEST_F(AlertSheetTest, begin_carriageReturns_areShownAsLineBreaks)
{
    begin(AlertSheet::alertWithMessageText("Issue", "OK", "", "", "One\rTwo\r\rThree"));
    EXPECT_EQ(box()->informativeText(), QStringLiteral("One\nTwo\n\nThree"));
}

TEST_F(AlertSheetTest, begin_markup_isShownAsItStands)
{
    begin(AlertSheet::alertWithMessageText("<b>a</b>", "OK", "", "", "<i>/tmp/b</i>"));
    for (const QLabel *label : box()->findChildren<QLabel *>()) {
        if (label->text().contains(QLatin1Char('<'))) {
            EXPECT_EQ(label->textFormat(), Qt::PlainText) << label->text().toStdString();
        }
    }
}

TEST_F(AlertSheetTest, begin_emptyTitles_makeNoButtons)
{
    begin(AlertSheet::alertWithMessageText("Finished", "OK"));
    ASSERT_EQ(box()->buttons().size(), 1);
    EXPECT_EQ(box()->buttons().constFirst()->text(), QStringLiteral("OK"));
}

TEST_F(AlertSheetTest, end_byEachButton_runsTheBlockOnceWithItsCode)
{
    const std::pair<const char *, int> rows[] = {{"Add Anyway", 1}, {"Cancel", 0}, {"Help", -1}};
    for (const auto &[title, code] : rows) {
        codes.clear();
        beginWithThreeButtons();
        click(title);
        EXPECT_EQ(codes, std::vector<int>{code}) << title;
        QCoreApplication::processEvents();
        EXPECT_EQ(codes.size(), 1u) << title;
        EXPECT_EQ(box(), nullptr);
    }
}

TEST_F(AlertSheetTest, end_byEscape_isTheAlternateButton)
{
    beginWithThreeButtons();
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QCoreApplication::sendEvent(box(), &escape);
    EXPECT_EQ(codes, std::vector<int>{AlertSheet::kAlternateReturn});
}

TEST_F(AlertSheetTest, end_byEscapeWithOneButton_isThatButton)
{
    begin(AlertSheet::alertWithMessageText("Finished", "OK"));
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QCoreApplication::sendEvent(box(), &escape);
    EXPECT_EQ(codes, std::vector<int>{AlertSheet::kDefaultReturn});
}

TEST_F(AlertSheetTest, end_byReturn_isTheDefaultButton)
{
    beginWithThreeButtons();
    QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
    QCoreApplication::sendEvent(box(), &enter);
    QCoreApplication::processEvents();
    EXPECT_EQ(codes, std::vector<int>{AlertSheet::kDefaultReturn});
}

TEST_F(AlertSheetTest, end_byClosingTheSheet_isTheAlternate)
{
    beginWithThreeButtons();
    box()->close();
    EXPECT_EQ(codes, std::vector<int>{AlertSheet::kAlternateReturn});
}

TEST_F(AlertSheetTest, end_byDone_isTheAlternate)
{
    beginWithThreeButtons();
    box()->done(1);
    EXPECT_EQ(codes, std::vector<int>{AlertSheet::kAlternateReturn});
}

TEST_F(AlertSheetTest, end_byClosingTheWindow_runsTheBlockOnceAndNeverAsConsent)
{
    beginWithThreeButtons();
    window->close();
    QCoreApplication::processEvents();
    EXPECT_EQ(codes, std::vector<int>{AlertSheet::kAlternateReturn});
    window.reset();
    QCoreApplication::processEvents();
    EXPECT_EQ(codes.size(), 1u);
}

TEST_F(AlertSheetTest, end_byDeletingTheWindow_runsEveryBlockOnce)
{
    beginWithThreeButtons();
    beginWithThreeButtons();
    window.reset();
    QCoreApplication::processEvents();
    EXPECT_EQ(codes, (std::vector<int>{0, 0}));
}

TEST_F(AlertSheetTest, begin_twoOnOneWindow_areShownInTurn)
{
    begin(AlertSheet::alertWithMessageText("First", "OK"));
    begin(AlertSheet::alertWithMessageText("Second", "OK"));
    EXPECT_EQ(box()->text(), QStringLiteral("First"));
    click("OK");
    ASSERT_NE(box(), nullptr);
    EXPECT_EQ(box()->text(), QStringLiteral("Second"));
    EXPECT_TRUE(box()->isVisible());
    click("OK");
    EXPECT_EQ(codes, (std::vector<int>{1, 1}));
}

TEST_F(AlertSheetTest, end_withoutABlock_doesNothing)
{
    AlertSheet::alertWithMessageText("Permissions Issue", "OK").beginSheetModalForWindow(window.get(), {});
    click("OK");
    EXPECT_EQ(box(), nullptr);
}

TEST_F(AlertSheetTest, end_ofASheet_deletesItsBox)
{
    beginWithThreeButtons();
    const QPointer<QMessageBox> shown = box();
    click("Cancel");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(shown.isNull());
}

TEST_F(AlertSheetTest, begin_onTheFake_isEndedByItsButtons)
{
    FakeHostApplication application;
    const Override<HostApplication> override(application);
    beginWithThreeButtons();
    EXPECT_FALSE(box()->isVisible());
    click("Add Anyway");
    EXPECT_EQ(codes, std::vector<int>{AlertSheet::kDefaultReturn});
}
