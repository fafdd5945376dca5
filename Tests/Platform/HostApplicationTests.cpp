#include "Platform/HostApplication.h"

#include "Platform/Fake/Qt/FakeHostApplication.h"
#include "Platform/Linux/Qt/QtHostApplication.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

template <class T>
class HostApplicationContract : public ::testing::Test
{
protected:
    /// A sheet whose results are noted in `ends`.
    QDialog *beginSheet(QWidget *parent, int tag)
    {
        auto *const sheet = new QDialog;
        application.beginSheet(sheet, parent, [this, tag](int result) { ends.emplace_back(tag, result); });
        return sheet;
    }

    using Ends = std::vector<std::pair<int, int>>;

    T application;
    std::unique_ptr<QWidget> window = std::make_unique<QWidget>();
    Ends ends;
};

using Implementations = ::testing::Types<QtHostApplication, FakeHostApplication>;
TYPED_TEST_SUITE(HostApplicationContract, Implementations);

} // namespace

TYPED_TEST(HostApplicationContract, mainWindow_beforeOneIsNamed_isNone)
{
    EXPECT_EQ(this->application.mainWindow(), nullptr);
    EXPECT_EQ(this->application.keyWindow(), nullptr);
}

TYPED_TEST(HostApplicationContract, mainWindow_deleted_isNone)
{
    this->application.setMainWindow(this->window.get());
    EXPECT_EQ(this->application.mainWindow(), this->window.get());
    this->window.reset();
    EXPECT_EQ(this->application.mainWindow(), nullptr);
}

TYPED_TEST(HostApplicationContract, beginSheet_done_reportsTheResultOnce)
{
    this->window->show();
    QDialog *const sheet = this->beginSheet(this->window.get(), 1);
    EXPECT_EQ(this->application.attachedSheet(this->window.get()), sheet);
    EXPECT_EQ(sheet->parentWidget(), this->window.get());
    EXPECT_TRUE(this->ends.empty());
    sheet->done(7);
    EXPECT_EQ(this->ends, (typename TestFixture::Ends{{1, 7}}));
    EXPECT_EQ(this->application.attachedSheet(this->window.get()), nullptr);
    EXPECT_FALSE(sheet->isVisible());
    sheet->done(8);
    this->window.reset();
    QCoreApplication::processEvents();
    EXPECT_EQ(this->ends.size(), 1u);
}

TYPED_TEST(HostApplicationContract, beginSheet_secondOnOneWindow_waitsForTheFirst)
{
    this->window->show();
    QDialog *const first = this->beginSheet(this->window.get(), 1);
    QDialog *const second = this->beginSheet(this->window.get(), 2);
    EXPECT_EQ(this->application.attachedSheet(this->window.get()), first);
    EXPECT_FALSE(second->isVisible());
    first->done(1);
    EXPECT_EQ(this->application.attachedSheet(this->window.get()), second);
    second->done(2);
    EXPECT_EQ(this->ends, (typename TestFixture::Ends{{1, 1}, {2, 2}}));
}

TYPED_TEST(HostApplicationContract, beginSheet_onTwoWindows_doNotWaitForEachOther)
{
    QWidget other;
    QDialog *const first = this->beginSheet(this->window.get(), 1);
    QDialog *const second = this->beginSheet(&other, 2);
    EXPECT_EQ(this->application.attachedSheet(this->window.get()), first);
    EXPECT_EQ(this->application.attachedSheet(&other), second);
}

TYPED_TEST(HostApplicationContract, beginSheet_fromTheEndOfAnother_comesNext)
{
    this->window->show();
    auto *const first = new QDialog;
    QDialog *second = nullptr;
    this->application.beginSheet(first, this->window.get(),
                                 [&](int) { second = this->beginSheet(this->window.get(), 2); });
    first->done(1);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(this->application.attachedSheet(this->window.get()), second);
    second->done(3);
    EXPECT_EQ(this->ends, (typename TestFixture::Ends{{2, 3}}));
}

TYPED_TEST(HostApplicationContract, beginSheet_sameOneAgainFromItsEnd_isShownAgain)
{
    this->window->show();
    auto *const sheet = new QDialog;
    int ended = 0;
    std::function<void(int)> again = [&](int) {
        if (++ended == 1)
            this->application.beginSheet(sheet, this->window.get(), again);
    };
    this->application.beginSheet(sheet, this->window.get(), again);
    sheet->done(1);
    EXPECT_EQ(this->application.attachedSheet(this->window.get()), sheet);
    sheet->done(1);
    EXPECT_EQ(ended, 2);
    EXPECT_EQ(this->application.attachedSheet(this->window.get()), nullptr);
}

