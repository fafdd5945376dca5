#pragma once

#include <QObject>
#include <QString>

#include <functional>

class QDBusMessage;
class SessionBus;

/// Whether somebody owns a name on the session bus, known without asking. Main thread.
class BusNameWatch final : public QObject
{
    Q_OBJECT

public:
    /// `bus` must outlive this.
    BusNameWatch(SessionBus &bus, const QString &name);

    /// No while there is no bus, and until the bus has answered for the first time.
    bool isOwned() const { return m_isOwned; }

Q_SIGNALS:
    void changed();

    /// The owner has let the name go: not that the bus went away.
    void released();

private Q_SLOTS:
    void changeOwner(const QDBusMessage &message);

private:
    void watch();
    void setOwned(bool isOwned);

    SessionBus &m_bus;
    QString m_name;
    bool m_isOwned = false;
    int m_changes = 0; ///< heard of, so that an older answer is told apart
};
