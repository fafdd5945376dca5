#include "Classes/PrefPane/TamselPref.h"

#include "Classes/Shared/Log.h"
#include "Classes/Shared/RQAlias.h"
#include "Platform/LoginWindow.h"

#include <algorithm>

using LoginItems = std::optional<std::vector<LoginItem>>;

/// A helper at any place counts, an older copy too.
static bool belongsToHelper(const LoginItem &item)
{
    return item.path.native().ends_with("TamselHelper.app");
}

/// The user's list; none when it is absent or cannot be read.
static LoginItems copyItems()
{
    return LoginWindow::current().copyItems().valueOr(std::nullopt);
}

/// A new entry; without an alias record where none can be made.
static LoginItem itemFor(const Path &helper)
{
    const std::optional<RQAlias> alias = RQAlias::aliasWithPath(helper);
    return {helper, alias ? alias->aliasData().value_or(Bytes()) : Bytes(), false, {}};
}

bool TamselPref::autorunAtLogin() const
{
    const LoginItems items = copyItems();
    return items && std::any_of(items->begin(), items->end(), belongsToHelper);
}

void TamselPref::setAutorunAtLogin(bool autorun)
{
    if (autorun == autorunAtLogin())
        return;
    if (LoginItems items = copyItems()) {
        const std::optional<Path> helper = helperPath();
        if (!autorun)
            std::erase_if(*items, belongsToHelper);
        else if (helper)
            items->push_back(itemFor(*helper));
        if (const Result<void> stored = LoginWindow::current().storeItems(*items); !stored)
            logLine("Login items could not be changed: " + stored.failure().context);
    }
    Q_EMIT autorunAtLoginChanged();
}

void TamselPref::regenerateAutologinItem()
{
    if (!autorunAtLogin())
        return;
    setAutorunAtLogin(false);
    setAutorunAtLogin(true);
}
