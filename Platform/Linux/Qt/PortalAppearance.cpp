#include "Platform/Linux/Qt/PortalAppearance.h"

#include <QDBusVariant>

static const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
static const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
static const QString kInterface = QStringLiteral("org.freedesktop.portal.Settings");
static const QString kNamespace = QStringLiteral("org.freedesktop.appearance");
static const QString kKey = QStringLiteral("color-scheme");

/// The number inside however many variants.
static Appearance appearanceOf(QVariant value)
{
    while (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    if (value.metaType() != QMetaType::fromType<uint>())
        return Appearance::Automatic;
    switch (value.toUInt()) {
    case 1:
        return Appearance::Dark;
    case 2:
        return Appearance::Light;
    default:
        return Appearance::Automatic;
    }
}

PortalAppearance::PortalAppearance(SessionBus &bus)
    : m_bus(bus)
{
    connect(&m_bus, &SessionBus::connected, this, [this] {
        if (m_handlers.empty())
            return;
        match();
        read();
    });
}

void PortalAppearance::observe(Handler handler)
{
    const bool isFirst = m_handlers.empty();
    const bool wasConnected = m_bus.isConnected();
    m_handlers.push_back(std::move(handler));
    m_bus.start();
    if (!wasConnected && m_bus.isConnected())
        return; // asked by then
    if (isFirst && wasConnected)
        match();
    read();
}

void PortalAppearance::match()
{
    m_bus.connection().connect(QString(), kPath, kInterface, QStringLiteral("SettingChanged"), this,
                               SLOT(settingChanged(QDBusMessage)));
}

void PortalAppearance::settingChanged(const QDBusMessage &message)
{
    // Anybody can send this; what the portal says is asked for.
    const QVariantList arguments = message.arguments();
    if (arguments.size() == 3 && arguments[0].toString() == kNamespace && arguments[1].toString() == kKey)
        read();
}

void PortalAppearance::read()
{
    QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Read"));
    call.setArguments({kNamespace, kKey});
    m_bus.call(call, [this](const QDBusMessage &reply) {
        const bool isAnswer = reply.type() == QDBusMessage::ReplyMessage && reply.arguments().size() == 1;
        tell(isAnswer ? appearanceOf(reply.arguments().constFirst()) : Appearance::Automatic);
    });
}

void PortalAppearance::tell(Appearance appearance)
{
    for (const Handler &handler : std::vector(m_handlers))
        handler(appearance);
}
