#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>
#include <QTimer>
#include <QUrl>
#include <QWidget>

/// A window in the upper left corner of the screen from which the files named on the command line are dragged. Ends
/// with the number of what was done with them: 0 for nothing, 1 for copying.
class DragSource final : public QWidget
{
public:
    explicit DragSource(QList<QUrl> files)
        : m_files(std::move(files))
    {
        setWindowTitle(QStringLiteral("Drag source"));
        setWindowFlag(Qt::X11BypassWindowManagerHint);
        setGeometry(0, 0, 60, 60);
    }

protected:
    void mouseMoveEvent(QMouseEvent *event) override
    {
        if (!event->buttons().testFlag(Qt::LeftButton))
            return;
        auto *const content = new QMimeData;
        content->setUrls(m_files);
        auto *const drag = new QDrag(this);
        drag->setMimeData(content);
        const Qt::DropAction done = drag->exec(Qt::CopyAction);
        // Who takes the drop asks for the files after it.
        QTimer::singleShot(5000, qApp, [done] { QCoreApplication::exit(done); });
    }

private:
    QList<QUrl> m_files;
};

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    QList<QUrl> files;
    for (const QString &file : QApplication::arguments().mid(1))
        files.append(QUrl::fromLocalFile(file));
    DragSource source(files);
    source.show();
    return QApplication::exec();
}
