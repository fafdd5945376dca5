#pragma once

#include "Platform/Types.h"

#include <QFrame>

#include <cstdint>
#include <vector>

class DVBox;
class QMimeData;

/// Told of the drags over a box. Main thread.
class DVBoxDelegate
{
public:
    virtual ~DVBoxDelegate() = default;

    /// Answers whether what is dragged may be dropped.
    virtual bool boxDraggingEntered(DVBox &, const QMimeData &) { return true; }
    virtual void boxDraggingExited(DVBox &, const QMimeData *) {}
    virtual void boxDraggedFiles(DVBox &, const std::vector<Path> &) {}
};

/// A box that takes files dragged from elsewhere and hands them to its delegate, always as copies: whoever they were
/// dragged from keeps them. Looks like any frame. Main thread.
class DVBox final : public QFrame
{
    Q_OBJECT

public:
    explicit DVBox(QWidget *parent = nullptr);
    ~DVBox() override;

    /// 1 while a drag hovers over the box, else 0.
    std::int32_t highlight() const { return m_highlight; }

    /// Not owned; nullptr for none, when every drag of files is accepted and nobody hears of it.
    DVBoxDelegate *delegate() const { return m_delegate; }
    void setDelegate(DVBoxDelegate *delegate) { m_delegate = delegate; }

    /// Takes file drags from here on.
    void awakeFromNib();

    /// What the drag leads to: a copy, or nothing.
    Qt::DropAction draggingEntered(const QMimeData &info);

    /// `info` is nullptr where it is not known any more.
    void draggingExited(const QMimeData *info);
    bool prepareForDragOperation();

    /// Answers false, and tells nobody, when it names no files.
    bool performDragOperation(const QMimeData &info);
    void concludeDragOperation();

protected:
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void setHighlight(std::int32_t highlight);

    std::int32_t m_highlight = 0;
    Qt::DropAction m_operation = Qt::IgnoreAction; ///< of the drag that hovers
    DVBoxDelegate *m_delegate = nullptr;
};
