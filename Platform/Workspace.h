#pragma once

#include "Platform/Result.h"
#include "Platform/Service.h"
#include "Platform/Types.h"

#include <functional>
#include <memory>
#include <string>

/// An application that was launched.
class RunningApplication
{
public:
    virtual ~RunningApplication() = default;

    /// For logs: bundle identifier and process.
    virtual std::string description() const = 0;
    virtual bool isTerminated() const = 0;

    /// Called on the main thread once, when the application has ended.
    virtual void observeTerminated(std::function<void()> handler) = 0;
};

/// Launches applications and tells which of them run. Nothing waits. Main thread.
class Workspace : public Service<Workspace>
{
public:
    /// Starts the application bundle without waiting for it. Errors: NotFound, Permission, Corrupt, Io.
    virtual Result<std::shared_ptr<RunningApplication>> launchApplication(const Path &bundle) = 0;

    /// Whether an application with that bundle identifier runs, as far as is known without asking: it owns its
    /// identifier as bus name, or this process has launched it and it has not ended. No, where neither is known.
    virtual bool isRunning(const std::string &bundleIdentifier) const = 0;

    /// Calls `changed` on the main thread when the answer of `isRunning` for that identifier changes.
    virtual void watchRunning(const std::string &bundleIdentifier, std::function<void(bool)> changed) = 0;

    /// Calls `changed` on the main thread when volumes have been mounted or unmounted, once for what happens together.
    virtual void watchVolumes(std::function<void()> changed) = 0;

    /// Opens a web page or a file with the user's preferred program.
    virtual Result<void> openUrl(const std::string &url) = 0;
};
