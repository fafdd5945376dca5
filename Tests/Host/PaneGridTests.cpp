#include "Host/PaneGrid.h"

#include "Host/LetterIcon.h"

#include <QAccessible>
#include <QApplication>
#include <QKeyEvent>
#include <QToolButton>

#include <gmock/gmock.h>

#include <vector>

using ::testing::ElementsAre;

namespace {

class PaneGridTest : public ::testing::Test
{
protected:
    PaneGridTest()
    {
        std::vector<PaneGrid::Item> items;
        for (int index = 0; index < 5; ++index) {
            const QString name = QStringLiteral("Pane & %1").arg(index);
            items.push_back({name, letterIcon(name), {}});
        }
        grid.setItems(items);
        QObject::connect(&grid, &PaneGrid::activated, &grid, [this](int index) { activated.push_back(index); });
        grid.resize(460, 400);
        grid.show();
        grid.activateWindow();
        QCoreApplication::processEvents();
    }

    static void press(int key)
    {
        QWidget *const target = QApplication::focusWidget();
        QKeyEvent down(QEvent::KeyPress, key, Qt::NoModifier);
        QCoreApplication::sendEvent(target, &down);
        QKeyEvent up(QEvent::KeyRelease, key, Qt::NoModifier);
        QCoreApplication::sendEvent(target, &up);
    }

    int focused() const { return int(buttons().indexOf(qobject_cast<QToolButton *>(QApplication::focusWidget()))); }
    QList<QToolButton *> buttons() const { return grid.findChildren<QToolButton *>(); }

    PaneGrid grid;
    std::vector<int> activated;
};

} // namespace

TEST_F(PaneGridTest, arrowKeys_moveByPlaceAndStayInside)
{
    ASSERT_EQ(buttons()[2]->y(), buttons()[0]->y()) << "three fit in a row";
    ASSERT_GT(buttons()[3]->y(), buttons()[0]->y());
    grid.focusItem(0);
    const std::pair<int, int> steps[] = {{Qt::Key_Right, 1}, {Qt::Key_Down, 4}, {Qt::Key_Down, 4}, {Qt::Key_Right, 4},
                                         {Qt::Key_Left, 3},  {Qt::Key_Up, 0},   {Qt::Key_Up, 0},   {Qt::Key_Left, 0}};
    for (const auto &[key, place] : steps) {
        press(key);
        EXPECT_EQ(focused(), place) << "key " << key;
    }
}

TEST_F(PaneGridTest, returnAndSpace_openTheFocusedOne)
{
    grid.focusItem(3);
    press(Qt::Key_Return);
    press(Qt::Key_Enter);
    press(Qt::Key_Space);
    EXPECT_THAT(activated, ElementsAre(3, 3, 3));
}

TEST_F(PaneGridTest, tab_reachesEveryIcon)
{
    grid.focusItem(0);
    for (int place = 1; place < 5; ++place) {
        press(Qt::Key_Tab);
        EXPECT_EQ(focused(), place);
    }
}

TEST_F(PaneGridTest, resize_rearrangesTheRows)
{
    grid.resize(200, 900);
    QCoreApplication::processEvents();
    EXPECT_EQ(buttons()[1]->x(), buttons()[0]->x());
    EXPECT_GT(buttons()[1]->y(), buttons()[0]->y());
}

TEST_F(PaneGridTest, names_areAccessibleAsTheyAre)
{
    QAccessibleInterface *const interface = QAccessible::queryAccessibleInterface(buttons()[1]);
    EXPECT_EQ(interface->text(QAccessible::Name), QStringLiteral("Pane & 1"));
    EXPECT_EQ(buttons()[1]->text(), QStringLiteral("Pane && 1"));
}

TEST_F(PaneGridTest, letterIcon_isDrawnForEverySize)
{
    const QIcon icon = letterIcon(QStringLiteral("über"));
    for (const int size : {16, 48, 96}) {
        const QImage image = icon.pixmap(QSize(size, size)).toImage();
        EXPECT_EQ(image.size(), QSize(size, size));
        EXPECT_GT(qAlpha(image.pixel(size / 2, size / 2)), 200);
    }
}
