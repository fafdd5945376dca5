#include "Classes/PrefPane/HelperLoginItem.h"

#include "Classes/Shared/RQAlias.h"
#include "Platform/LoginWindow.h"

#include <algorithm>

static bool belongsToHelper(const LoginItem &item)
{
    return item.path.native().ends_with("TamselHelper.app");
}

/// A new entry; without an alias record where none can be made.
static LoginItem itemFor(const Path &helper)
{
    const std::optional<RQAlias> alias = RQAlias::aliasWithPath(helper);
    return {helper, alias ? alias->aliasData().value_or(Bytes()) : Bytes(), false, {}};
}

Result<bool> HelperLoginItem::isPresent()
{
    const Result<std::optional<std::vector<LoginItem>>> items = LoginWindow::current().copyItems();
    if (!items)
        return items.failure();
    return *items && std::ranges::any_of(**items, belongsToHelper);
}

Result<void> HelperLoginItem::add(const Path &helper)
{
    Result<std::optional<std::vector<LoginItem>>> items = LoginWindow::current().copyItems();
    if (!items)
        return items.failure();
    if (!*items || std::ranges::any_of(**items, belongsToHelper))
        return {};
    (*items)->push_back(itemFor(helper));
    return LoginWindow::current().storeItems(**items);
}

Result<void> HelperLoginItem::remove()
{
    Result<std::optional<std::vector<LoginItem>>> items = LoginWindow::current().copyItems();
    if (!items)
        return items.failure();
    if (!*items || std::erase_if(**items, belongsToHelper) == 0)
        return {};
    return LoginWindow::current().storeItems(**items);
}

Result<void> HelperLoginItem::renew(const Path &helper)
{
    Result<std::optional<std::vector<LoginItem>>> items = LoginWindow::current().copyItems();
    if (!items)
        return items.failure();
    if (!*items)
        return {};
    std::erase_if(**items, belongsToHelper);
    (*items)->push_back(itemFor(helper));
    return LoginWindow::current().storeItems(**items);
}
