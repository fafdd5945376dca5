// Whatever a process of the user puts on the bus as a notification: what has the right shape arrives as it was sent,
// and nothing else arrives.

#include "Platform/Linux/Qt/BusSubscription.h"

#include <QCoreApplication>
#include <QDBusServer>

#include <dbus/dbus.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <map>
#include <utility>

static constexpr int kMostDepth = 40; // of the 64 that a message may have
static constexpr const char *kEnd = "end of this input";

static void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// The input, taken piece by piece; zeros behind its end.
class Input
{
public:
    Input(const std::uint8_t *data, std::size_t size)
        : m_bytes(reinterpret_cast<const char *>(data), size)
    {
    }

    bool isAtEnd() const { return m_bytes.empty(); }
    unsigned char byte() { return static_cast<unsigned char>((take(1) + '\0')[0]); }

    /// Text as the bus takes it.
    std::string text()
    {
        std::string result = take(byte());
        result.resize(std::min(result.find('\0'), result.size()));
        constexpr const char *kByteOrderMark = "\xEF\xBB\xBF"; // which the network layer takes off
        if (!dbus_validate_utf8(result.c_str(), nullptr) || result.starts_with(kByteOrderMark))
            result = "another";
        return result;
    }

private:
    std::string take(std::size_t count)
    {
        const std::string result(m_bytes.substr(0, count));
        m_bytes.remove_prefix(result.size());
        return result;
    }

    std::string_view m_bytes;
};

static void append(DBusMessageIter &iter, const std::string &text)
{
    const char *const bytes = text.c_str();
    require(dbus_message_iter_append_basic(&iter, DBUS_TYPE_STRING, &bytes));
}

/// What `fill` appends, in a container.
template <class Fill>
static void appendContainer(DBusMessageIter &iter, int type, const char *signature, Fill fill)
{
    DBusMessageIter inner;
    require(dbus_message_iter_open_container(&iter, type, signature, &inner));
    fill(inner);
    require(dbus_message_iter_close_container(&iter, &inner));
}

using Value = std::optional<UserInfo::mapped_type>;

static Value appendStrings(DBusMessageIter &iter, Input &input)
{
    std::vector<std::string> elements(input.byte() % 8);
    appendContainer(iter, DBUS_TYPE_VARIANT, "as", [&](DBusMessageIter &variant) {
        appendContainer(variant, DBUS_TYPE_ARRAY, "s", [&](DBusMessageIter &array) {
            for (std::string &element : elements)
                append(array, element = input.text());
        });
    });
    return elements;
}

template <class Number>
static void appendNumber(DBusMessageIter &iter, int type, Number number)
{
    const char signature[] = {char(type), 0};
    appendContainer(iter, DBUS_TYPE_VARIANT, signature, [&](DBusMessageIter &variant) {
        require(dbus_message_iter_append_basic(&variant, type, &number));
    });
}

using Values = std::map<std::string, Value>;

static void appendMap(DBusMessageIter &iter, Input &input, Values &values, int depth);

/// A value of any type in a variant; answers what is to arrive, nothing for a type that no notification has.
static Value appendValue(DBusMessageIter &iter, Input &input, int depth)
{
    switch (input.byte() % (depth < kMostDepth ? 9 : 7)) {
    case 0:
    case 1: {
        const std::string text = input.text();
        appendContainer(iter, DBUS_TYPE_VARIANT, "s", [&](DBusMessageIter &variant) { append(variant, text); });
        return text;
    }
    case 2: return appendStrings(iter, input);
    case 3: appendNumber(iter, DBUS_TYPE_INT32, std::int32_t(input.byte())); break;
    case 4: appendNumber(iter, DBUS_TYPE_BYTE, input.byte()); break;
    case 5: appendNumber(iter, DBUS_TYPE_BOOLEAN, dbus_bool_t(input.byte() % 2)); break;
    case 6: appendNumber(iter, DBUS_TYPE_DOUBLE, double(input.byte())); break;
    case 7:
        appendContainer(iter, DBUS_TYPE_VARIANT, "a{sv}", [&](DBusMessageIter &variant) {
            Values ignored;
            appendMap(variant, input, ignored, depth + 2);
        });
        break;
    case 8:
        appendContainer(iter, DBUS_TYPE_VARIANT, "v",
                        [&](DBusMessageIter &variant) { appendValue(variant, input, depth + 1); });
        break;
    }
    return std::nullopt;
}

