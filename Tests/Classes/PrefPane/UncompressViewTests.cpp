#include "Classes/PrefPane/ExpansionRun.h"
#include "Classes/PrefPane/UncompressList.h"
#include "Classes/PrefPane/UncompressSaving.h"
#include "Classes/PrefPane/UncompressWords.h"
#include "Tests/Classes/PrefPane/UncompressorFixture.h"

#include <QAbstractItemModelTester>
#include <QClipboard>
#include <QFileDialog>
#include <QProgressBar>
#include <QTreeView>

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

using LeftAlone = PXPathUncompressorObserver::LeftAlone;
using Outcome = ExpansionOutcome::Result;

namespace {

class UncompressViewTest : public UncompressorFixture
{
protected:
    UncompressViewTest() { tree = find<QTreeView>("uncompressList"); }
    QPushButton *button(const char *name) const { return find<QPushButton>(name); }

    /// The reasons with their counts, and the files indented below them.
    std::vector<std::string> listed() const
    {
        std::vector<std::string> rows;
        const QAbstractItemModel *const model = tree->model();
        for (int row = 0; row < model->rowCount(); ++row) {
            const QModelIndex group = model->index(row, 0);
            rows.push_back(group.data().toString().toStdString() + ", " +
                           group.siblingAtColumn(1).data().toString().toStdString());
            for (int file = 0; file < model->rowCount(group); ++file)
                rows.push_back("  " +
                               Path(model->index(file, 0, group).data().toString().toStdString()).filename().native());
        }
        return rows;
    }
    static void copyText(const std::string &text) { QApplication::clipboard()->setText(QString::fromStdString(text)); }
    static std::string clipboard() { return QApplication::clipboard()->text().toStdString(); }

    QTreeView *tree = nullptr;
};

ExpansionProgress progressWith(std::vector<ExpansionEntry> entries)
{
    ExpansionProgress progress;
    for (const ExpansionEntry &entry : entries)
        ++progress.counts[entry.reason];
    progress.fresh = std::move(entries);
    return progress;
}

} // namespace

TEST_F(UncompressViewTest, atRest_offersToOpenAndNothingElse)
{
    EXPECT_TRUE(button("uncompressOpen")->isEnabled());
    EXPECT_FALSE(button("uncompressCancel")->isVisible());
    EXPECT_FALSE(window.findChild<QProgressBar *>()->isVisible());
    EXPECT_FALSE(tree->isVisible());
}

TEST_F(UncompressViewTest, run_showsItsProgressThenWhatBecameOfTheFiles)
{
    make("good", 100000);
    make("small", 4095);
    drop({folder});
    EXPECT_TRUE(button("uncompressCancel")->isVisible());
    EXPECT_TRUE(window.findChild<QProgressBar *>()->isVisible());
    EXPECT_FALSE(button("uncompressOpen")->isEnabled());
    EXPECT_EQ(untilFinished(), kFinished);
    EXPECT_FALSE(button("uncompressCancel")->isVisible());
    EXPECT_FALSE(window.findChild<QProgressBar *>()->isVisible());
    EXPECT_TRUE(button("uncompressOpen")->isEnabled());
    EXPECT_THAT(listed(), ElementsAre("Uncompressed, 1 file", "  good", "Left alone: smaller than 4096 bytes, 1 file",
                                      "  small"));
}

TEST_F(UncompressViewTest, secondRun_beginsANewList)
{
    make("a");
    drop({folder});
    untilFinished();
    drop({folder});
    untilFinished();
    EXPECT_THAT(listed(), ElementsAre("Left alone: not compressed, 1 file", "  a"));
}

TEST_F(UncompressViewTest, cancelButton_endsTheRun)
{
    for (int index = 0; index < 30; ++index)
        make("file" + std::to_string(index), 1000000);
    drop({folder});
    button("uncompressCancel")->click();
    EXPECT_FALSE(button("uncompressCancel")->isEnabled());
    EXPECT_EQ(find<QLabel>("uncompressState")->text().toStdString(), "Cancelling…");
    EXPECT_EQ(untilFinished(), kFinished);
    EXPECT_THAT(find<QLabel>("uncompressState")->text().toStdString(), StartsWith("Cancelled after "));
}

