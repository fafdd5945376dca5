#pragma once

#include "Platform/Service.h"

/// While at least one `disable` is not yet matched by an `enable`, SIGTERM, SIGINT and SIGHUP are held back; the last
/// `enable` lets one that came meanwhile end the process, by way of its event loop. What no event loop waits for, like a
/// thread of its own, has to be ended before the process's `main` is left. Any thread.
class SuddenTermination : public Service<SuddenTermination>
{
public:
    virtual void disable() = 0;

    /// To be called once for each `disable`.
    virtual void enable() = 0;
    virtual bool isDisabled() const = 0;
};

/// Keeps the process from being ended during a change of several files.
class SuddenTerminationGuard final
{
public:
    SuddenTerminationGuard() { SuddenTermination::current().disable(); }
    ~SuddenTerminationGuard() { SuddenTermination::current().enable(); }

    SuddenTerminationGuard(const SuddenTerminationGuard &) = delete;
    SuddenTerminationGuard &operator=(const SuddenTerminationGuard &) = delete;
};
