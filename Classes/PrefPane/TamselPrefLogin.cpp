#include "Classes/PrefPane/TamselPref.h"

#include "Classes/PrefPane/HelperLoginItem.h"
#include "Classes/Shared/Log.h"

bool TamselPref::autorunAtLogin() const
{
    return HelperLoginItem::isPresent().valueOr(false);
}

void TamselPref::setAutorunAtLogin(bool autorun)
{
    if (autorun == autorunAtLogin())
        return;
    const std::optional<Path> helper = helperPath();
    Result<void> stored;
    if (!autorun)
        stored = HelperLoginItem::remove();
    else if (helper)
        stored = HelperLoginItem::add(*helper);
    if (!stored)
        logLine("Login items could not be changed: " + stored.failure().context);
    Q_EMIT autorunAtLoginChanged();
}

void TamselPref::regenerateAutologinItem()
{
    if (!autorunAtLogin())
        return;
    setAutorunAtLogin(false);
    setAutorunAtLogin(true);
}
