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

/// Off and on again, but in one step: were this process killed between two, the helper would stay off the list.
void TamselPref::regenerateAutologinItem()
{
    // Where the renamer has just given the bundle another name, the helper is not found and the entry is left to the
    // next host.
    const std::optional<Path> helper = helperPath();
    if (!autorunAtLogin() || !helper)
        return;
    if (const Result<void> stored = HelperLoginItem::renew(*helper); !stored)
        logLine("Login items could not be changed: " + stored.failure().context);
    Q_EMIT autorunAtLoginChanged();
    Q_EMIT autorunAtLoginChanged();
}
