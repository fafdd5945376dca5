#pragma once

#include "Platform/DesktopAppearance.h"
#include "Platform/Linux/Qt/SessionBus.h"

#include <QObject>

#include <vector>

/// The colour scheme that the desktop's portal tells: "color-scheme" of "org.freedesktop.appearance". Main thread.
class PortalAppearance final : public QObject, public DesktopAppearance
{
    Q_OBJECT

public:
    explicit PortalAppearance(SessionBus &bus);

    void observe(Handler handler) override;

private Q_SLOTS:
    void settingChanged(const QDBusMessage &message);

private:
    void match();
    void read();
    void tell(Appearance appearance);

    SessionBus &m_bus;
    std::vector<Handler> m_handlers;
};
