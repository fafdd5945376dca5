#pragma once

#include "Platform/Service.h"

#include <functional>
#include <string>
#include <vector>

/// Lets one program of a kind run for each user: a program claims its bundle identifier, by which others find it, and
/// a second start asks the first to come to the front. Nothing waits. Main thread.
class ApplicationName : public Service<ApplicationName>
{
public:
    enum class Claim {
        Claimed,      ///< this process is the one
        OwnedByOther, ///< another one runs
        NoBus,        ///< cannot say: there is no session bus
    };

    /// Claims the identifier and calls `answered` with what came of it; again whenever that changes: the bus comes or
    /// goes, the other one ends. One claim for each identifier; a new one replaces the old.
    virtual void claim(const std::string &identifier, std::function<void(Claim)> answered) = 0;

    /// Gives up the claim; its handler is not called any more. Others see it at once.
    virtual void release(const std::string &identifier) = 0;

    /// Asks the process that owns the identifier to come to the front, with the arguments that this one was started
    /// with. `done` is told whether the owner has answered; not when this process is the owner itself.
    virtual void activateOwner(const std::string &identifier, const std::vector<std::string> &arguments,
                               std::function<void(bool)> done) = 0;

    /// Calls `activated` whenever another process asks this one to come to the front. Without a handler such requests
    /// go unanswered, and their senders learn it at once.
    virtual void setActivationHandler(std::function<void(const std::vector<std::string> &)> activated) = 0;
};
