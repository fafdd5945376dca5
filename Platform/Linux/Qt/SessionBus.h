#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QTimer>

#include <functional>
#include <map>

class QDBusPendingCallWatcher;

/// This process's connection to the session bus: made when first asked for, made anew when the bus comes back, and
/// never waited for. Shared by whatever talks on the bus. Main thread.
class SessionBus final : public QObject
{
    Q_OBJECT

public:
    using Reply = std::function<void(const QDBusMessage &)>;

    SessionBus();
    ~SessionBus() override;

    /// Begins to connect, and to connect again whenever the bus is away. A bus that answers within a tenth of a second
    /// is there when the first call returns; later calls do nothing.
    void start();

    bool isConnected() const;

    /// The connection, for sending and matching; an invalid one while there is none.
    QDBusConnection connection() const { return QDBusConnection(m_name); }

    /// Sends a call. `reply` gets the answer or an error, once, at the latest after `timeoutMs`; on the main thread and
    /// never from within this function.
    void call(const QDBusMessage &message, Reply reply, int timeoutMs = 5000);

    /// A call to the bus itself.
    static QDBusMessage busCall(const QString &method, const QVariantList &arguments = {});

    /// Has `slot`, which takes the message, called for a signal of the bus itself; it checks `isFromBus`. (Naming the
    /// sender in the match would have the library ask the bus for it, and wait.)
    static void connectToBusSignal(QDBusConnection connection, const QString &name, const QStringList &arguments,
                                   QObject *receiver, const char *slot);
    static bool isFromBus(const QDBusMessage &message);

Q_SIGNALS:
    /// All matches, objects and names have to be made again.
    void connected();
    void disconnected();

private Q_SLOTS:
    void lose();

private:
    void connectNow();
    void finishConnecting(const QString &name, bool succeeded);
    void retryLater();
    void failCalls();

    QString m_name;
    bool m_isStarted = false;
    bool m_isConnecting = false;
    QTimer m_retry;
    int m_retryDelayMs = 0;
    std::map<QDBusPendingCallWatcher *, Reply> m_calls;
};
