#include "Classes/PrefPane/ExpansionRun.h"
#include "Tests/Classes/PrefPane/UncompressorFixture.h"

#include <QClipboard>
#include <QFileDialog>
#include <QProgressBar>
#include <QTreeView>

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

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
    std::string state() const { return find<QLabel>("uncompressState")->text().toStdString(); }
    static void copyText(const std::string &text) { QApplication::clipboard()->setText(QString::fromStdString(text)); }
    void saveAs(const Path &file)
    {
        button("uncompressSave")->click();
        auto *const panel = qobject_cast<QFileDialog *>(host.attachedSheet(&window));
        ASSERT_NE(panel, nullptr);
        panel->selectFile(QString::fromStdString(file.native()));
        static_cast<QDialog *>(panel)->done(QDialog::Accepted);
    }
    static std::string clipboard() { return QApplication::clipboard()->text().toStdString(); }

    QTreeView *tree = nullptr;
};

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
    EXPECT_THAT(state(), StartsWith("Cancel")) << "the run may have ended by itself already";
    EXPECT_EQ(untilFinished(), kFinished);
    EXPECT_THAT(state(), StartsWith("Cancelled after "));
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
    EXPECT_EQ(state(), "There are no files on the clipboard.");
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

TEST_F(UncompressViewTest, keysOfCopying_takeTheSelectedLine)
{
    make("a");
    make("b");
    drop({folder});
    untilFinished();
    const QModelIndex first = tree->model()->index(0, 0, tree->model()->index(0, 0));
    tree->setCurrentIndex(first);
    tree->setFocus();
    copyText("before");
    QTest::keyClick(tree, Qt::Key_C, Qt::ControlModifier);
    EXPECT_THAT(clipboard(), StartsWith("Uncompressed\t"));
    EXPECT_THAT(clipboard(), HasSubstr("\t" + first.data().toString().toStdString() + "\n"));
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
    saveAs(saved);
    EXPECT_FALSE(button("uncompressSave")->isEnabled()) << "one at a time";
    EXPECT_TRUE(waitFor([&] { return state() == "The list was saved as saved.txt."; }));
    EXPECT_TRUE(button("uncompressSave")->isEnabled());
    const std::string text = contentOf(saved);
    EXPECT_EQ(std::ranges::count(text, '\n'), 1005);
    EXPECT_THAT(text, HasSubstr("Left alone: smaller than 4096 bytes\t\t" + (folder / "file1004").native() + "\n"));
}

TEST_F(UncompressViewTest, save_whereNoFileCanBe_saysSo)
{
    drop({folder});
    untilFinished();
    const Path taken = PrivateHome::current().makeFolder("taken.txt");
    saveAs(taken);
    EXPECT_TRUE(waitFor([&] { return state().starts_with("The list could not be saved: "); })) << state();
    EXPECT_TRUE(button("uncompressSave")->isEnabled());
    EXPECT_TRUE(std::filesystem::is_directory(taken));
}
