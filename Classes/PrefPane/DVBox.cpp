#include "Classes/PrefPane/DVBox.h"

#include "Classes/PrefPane/FilePasteboard.h"

#include <QDragEnterEvent>
#include <QMimeData>

DVBox::DVBox(QWidget *parent)
    : QFrame(parent)
{
    setFrameShape(QFrame::StyledPanel);
}

DVBox::~DVBox()
{
    setAcceptDrops(false);
}

void DVBox::awakeFromNib()
{
    setAcceptDrops(true);
    m_highlight = 0;
}

void DVBox::setHighlight(std::int32_t highlight)
{
    m_highlight = highlight;
    update();
}

Qt::DropAction DVBox::draggingEntered(const QMimeData &info)
{
    setHighlight(1);
    const bool isWelcome = !m_delegate || m_delegate->boxDraggingEntered(*this, info);
    return isWelcome ? Qt::CopyAction : Qt::IgnoreAction;
}

void DVBox::draggingExited(const QMimeData *info)
{
    setHighlight(0);
    if (m_delegate)
        m_delegate->boxDraggingExited(*this, info);
}

bool DVBox::prepareForDragOperation()
{
    setHighlight(0);
    return true;
}

bool DVBox::performDragOperation(const QMimeData &info)
{
    const std::vector<Path> paths = FilePasteboard::pathsIn(info);
    if (paths.empty())
        return false;
    if (m_delegate)
        m_delegate->boxDraggedFiles(*this, paths);
    return true;
}

void DVBox::concludeDragOperation()
{
    update();
}

void DVBox::dragEnterEvent(QDragEnterEvent *event)
{
    // Other kinds of drags than those of files never reach a box.
    const bool isOfFiles = !FilePasteboard::pathsIn(*event->mimeData()).empty();
    if (!isOfFiles || !event->possibleActions().testFlag(Qt::CopyAction)) {
        event->ignore();
        return;
    }
    m_operation = draggingEntered(*event->mimeData());
    if (m_operation == Qt::IgnoreAction)
        setHighlight(0); // nothing more is heard of a drag that was refused
    dragMoveEvent(event);
}

void DVBox::dragMoveEvent(QDragMoveEvent *event)
{
    event->setDropAction(m_operation);
    event->setAccepted(m_operation != Qt::IgnoreAction);
}

void DVBox::dragLeaveEvent(QDragLeaveEvent *)
{
    draggingExited(nullptr);
}

void DVBox::dropEvent(QDropEvent *event)
{
    event->setDropAction(Qt::CopyAction);
    event->setAccepted(prepareForDragOperation() && performDragOperation(*event->mimeData()));
    concludeDragOperation();
}
