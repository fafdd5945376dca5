#pragma once

#include "Platform/Fake/FailureSchedule.h"
#include "Platform/Workspace.h"

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

/// A workspace in which nothing is started: what was asked for is kept, and applications run and end when the test says
/// so. Bundles are read as they stand on the disk. Must outlive the applications that it has launched.
class FakeWorkspace final : public Workspace
{
public:
    Result<std::shared_ptr<RunningApplication>> launchApplication(const Path &bundle) override;
    bool isRunning(const std::string &bundleIdentifier) const override;
    void watchRunning(const std::string &bundleIdentifier, std::function<void(bool)> changed) override;
    void watchVolumes(std::function<void()> changed) override { m_volumeWatchers.push_back(std::move(changed)); }
    Result<void> openUrl(const std::string &url) override;

    /// The bundles launched and the addresses opened so far, in order.
    const std::vector<Path> &launched() const { return m_launched; }
    const std::vector<std::string> &opened() const { return m_opened; }

    /// Ends what was launched under the identifier.
    void end(const std::string &bundleIdentifier);

    /// As if a process that was started elsewhere came or went.
    void setRunningElsewhere(const std::string &bundleIdentifier, bool isRunning);

    /// As if a volume was mounted or unmounted.
    void changeVolumes() const
    {
        for (const auto &watcher : m_volumeWatchers)
            watcher();
    }

    /// Which call of `launchApplication` or `openUrl` fails.
    FailureSchedule failures;

private:
    class Application;

    void update(const std::string &bundleIdentifier);

    std::vector<Path> m_launched;
    std::vector<std::string> m_opened;
    std::map<std::string, std::vector<std::shared_ptr<Application>>> m_applications;
    std::set<std::string> m_runningElsewhere;
    std::map<std::string, std::vector<std::function<void(bool)>>> m_watchers;
    std::map<std::string, bool> m_told;
    std::vector<std::function<void()>> m_volumeWatchers;
};
