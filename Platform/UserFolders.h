#pragma once

#include "Platform/Result.h"
#include "Platform/Service.h"
#include "Platform/Types.h"

/// Where the user's things lie. Any thread.
class UserFolders : public Service<UserFolders>
{
public:
    /// The user's Application Support directory, made (0700) when missing. Errors: NotFound when the user has no place
    /// for one; Permission, NoSpace, Io when it cannot be made or something else stands there.
    virtual Result<Path> applicationSupport() const = 0;

    /// Absolute; need not exist. Errors: NotFound when the user has none.
    virtual Result<Path> home() const = 0;

    /// A private directory (0700, this user's) on which programs may be run; ends in a slash. Errors: those of the last
    /// place that was tried.
    virtual Result<Path> temporary() const = 0;
};
