#pragma once

#include "Platform/Workspace.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

class BusNameWatch;
class LaunchedApplication;
class MountWatch;
struct DetachedProcess;
class SessionBus;

/// Starts applications as detached processes and finds them by the names that they own on the session bus. Main thread.
class LinuxWorkspace final : public Workspace
{
public:
    /// `bus` must outlive this.
    explicit LinuxWorkspace(SessionBus &bus);
    ~LinuxWorkspace() override;

    Result<std::shared_ptr<RunningApplication>> launchApplication(const Path &bundle) override;
    bool isRunning(const std::string &bundleIdentifier) const override;
    void watchRunning(const std::string &bundleIdentifier, std::function<void(bool)> changed) override;
    void watchVolumes(std::function<void()> changed) override;
    Result<void> openUrl(const std::string &url) override;

private:
    /// All that is known of one bundle identifier.
    struct Kind
    {
        std::unique_ptr<BusNameWatch> name;
        std::vector<std::shared_ptr<LaunchedApplication>> launched; ///< those that have not ended
        std::vector<std::function<void(bool)>> watchers;
        bool told = false;

        bool isRunning() const;
    };

    Kind &kind(const std::string &bundleIdentifier) const;
    void update(const std::string &bundleIdentifier);
    std::shared_ptr<LaunchedApplication> keep(const std::string &bundleIdentifier, DetachedProcess process);

    SessionBus &m_bus;
    std::unique_ptr<MountWatch> m_mounts;        ///< made when somebody asks for it
    mutable std::map<std::string, Kind> m_kinds; ///< asking for one begins to watch it
};
