#include "Tests/Classes/PrefPane/ExclusionsControllerFixture.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char *kDuplicate =
    "Duplicated Extension|There was another excluded extension with the same name, Tamsel removed the duplicate.|OK";

TEST_F(PXExclusionsControllerTest, edit_leadingDotsAndSpaces_areTakenAway)
{
    storeExtensions({"a"});
    load();
    edit("a");
    editor()->clear();
    editor()->insert(QStringLiteral(" .tar gz"));
    extensions->endEditing();
    settle();
    EXPECT_THAT(storedExtensions(), ElementsAre("targz"));
    edit("targz");
    type(QStringLiteral("..JpG"));
    EXPECT_THAT(storedExtensions(), ElementsAre("JpG")) << "case is kept";
}

TEST_F(PXExclusionsControllerTest, addWhileTheSameIsTyped_isNoSecondOne)
{
    storeExtensions({"a"});
    load();
    edit("a");
    QTest::keyClicks(editor(), QStringLiteral("jpg"));
    controller->addNewExtensions({QStringLiteral("jpg"), QStringLiteral("png")});
    EXPECT_THAT(storedExtensions(), ElementsAre("jpg", "png"));
}

TEST_F(PXExclusionsControllerTest, edit_keepsTheEntryThatItIs)
{
    storeExtensions({"a", "b"});
    load();
    const ExclusionEntry entry = controller->exclusionsExtensionsArray()[0];
    edit("a");
    type(QStringLiteral("z"));
    EXPECT_EQ(controller->exclusionsExtensionsArray()[0], entry);
    EXPECT_EQ(*entry, QStringLiteral("z"));
}

TEST_F(PXExclusionsControllerTest, edit_thatLeavesNothing_beginsAgainAndSavesNothing)
{
    storeExtensions({"a"});
    load();
    edit("a");
    type(QStringLiteral("..."));
    EXPECT_NE(editor(), nullptr) << "a name must be given";
    EXPECT_THAT(takePosts(), IsEmpty());
    EXPECT_THAT(storedExtensions(), ElementsAre("a"));
    type(QStringLiteral("b"));
    EXPECT_THAT(storedExtensions(), ElementsAre("b"));
    EXPECT_THAT(takePosts(), ElementsAre(kExtensionsChanged));
}

TEST_F(PXExclusionsControllerTest, edit_thatLeavesNothing_isNotStoredByWhatComesNext)
{
    storeExtensions({"a", "z"});
    load();
    edit("a");
    type(QStringLiteral("..."));
    EXPECT_TRUE(drop(extensions, {"/x.jpg"}));
    EXPECT_THAT(storedExtensions(), ElementsAre("z", "jpg"));
    EXPECT_THAT(rows(extensions), ElementsAre("jpg", "z"));
    settle(); // the field editor goes
    edit("z");
    type(QStringLiteral("..."));
    controller->addExtensions();
    settle();
    type(QStringLiteral("y"));
    EXPECT_THAT(storedExtensions(), ElementsAre("jpg", "y"));
    edit("y");
    type(QStringLiteral("..."));
    type(QString(), Qt::Key_Escape);
    controller->addNewExtensions({QStringLiteral("x")});
    EXPECT_THAT(storedExtensions(), ElementsAre("jpg", "x"));
    EXPECT_THAT(rows(extensions), ElementsAre("jpg", "x"));
}

TEST_F(PXExclusionsControllerTest, edit_intoAnother_removesTheEditedAndSavesNothingYet)
{
    storeExtensions({"jpg", "png"});
    load();
    const ExclusionEntry older = controller->exclusionsExtensionsArray()[0];
    edit("png");
    type(QStringLiteral(".jpg"));
    EXPECT_EQ(takeAlert(), kDuplicate);
    EXPECT_THAT(controller->exclusionsExtensionsArray(), ElementsAre(older));
    EXPECT_THAT(rows(extensions), ElementsAre("jpg"));
    EXPECT_THAT(takePosts(), IsEmpty());
    EXPECT_THAT(storedExtensions(), ElementsAre("jpg", "png")) << "the next save writes it";
    controller->addNewExtensions({QStringLiteral("x")});
    EXPECT_THAT(storedExtensions(), ElementsAre("jpg", "x"));
}

TEST_F(PXExclusionsControllerTest, edit_otherCase_isNoDuplicate)
{
    storeExtensions({"jpg", "png"});
    load();
    edit("png");
    type(QStringLiteral("JPG"));
    EXPECT_EQ(takeAlert(), "");
    EXPECT_THAT(storedExtensions(), ElementsAre("jpg", "JPG"));
}

TEST_F(PXExclusionsControllerTest, edit_cancelled_changesNothing)
{
    storeExtensions({"a"});
    load();
    edit("a");
    type(QStringLiteral("b"), Qt::Key_Escape);
    EXPECT_THAT(rows(extensions), ElementsAre("a"));
    EXPECT_THAT(takePosts(), IsEmpty());
}

TEST_F(PXExclusionsControllerTest, edit_whileFiltered_clearsTheFilterSoThatDuplicatesAreSeen)
{
    storeExtensions({"jpg", "png", "pdf"});
    load();
    controller->exclusionsExtensionsArrayController()->setFilter(QStringLiteral("pn"));
    edit("png");
    EXPECT_THAT(rows(extensions), ElementsAre("jpg", "pdf", "png"));
    EXPECT_THAT(extensions->selectedRowIndexes(), ElementsAre(2));
    type(QStringLiteral("jpg"));
    EXPECT_EQ(takeAlert(), kDuplicate);
    EXPECT_THAT(rows(extensions), ElementsAre("jpg", "pdf"));
}

TEST_F(PXExclusionsControllerTest, adding_whileFiltered_clearsTheFilter)
{
    storeExtensions({"jpg"});
    load();
    controller->exclusionsExtensionsArrayController()->setFilter(QStringLiteral("x"));
    controller->addExtensions();
    EXPECT_EQ(controller->exclusionsExtensionsArrayController()->filter(), QString());
    EXPECT_NE(editor(), nullptr);
}

TEST_F(PXExclusionsControllerTest, additionWhileEditing_keepsWhatWasTyped)
{
    storeExtensions({"a"});
    load();
    edit("a");
    QTest::keyClicks(editor(), QStringLiteral("typed"));
    controller->addNewExtensions({QStringLiteral("x")});
    EXPECT_THAT(storedExtensions(), ElementsAre("typed", "x"));
}

TEST_F(PXExclusionsControllerTest, paths_cannotBeEdited)
{
    storePaths({"/a"});
    load();
    paths->setCurrentIndex(paths->model()->index(0, 0));
    QTest::keyClick(paths, Qt::Key_F2);
    EXPECT_EQ(paths->viewport()->findChild<QLineEdit *>(), nullptr);
}

TEST_F(PXExclusionsControllerTest, validation_isTheExtensionsAlone)
{
    load();
    EXPECT_EQ(extensions->validationCharacterSet(),
              QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-+"));
    EXPECT_EQ(paths->validationCharacterSet(), std::nullopt);
}