/// `values` gets the last one of each key.
static void appendMap(DBusMessageIter &iter, Input &input, Values &values, int depth)
{
    appendContainer(iter, DBUS_TYPE_ARRAY, "{sv}", [&](DBusMessageIter &array) {
        for (int count = input.byte() % 8; count > 0; --count)
            appendContainer(array, DBUS_TYPE_DICT_ENTRY, nullptr, [&](DBusMessageIter &entry) {
                const std::string key = input.text();
                append(entry, key);
                values[key] = appendValue(entry, input, depth + 1);
            });
    });
}

/// What arrives of these; nothing when one is of a type that no notification has.
static std::optional<UserInfo> userInfoOf(const Values &values)
{
    UserInfo userInfo;
    for (const auto &[key, value] : values) {
        if (!value)
            return std::nullopt;
        userInfo[key] = *value;
    }
    return userInfo;
}

/// The two ends of a connection within this process, without a bus between them.
class Link
{
public:
    Link()
    {
        QObject::connect(&m_server, &QDBusServer::newConnection, [this](const QDBusConnection &connection) {
            m_connections.push_back(connection);
            m_subscription.match(connection);
        });
        m_sender = dbus_connection_open_private(m_server.address().toUtf8().constData(), nullptr);
        require(m_sender);
        dbus_connection_set_exit_on_disconnect(m_sender, false);
        while (m_connections.empty()) {
            dbus_connection_read_write_dispatch(m_sender, 1);
            QCoreApplication::processEvents();
        }
    }

    /// Sends it, and answers what has arrived of it.
    std::deque<Notification> pass(DBusMessage *message)
    {
        send(message);
        DBusMessage *const end = signal();
        DBusMessageIter iter;
        dbus_message_iter_init_append(end, &iter);
        append(iter, kEnd);
        append(iter, "");
        appendContainer(iter, DBUS_TYPE_ARRAY, "{sv}", [](DBusMessageIter &) {});
        send(end);
        dbus_connection_flush(m_sender);
        while (m_arrived.empty() || m_arrived.back().name != kEnd)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        m_arrived.pop_back();
        return std::exchange(m_arrived, {});
    }

    static DBusMessage *signal()
    {
        return dbus_message_new_signal(BusSubscription::kPath, BusSubscription::kInterface, BusSubscription::kMember);
    }

private:
    void send(DBusMessage *message)
    {
        require(dbus_connection_send(m_sender, message, nullptr));
        dbus_message_unref(message);
    }

    std::deque<Notification> m_arrived;
    BusSubscription m_subscription{std::nullopt,
                                   [this](const Notification &arrived) { m_arrived.push_back(arrived); }};
    QDBusServer m_server{QStringLiteral("unix:tmpdir=/tmp")};
    std::vector<QDBusConnection> m_connections;
    DBusConnection *m_sender = nullptr;
};

static Link &sharedLink()
{
    static int count = 1;
    static char name[] = "BusPayloadFuzzer";
    static char *arguments[] = {name, nullptr};
    static auto *const application = new QCoreApplication(count, arguments);
    static auto *const link = new Link;
    (void)application;
    return *link;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {}); // a line for each refusal
    Input input(data, size);
    DBusMessage *const message = Link::signal();
    DBusMessageIter iter;
    dbus_message_iter_init_append(message, &iter);
    std::string name = input.text();
    if (name == kEnd)
        name = "another";
    append(iter, name);
    append(iter, input.text());
    Values values;
    appendMap(iter, input, values, 1);
    const bool isTooMuch = !input.isAtEnd();
    while (!input.isAtEnd())
        appendValue(iter, input, 1);
    const std::optional<UserInfo> expected = isTooMuch ? std::nullopt : userInfoOf(values);
    const std::deque<Notification> arrived = sharedLink().pass(message);
    require(arrived.size() == (expected ? 1 : 0));
    require(!expected || (arrived[0].name == name && arrived[0].userInfo == *expected));
    return 0;
}
