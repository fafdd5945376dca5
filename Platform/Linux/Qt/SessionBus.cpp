#include "Platform/Linux/Qt/SessionBus.h"

#include <QDBusPendingCallWatcher>
#include <QDebug>
#include <QFileInfo>
#include <QFuture>
#include <QPromise>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <semaphore>
#include <thread>
#include <utility>

static const QString kBusName = QStringLiteral("org.freedesktop.DBus");
static const QString kBusPath = QStringLiteral("/org/freedesktop/DBus");

static constexpr std::chrono::milliseconds kFirstWait{100};
static constexpr int kFirstRetryMs = 100;
static constexpr int kLongestRetryMs = 5000;

/// More than anybody has to say before a bus that answers at all has answered.
static constexpr std::size_t kMostWaiting = 1000;

/// Empty when the session has no bus: the library would then start one of its own, and wait for it.
static QString busAddress()
{
    const QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!address.isEmpty() || runtime.isEmpty() || !QFileInfo::exists(runtime + QStringLiteral("/bus")))
        return address;
    return QStringLiteral("unix:path=") + runtime + QStringLiteral("/bus");
}

/// A connection that was lost never comes back under its name.
static QString newConnectionName()
{
    static std::atomic<int> s_count = 0;
    return QStringLiteral("tamsel-bus-%1").arg(s_count++);
}

SessionBus::SessionBus()
{
    if (!qEnvironmentVariableIsSet("DBUS_FATAL_WARNINGS"))
        qputenv("DBUS_FATAL_WARNINGS", "0"); // or a message that the library does not like ends the process
    m_retry.setSingleShot(true);
    QObject::connect(&m_retry, &QTimer::timeout, this, [this] { connectNow(); });
}

SessionBus::~SessionBus()
{
    m_calls.clear();
    if (!m_name.isEmpty())
        QDBusConnection::disconnectFromBus(m_name);
}

void SessionBus::start()
{
    if (m_isStarted)
        return;
    m_isStarted = true;
    m_isUndecided = true;
    connectNow();
}

bool SessionBus::isConnected() const
{
    return !m_name.isEmpty() && connection().isConnected();
}

/// Opening a connection waits for the bus to answer, so a thread does it.
void SessionBus::connectNow()
{
    const QString address = busAddress();
    if (address.isEmpty())
        decide();
    if (m_isConnecting || address.isEmpty()) {
        retryLater();
        return;
    }
    m_isConnecting = true;
    const QString name = newConnectionName();
    const auto promise = std::make_shared<QPromise<bool>>();
    const auto ended = std::make_shared<std::binary_semaphore>(0);
    QFuture<bool> future = promise->future();
    promise->start();
    std::thread([promise, ended, address, name] {
        const bool succeeded = QDBusConnection::connectToBus(address, name).isConnected();
        promise->addResult(succeeded);
        promise->finish();
        ended->release();
    }).detach();
    const bool isFirst = m_retryDelayMs == 0;
    if (isFirst && ended->try_acquire_for(kFirstWait))
        finishConnecting(name, future.result());
    else
        future.then(this, [this, name](bool succeeded) { finishConnecting(name, succeeded); });
}

void SessionBus::finishConnecting(const QString &name, bool succeeded)
{
    m_isConnecting = false;
    if (succeeded) {
        m_name = name;
        useConnection();
    } else {
        QDBusConnection::disconnectFromBus(name);
        retryLater();
    }
    decide();
}

void SessionBus::useConnection()
{
    connection().connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                         QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                         SLOT(lose()));
    if (!isConnected()) { // it died before anything could tell
        lose();
        return;
    }
    m_retryDelayMs = 0;
    Q_EMIT connected();
    // The bus takes what one connection sends in its order: who sees a name sees what was asked for before it.
    Q_EMIT prepared();
}

/// The first attempt is over: what waited for it goes out, or fails.
void SessionBus::decide()
{
    if (!std::exchange(m_isUndecided, false))
        return;
    for (Waiting &waiting : std::exchange(m_waiting, {})) {
        if (waiting.reply)
            call(waiting.message, std::move(waiting.reply), waiting.timeoutMs);
        else
            send(waiting.message);
    }
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (!isConnected())
                Q_EMIT notFound();
        },
        Qt::QueuedConnection);
}

void SessionBus::retryLater()
{
    m_retryDelayMs = std::clamp(m_retryDelayMs * 2, kFirstRetryMs, kLongestRetryMs);
    m_retry.start(m_retryDelayMs);
}

void SessionBus::lose()
{
    if (m_name.isEmpty())
        return;
    QDBusConnection::disconnectFromBus(std::exchange(m_name, QString()));
    failCalls();
    Q_EMIT disconnected();
    retryLater();
}

void SessionBus::failCalls()
{
    const QDBusMessage error =
        QDBusMessage::createError(QDBusError::Disconnected, QStringLiteral("The session bus went away"));
    for (const auto calls = std::exchange(m_calls, {}); const auto &[watcher, reply] : calls) {
        watcher->deleteLater();
        reply(error);
    }
}

void SessionBus::send(const QDBusMessage &signal)
{
    if (m_isUndecided)
        keepWaiting({signal, nullptr});
    else if (isConnected() && !connection().send(signal))
        qWarning("%s was not sent", qPrintable(signal.member()));
}

void SessionBus::call(const QDBusMessage &message, Reply reply, int timeoutMs)
{
    if (isConnected())
        callNow(message, std::move(reply), timeoutMs);
    else if (m_isUndecided)
        keepWaiting({message, std::move(reply), 0, timeoutMs});
    else
        failLater(std::move(reply));
}

void SessionBus::callNow(const QDBusMessage &message, Reply reply, int timeoutMs)
{
    auto *const watcher = new QDBusPendingCallWatcher(connection().asyncCall(message, timeoutMs), this);
    m_calls[watcher] = std::move(reply);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        const auto entry = m_calls.extract(watcher);
        watcher->deleteLater();
        if (!entry.empty())
            entry.mapped()(watcher->reply());
    });
}

void SessionBus::keepWaiting(Waiting waiting)
{
    waiting.number = ++m_lastNumber;
    if (waiting.reply)
        QTimer::singleShot(waiting.timeoutMs, this, [this, number = waiting.number] {
            const auto late = std::ranges::find(m_waiting, number, &Waiting::number);
            if (late == m_waiting.end())
                return;
            failLater(std::move(late->reply));
            m_waiting.erase(late);
        });
    m_waiting.push_back(std::move(waiting));
    if (m_waiting.size() <= kMostWaiting)
        return;
    if (m_waiting.front().reply)
        failLater(std::move(m_waiting.front().reply));
    m_waiting.pop_front();
}

void SessionBus::failLater(Reply reply)
{
    QMetaObject::invokeMethod(
        this,
        [reply = std::move(reply)] {
            reply(QDBusMessage::createError(QDBusError::Disconnected, QStringLiteral("There is no session bus")));
        },
        Qt::QueuedConnection);
}

QDBusMessage SessionBus::busCall(const QString &method, const QVariantList &arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(kBusName, kBusPath, kBusName, method);
    message.setArguments(arguments);
    return message;
}

void SessionBus::connectToBusSignal(QDBusConnection connection, const QString &name, const QStringList &arguments,
                                    QObject *receiver, const char *slot)
{
    connection.connect(QString(), kBusPath, kBusName, name, arguments, QString(), receiver, slot);
}

bool SessionBus::isFromBus(const QDBusMessage &message)
{
    return message.service() == kBusName; // the bus writes the sender, no client can
}