TEST_F(UncompressViewTest, paste_ofFiles_isADrop)
{
    make("a");
    auto *const data = new QMimeData;
    data->setUrls({QUrl::fromLocalFile(QString::fromStdString(folder.native()))});
    QApplication::clipboard()->setMimeData(data);
    QTest::keyClick(&window, Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(untilFinished(), kFinished);
    EXPECT_TRUE(isExpanded("a"));
    EXPECT_THAT(storedPaths(), ElementsAre(folder.native()));
}

TEST_F(UncompressViewTest, paste_ofPathsAsText_isADropOfThoseThatAreThere)
{
    make("a");
    copyText((folder / "a").native() + "\n" + (folder / "missing").native() + "\nno path\n");
    QTest::keyClick(&window, Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(untilFinished(), kFinished);
    EXPECT_THAT(storedPaths(), ElementsAre((folder / "a").native()));
}

TEST_F(UncompressViewTest, paste_ofWords_saysThatTheyAreNoFiles)
{
    copyText("words");
    QTest::keyClick(&window, Qt::Key_V, Qt::ControlModifier);
    EXPECT_FALSE(uncompressor->uncompressing());
    EXPECT_EQ(find<QLabel>("uncompressState")->text().toStdString(), "There are no files on the clipboard.");
}

TEST_F(UncompressViewTest, open_runsWhatWasChosen)
{
    make("a");
    button("uncompressOpen")->click();
    auto *const panel = qobject_cast<QFileDialog *>(host.attachedSheet(&window));
    ASSERT_NE(panel, nullptr);
    panel->selectFile(QString::fromStdString((folder / "a").native()));
    panel->show();
    auto *const name = panel->findChild<QLineEdit *>();
    name->setFocus();
    name->setText(QString::fromStdString((folder / "a").native()));
    QMetaObject::invokeMethod(panel, "accept");
    EXPECT_EQ(untilFinished(), kFinished);
    EXPECT_TRUE(isExpanded("a"));
}

TEST_F(UncompressViewTest, copy_takesTheSelectedLinesOrAll)
{
    make("a");
    make("b");
    drop({folder});
    untilFinished();
    button("uncompressCopy")->click();
    EXPECT_THAT(clipboard(), StartsWith("Uncompressed\t2 files\n"));
    EXPECT_THAT(clipboard(), HasSubstr("\t" + (folder / "b").native() + "\n"));
    tree->setCurrentIndex(tree->model()->index(0, 0, tree->model()->index(0, 0)));
    button("uncompressCopy")->click();
    EXPECT_EQ(std::ranges::count(clipboard(), '\n'), 1);
}

TEST_F(UncompressViewTest, save_writesEveryFile)
{
    for (int index = 0; index < int(ExpansionRun::kKept) + 5; ++index)
        writeFile(folder / ("file" + std::to_string(index)), "x");
    drop({folder});
    untilFinished();
    EXPECT_THAT(listed().front(), HasSubstr(QString::fromLatin1("%1 files, the first %2 shown")
                                                .arg(QLocale().toString(1005), QLocale().toString(1000))
                                                .toStdString()));
    const Path saved = PrivateHome::current().root() / "saved.txt";
    button("uncompressSave")->click();
    auto *const panel = qobject_cast<QFileDialog *>(host.attachedSheet(&window));
    ASSERT_NE(panel, nullptr);
    panel->selectFile(QString::fromStdString(saved.native()));
    static_cast<QDialog *>(panel)->done(QDialog::Accepted);
    ASSERT_TRUE(waitFor([&] { return std::filesystem::exists(saved); }));
    const std::string text = contentOf(saved);
    EXPECT_EQ(std::ranges::count(text, '\n'), 1005);
    EXPECT_THAT(text, HasSubstr("Left alone: smaller than 4096 bytes\t\t" + (folder / "file1004").native() + "\n"));
    EXPECT_TRUE(waitFor([&] {
        return find<QLabel>("uncompressState")->text().startsWith(QLatin1String("The list was saved as saved.txt"));
    }));
}

TEST_F(UncompressViewTest, savedTwiceAtOnce_bothListsAreWhole)
{
    for (int index = 0; index < 20000; ++index)
        writeFile(folder / ("file" + std::to_string(index)), "x");
    drop({folder});
    untilFinished();
    UncompressSaving saving;
    std::vector<std::string> faults;
    QObject::connect(&saving, &UncompressSaving::ended,
                     [&](const QString &, const QString &fault) { faults.push_back(fault.toStdString()); });
    const Path first = PrivateHome::current().root() / "first.txt";
    const Path second = PrivateHome::current().root() / "second.txt";
    saving.save(uncompressor->run(), QString::fromStdString(first.native()));
    saving.save(uncompressor->run(), QString::fromStdString(second.native()));
    ASSERT_TRUE(waitFor([&] { return faults.size() == 2; }));
    EXPECT_THAT(faults, ElementsAre("", ""));
    EXPECT_EQ(std::ranges::count(contentOf(first), '\n'), 20000);
    EXPECT_EQ(contentOf(first), contentOf(second));
}

TEST(UncompressList, groups_standInTheOrderOfWhatMatters)
{
    UncompressList list;
    const QAbstractItemModelTester tester(&list, QAbstractItemModelTester::FailureReportingMode::Fatal);
    list.add(progressWith({{LeftAlone::TooSmall, "/t"}, {Outcome::BlockDamaged, "/d"}}));
    list.add(progressWith(
        {{LeftAlone::TooSmall, "/t2"}, {Outcome::BlockDamaged, "/d2"}, {Outcome::Expanded, "/e", 10, 2000}}));
    EXPECT_EQ(list.text().toStdString(), "Uncompressed\t1 file\n"
                                         "Uncompressed\t10 b → 2.00 KB\t/e\n"
                                         "Failed: damaged block\t1 file\n"
                                         "Failed: damaged block\t\t/d\n"
                                         "Failed: damaged block\t\t/d2\n"
                                         "Left alone: smaller than 4096 bytes\t1 file\n"
                                         "Left alone: smaller than 4096 bytes\t\t/t\n"
                                         "Left alone: smaller than 4096 bytes\t\t/t2\n");
    list.clear();
    EXPECT_EQ(list.rowCount(), 0);
}

TEST(UncompressWords, everyReason_hasWords)
{
    for (int result = 0; result <= int(Outcome::Cancelled); ++result)
        EXPECT_FALSE(UncompressWords::heading(Outcome(result)).isEmpty()) << result;
    for (int reason = 0; reason <= int(LeftAlone::AnothersGroup); ++reason)
        EXPECT_FALSE(UncompressWords::heading(LeftAlone(reason)).isEmpty()) << reason;
}

TEST(UncompressWords, line_keepsTheBytesOfAPathOnOneLine)
{
    EXPECT_EQ(UncompressWords::line({LeftAlone::NotCompressed, "/a\nb\t\x1b\xff"}),
              "Left alone: not compressed\t\t/a\\nb\\x09\\x1b\xff");
}

TEST(UncompressWords, state_tellsFilesBytesAndTheName)
{
    ExpansionProgress progress;
    progress.phase = ExpansionProgress::Phase::Expanding;
    progress.filesDone = 1;
    progress.filesInAll = 120;
    progress.bytesDone = 1000;
    progress.bytesInAll = 4000;
    progress.current = "/folder/name";
    EXPECT_EQ(UncompressWords::state(progress).toStdString(), "1 of 120 files, 1000 b of 4.00 KB — name");
    EXPECT_EQ(UncompressWords::permille(progress), 250);
    progress.phase = ExpansionProgress::Phase::Ended;
    EXPECT_EQ(UncompressWords::state(progress).toStdString(), "");
    progress.isCancelled = true;
    progress.filesDone = 3;
    progress.counts[Outcome::Cancelled] = 1;
    EXPECT_EQ(UncompressWords::state(progress).toStdString(), "Cancelled after 2 of 120 files.");
    progress.bytesDone = 9000;
    EXPECT_EQ(UncompressWords::permille(progress), 1000) << "there was more than was seen at first";
}
