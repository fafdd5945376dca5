#pragma once

#include "Platform/Result.h"
#include "Platform/Service.h"
#include "Platform/Types.h"

#include <optional>
#include <string>
#include <vector>

/// One program that is started at login.
struct LoginItem
{
    Path path;          ///< "Path"
    Bytes aliasData;    ///< "AliasData"; empty when the entry is not ours
    bool hide = false;  ///< "Hide"
    std::string source; ///< where the entry is kept; empty for a new one

    friend bool operator==(const LoginItem &, const LoginItem &) = default;
};

/// The list "AutoLaunchedApplicationDictionary" of "loginwindow" for the current user and any host. Main thread.
class LoginWindow : public Service<LoginWindow>
{
public:
    /// The list in its order, or nothing when the user has none. Entries that cannot be read are not in it. Errors:
    /// Permission, Io.
    virtual Result<std::optional<std::vector<LoginItem>>> copyItems() const = 0;

    /// Makes the list what `items` says: those without a `source` are added at the end in their order, entries that
    /// are missing from it are removed, the others are left as they are. An entry that was not in the list when it was
    /// last copied, or has changed since, is another program's doing and is left too. Does nothing when the user has no
    /// list. After a failure some of it may be done; every entry is whole or not there.
    virtual Result<void> storeItems(const std::vector<LoginItem> &items) = 0;

    /// Gives the user an empty list when there is none, as the login window does.
    virtual Result<void> makeList() = 0;
};
