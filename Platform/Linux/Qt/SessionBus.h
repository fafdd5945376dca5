#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QTimer>

#include <deque>
#include <functional>
#include <map>

class QDBusPendingCallWatcher;

/// This process's connection to the session bus: made when first asked for, made anew when the bus comes back, and
/// never waited for. What is sent while it is being made for the first time goes out when it is there. Shared by
/// whatever talks on the bus. Main thread.
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

    /// Whether it is not known yet if there is a bus.
    bool isUndecided() const { return m_isUndecided; }

    /// The connection, for matching; an invalid one while there is none.
    QDBusConnection connection() const { return QDBusConnection(m_name); }

    /// Sends a signal; it is lost when there is no bus.
    void send(const QDBusMessage &signal);

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
    /// All matches and objects have to be made again.
    void connected();

    /// They have been: whoever finds a name of ours from now on finds all of it. Names have to be requested again.
    void prepared();
    void disconnected();

    /// There was no bus when the first connection was tried.
    void notFound();

private Q_SLOTS:
    void lose();

private:
    /// A signal, or a call where there is a reply to give, that waits for the first connection.
    struct Waiting
    {
        QDBusMessage message;
        Reply reply;
        int number = 0;
        int timeoutMs = 0;
    };

    void connectNow();
    void finishConnecting(const QString &name, bool succeeded);
    void useConnection();
    void decide();
    void retryLater();
    void keepWaiting(Waiting waiting);
    void callNow(const QDBusMessage &message, Reply reply, int timeoutMs);
    void failLater(Reply reply);
    void failCalls();

    QString m_name;
    bool m_isStarted = false;
    bool m_isConnecting = false;
    bool m_isUndecided = false;
    std::deque<Waiting> m_waiting;
    int m_lastNumber = 0;
    QTimer m_retry;
    int m_retryDelayMs = 0;
    std::map<QDBusPendingCallWatcher *, Reply> m_calls;
};