TYPED_TEST(HostApplicationContract, beginSheet_windowClosed_endsAllItsSheetsWithZero)
{
    this->window->show();
    QDialog *const first = this->beginSheet(this->window.get(), 1);
    this->beginSheet(this->window.get(), 2);
    this->window->close();
    EXPECT_TRUE(this->ends.empty()) << "reported from within the end of the window";
    QCoreApplication::processEvents();
    EXPECT_EQ(this->ends, (typename TestFixture::Ends{{1, 0}, {2, 0}}));
    EXPECT_FALSE(first->isVisible());
    first->done(1);
    this->window.reset();
    QCoreApplication::processEvents();
    EXPECT_EQ(this->ends.size(), 2u);
}

TYPED_TEST(HostApplicationContract, beginSheet_windowDeleted_endsWithZero)
{
    for (const bool isShown : {true, false}) {
        this->ends.clear();
        this->window = std::make_unique<QWidget>();
        this->window->setVisible(isShown);
        this->beginSheet(this->window.get(), 1);
        this->beginSheet(this->window.get(), 2);
        this->window.reset();
        QCoreApplication::processEvents();
        EXPECT_EQ(this->ends, (typename TestFixture::Ends{{1, 0}, {2, 0}})) << "shown: " << isShown;
    }
}

TYPED_TEST(HostApplicationContract, beginSheet_sheetDeleted_endsWithZeroAndTheNextComes)
{
    this->window->show();
    QDialog *const first = this->beginSheet(this->window.get(), 1);
    QDialog *const second = this->beginSheet(this->window.get(), 2);
    delete first;
    QCoreApplication::processEvents();
    EXPECT_EQ(this->ends, (typename TestFixture::Ends{{1, 0}}));
    EXPECT_EQ(this->application.attachedSheet(this->window.get()), second);
}

TYPED_TEST(HostApplicationContract, beginSheet_openWhenTheApplicationQuits_ends)
{
    this->window->show();
    this->beginSheet(this->window.get(), 1);
    QTimer::singleShot(0, [] { QCoreApplication::exit(0); });
    QCoreApplication::exec();
    EXPECT_EQ(this->ends, (typename TestFixture::Ends{{1, 0}}));
}

TYPED_TEST(HostApplicationContract, beginSheet_fromTheEndOfAnotherWhenTheApplicationQuits_endsAtOnce)
{
    QWidget parent;
    QDialog first, second;
    int ended = 0;
    this->application.beginSheet(&first, &parent, [&](int) {
        this->application.beginSheet(&second, &parent, [&](int result) {
            EXPECT_EQ(result, 0);
            ++ended;
        });
    });
    QTimer::singleShot(0, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
    EXPECT_EQ(ended, 1);
    EXPECT_FALSE(second.isVisible());
}

TYPED_TEST(HostApplicationContract, beginSheet_withoutWindow_standsAlone)
{
    const std::unique_ptr<QDialog> sheet(this->beginSheet(nullptr, 1));
    EXPECT_EQ(this->application.attachedSheet(nullptr), sheet.get());
    sheet->reject();
    EXPECT_EQ(this->ends, (typename TestFixture::Ends{{1, 0}}));
}

TEST(QtHostApplication, keyWindow_sheetIsActive_isTheSheetsWindow)
{
    QtHostApplication application;
    QWidget window;
    window.show();
    window.activateWindow();
    QCoreApplication::processEvents();
    ASSERT_EQ(application.keyWindow(), &window);
    auto *const sheet = new QDialog;
    application.beginSheet(sheet, &window, [](int) {});
    sheet->activateWindow();
    QCoreApplication::processEvents();
    ASSERT_EQ(QApplication::activeWindow(), sheet);
    EXPECT_EQ(application.keyWindow(), &window);
}

TEST(QtHostApplication, keyWindow_plainDialogIsActive_isTheDialog)
{
    QtHostApplication application;
    QWidget window;
    window.show();
    QDialog dialog(&window);
    dialog.show();
    dialog.activateWindow();
    QCoreApplication::processEvents();
    EXPECT_EQ(application.keyWindow(), &dialog);
}

TEST(QtHostApplication, activate_minimisedWindow_isShownOnlyWhenOthersAreIgnored)
{
    QtHostApplication application;
    QWidget window;
    application.setMainWindow(&window);
    window.show();
    window.setWindowState(Qt::WindowMinimized);
    application.activate(false);
    EXPECT_TRUE(window.isMinimized());
    application.activate(true);
    EXPECT_FALSE(window.isMinimized());
}

TEST(QtHostApplication, activate_hiddenWindow_staysHidden)
{
    QtHostApplication application;
    QWidget window;
    application.setMainWindow(&window);
    application.activate(true);
    EXPECT_FALSE(window.isVisible());
}

TEST(QtHostApplication, terminate_answersAtOnceAndEndsTheLoop)
{
    QtHostApplication application;
    bool answered = false;
    QTimer::singleShot(0, [&] {
        application.terminate();
        answered = true;
    });
    QCoreApplication::exec();
    EXPECT_TRUE(answered);
}

TEST(QtHostApplication, presentError_twice_showsOneAfterTheOther)
{
    QtHostApplication application;
    QWidget window;
    application.setMainWindow(&window);
    window.show();
    application.presentError("First <b>", "It\rbroke");
    application.presentError("Second", "");
    const auto *const first = qobject_cast<QMessageBox *>(application.attachedSheet(&window));
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->text(), QStringLiteral("First <b>"));
    EXPECT_EQ(first->textFormat(), Qt::PlainText);
    EXPECT_EQ(first->informativeText(), QStringLiteral("It\nbroke"));
    first->button(QMessageBox::Ok)->click();
    const auto *const second = qobject_cast<QMessageBox *>(application.attachedSheet(&window));
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->text(), QStringLiteral("Second"));
}

