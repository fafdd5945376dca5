#include "Host/PreferencesApplication.h"

#include "Platform/DistributedNotificationCenter.h"

#include <QEvent>
#include <QTimer>

PreferencesApplication::PreferencesApplication(int &argc, char **argv)
    : QApplication(argc, argv)
{
    setApplicationName(QStringLiteral("Preferences"));
    setApplicationDisplayName(tr("Preferences"));
    setDesktopFileName(QStringLiteral("com.dovrane.Preferences"));
    // The window's end is asked for by the window; a dialog that closes last is no reason.
    setQuitOnLastWindowClosed(false);
}

bool PreferencesApplication::event(QEvent *event)
{
    if (event->type() != QEvent::Quit)
        return QApplication::event(event);
    event->ignore();
    if (!m_isEnding)
        beginEnd();
    return true;
}

void PreferencesApplication::beginEnd()
{
    m_isEnding = true;
    const auto end = [] { QCoreApplication::exit(0); };
    QTimer::singleShot(kLongestEnd, this, end);
    if (m_prepareToEnd)
        m_prepareToEnd();
    // Behind whatever the end of the window has put off, such as the ends of its sheets.
    QTimer::singleShot(0, this, [end] { DistributedNotificationCenter::current().flush([end](bool) { end(); }); });
}
