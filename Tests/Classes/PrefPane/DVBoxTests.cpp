#include "Classes/PrefPane/DVBox.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QMimeData>
#include <QUrl>

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

/// Writes down what a box tells.
class Listener final : public DVBoxDelegate
{
public:
    bool boxDraggingEntered(DVBox &box, const QMimeData &) override
    {
        messages.push_back("entered " + std::to_string(box.highlight()));
        return isWelcome;
    }
    void boxDraggingExited(DVBox &box, const QMimeData *) override
    {
        messages.push_back("exited " + std::to_string(box.highlight()));
    }
    void boxDraggedFiles(DVBox &box, const std::vector<Path> &paths) override
    {
        messages.push_back("dragged " + std::to_string(box.highlight()));
        dragged = paths;
    }

    bool isWelcome = true;
    std::vector<std::string> messages;
    std::vector<Path> dragged;
};

class DVBoxTest : public ::testing::Test
{
protected:
    DVBoxTest()
    {
        box.setDelegate(&listener);
        box.awakeFromNib();
        files.setUrls({QUrl::fromLocalFile(QStringLiteral("/a b")), QUrl::fromLocalFile(QStringLiteral("/folder/"))});
        text.setText(QStringLiteral("/a b"));
    }

    /// What the box answers to a drag that comes over it.
    Qt::DropAction enter(const QMimeData &data, Qt::DropActions possible = Qt::CopyAction | Qt::MoveAction)
    {
        QDragEnterEvent event({}, possible, &data, Qt::LeftButton, {});
        event.setDropAction(Qt::MoveAction);
        event.ignore();
        QCoreApplication::sendEvent(&box, &event);
        return event.isAccepted() ? event.dropAction() : Qt::IgnoreAction;
    }
    Qt::DropAction move()
    {
        QDragMoveEvent event({}, Qt::CopyAction | Qt::MoveAction, &files, Qt::LeftButton, {});
        QCoreApplication::sendEvent(&box, &event);
        return event.isAccepted() ? event.dropAction() : Qt::IgnoreAction;
    }
    Qt::DropAction drop(const QMimeData &data)
    {
        QDropEvent event({}, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
        event.setDropAction(Qt::MoveAction);
        QCoreApplication::sendEvent(&box, &event);
        return event.isAccepted() ? event.dropAction() : Qt::IgnoreAction;
    }
    void leave()
    {
        QDragLeaveEvent event;
        QCoreApplication::sendEvent(&box, &event);
    }

    Listener listener;
    DVBox box;
    QMimeData files;
    QMimeData text;
};

} // namespace

TEST_F(DVBoxTest, newBox_takesDragsOnlyOnceItIsAwake)
{
    EXPECT_TRUE(box.acceptDrops());
    EXPECT_FALSE(DVBox().acceptDrops());
    EXPECT_EQ(box.highlight(), 0);
}

TEST_F(DVBoxTest, drag_highlightsUntilItLeaves)
{
    EXPECT_EQ(enter(files), Qt::CopyAction);
    EXPECT_EQ(box.highlight(), 1);
    EXPECT_EQ(move(), Qt::CopyAction);
    leave();
    EXPECT_EQ(box.highlight(), 0);
    EXPECT_THAT(listener.messages, ElementsAre("entered 1", "exited 0"));
}

TEST_F(DVBoxTest, dragThatIsNotWelcome_isRefusedAndForgotten)
{
    listener.isWelcome = false;
    EXPECT_EQ(enter(files), Qt::IgnoreAction);
    EXPECT_THAT(listener.messages, ElementsAre("entered 1"));
    EXPECT_EQ(box.highlight(), 0);
    listener.isWelcome = true;
    EXPECT_EQ(move(), Qt::IgnoreAction) << "it was asked when the drag came";
}

TEST_F(DVBoxTest, drop_handsTheFilesOver)
{
    enter(files);
    EXPECT_EQ(drop(files), Qt::CopyAction);
    EXPECT_THAT(listener.messages, ElementsAre("entered 1", "dragged 0"));
    EXPECT_THAT(listener.dragged, ElementsAre("/a b", "/folder"));
}

TEST_F(DVBoxTest, dropWithoutFiles_failsAndTellsNobody)
{
    EXPECT_EQ(enter(text), Qt::IgnoreAction);
    EXPECT_FALSE(box.performDragOperation(text));
    EXPECT_THAT(listener.messages, IsEmpty());
    enter(files);
    EXPECT_EQ(drop(text), Qt::IgnoreAction);
    EXPECT_THAT(listener.messages, ElementsAre("entered 1"));
}

TEST_F(DVBoxTest, addressOfAPage_isNoFile)
{
    QMimeData page;
    page.setUrls({QUrl(QString::fromLatin1("http://site.example/file")),
                  QUrl(QString::fromLatin1("file://other.example/file"))});
    EXPECT_EQ(enter(page), Qt::IgnoreAction);
    EXPECT_FALSE(box.performDragOperation(page));
    EXPECT_THAT(listener.messages, IsEmpty());
}

TEST_F(DVBoxTest, nameThatIsNotUtf8_keepsItsBytes)
{
    QMimeData data;
    data.setData(QStringLiteral("text/uri-list"), "file:///folder/%FF%20x\r\n");
    enter(data);
    EXPECT_EQ(drop(data), Qt::CopyAction);
    EXPECT_THAT(listener.dragged, ElementsAre(Path("/folder/\xff x")));
}

TEST_F(DVBoxTest, dragThatCanOnlyBeMoved_isRefused)
{
    EXPECT_EQ(enter(files, Qt::MoveAction), Qt::IgnoreAction) << "its files would be gone";
}

TEST_F(DVBoxTest, noDelegate_takesDragsAllTheSame)
{
    box.setDelegate(nullptr);
    EXPECT_EQ(enter(files), Qt::CopyAction);
    leave();
    EXPECT_EQ(box.highlight(), 0);
    EXPECT_TRUE(box.performDragOperation(files));
}