TEST(QtHostApplication, presentError_equalToOneThatIsShownOrWaits_isNotShownTwice)
{
    QtHostApplication application;
    QWidget window;
    application.setMainWindow(&window);
    window.show();
    const auto click = [&] {
        const auto *const alert = qobject_cast<QMessageBox *>(application.attachedSheet(&window));
        const QString text = alert ? alert->text() + alert->informativeText() : QString();
        if (alert)
            alert->button(QMessageBox::Ok)->click();
        return text.toStdString();
    };
    for (int time = 0; time < 3; ++time) {
        application.presentError("Shown", "a");
        application.presentError("Waiting", "a");
        application.presentError("Shown", "b");
    }
    EXPECT_EQ(click(), "Showna");
    application.presentError("Shown", "a");
    EXPECT_EQ(click(), "Waitinga");
    EXPECT_EQ(click(), "Shownb");
    EXPECT_EQ(click(), "Showna") << "it had been read when it came again";
    EXPECT_EQ(click(), "");
}

TEST(QtHostApplication, presentError_whoseWindowWasClosed_isShownTheNextTime)
{
    QtHostApplication application;
    QWidget window;
    application.setMainWindow(&window);
    window.show();
    application.presentError("Error", "");
    window.close();
    QCoreApplication::processEvents();
    ASSERT_EQ(application.attachedSheet(&window), nullptr);
    window.show();
    application.presentError("Error", "");
    EXPECT_NE(application.attachedSheet(&window), nullptr);
}

TEST(QtHostApplication, runModalAlert_waitsForItsButton)
{
    QtHostApplication application;
    QString shown;
    QTimer::singleShot(0, [&] {
        auto *const alert = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        ASSERT_NE(alert, nullptr);
        shown = alert->text() + alert->informativeText() + alert->buttons().constFirst()->text();
        alert->buttons().constFirst()->click();
    });
    application.runModalAlert("Message", "Text", "Quit");
    EXPECT_EQ(shown, QStringLiteral("MessageTextQuit"));
}

TEST(FakeHostApplication, notesWhatItIsAskedFor)
{
    FakeHostApplication application;
    application.activate(true);
    application.activate(false);
    application.terminate();
    application.presentError("d", "r");
    application.runModalAlert("m", "i", "b");
    EXPECT_EQ(application.activations(), (std::vector<bool>{true, false}));
    EXPECT_EQ(application.terminations(), 1);
    EXPECT_EQ(application.errors(), (std::vector<FakeHostApplication::Alert>{{"d", "r", ""}}));
    EXPECT_EQ(application.modalAlerts(), (std::vector<FakeHostApplication::Alert>{{"m", "i", "b"}}));
}
