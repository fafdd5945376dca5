#include "Platform/Linux/SilentBus.h"
#include "Platform/Services.h"

#include <QDBusConnection>

static constexpr const char *kVariable = "DBUS_SESSION_BUS_ADDRESS";

void returnToBus()
{
    const std::optional<LeftBus> left = takeLeftBus();
    if (!left)
        return;
    // The toolkit asks for its connection once. This one has failed already, and nobody will wait for it.
    static_cast<void>(QDBusConnection::sessionBus());
    if (left->address)
        qputenv(kVariable, QByteArray::fromStdString(*left->address));
    else
        qunsetenv(kVariable);
}
