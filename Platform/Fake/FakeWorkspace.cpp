#include "Platform/Fake/FakeWorkspace.h"

#include "Platform/Bundle.h"

#include <utility>

class FakeWorkspace::Application final : public RunningApplication
{
public:
    explicit Application(std::string identifier)
        : m_identifier(std::move(identifier))
    {
    }

    std::string description() const override { return m_identifier + " (not started)"; }
    bool isTerminated() const override { return m_isTerminated; }
    void observeTerminated(std::function<void()> handler) override { m_handlers.push_back(std::move(handler)); }

    void end()
    {
        m_isTerminated = true;
        for (const auto &handler : std::exchange(m_handlers, {}))
            handler();
    }

private:
    std::string m_identifier;
    bool m_isTerminated = false;
    std::vector<std::function<void()>> m_handlers;
};

Result<std::shared_ptr<RunningApplication>> FakeWorkspace::launchApplication(const Path &bundle)
{
    if (const auto failure = failures.next())
        return *failure;
    const Result<Bundle> opened = Bundles::current().open(bundle);
    if (!opened)
        return opened.failure();
    if (opened->executable().empty())
        return Failure{ErrorCode::Corrupt, 0, bundle.native() + " names no executable"};
    std::error_code ignored;
    const auto status = std::filesystem::status(opened->executable(), ignored);
    if (!std::filesystem::exists(status))
        return Failure{ErrorCode::NotFound, 0, "no executable in " + bundle.native()};
    if ((status.permissions() & std::filesystem::perms::owner_exec) == std::filesystem::perms::none)
        return Failure{ErrorCode::Permission, 0, "not executable: " + opened->executable().native()};
    m_launched.push_back(bundle);
    const std::string identifier = opened->identifier();
    const auto application = std::make_shared<Application>(identifier);
    m_applications[identifier].push_back(application);
    update(identifier);
    return std::shared_ptr<RunningApplication>(application);
}

bool FakeWorkspace::isRunning(const std::string &bundleIdentifier) const
{
    return m_runningElsewhere.contains(bundleIdentifier) || m_applications.contains(bundleIdentifier);
}

void FakeWorkspace::watchRunning(const std::string &bundleIdentifier, std::function<void(bool)> changed)
{
    m_watchers[bundleIdentifier].push_back(std::move(changed));
}

Result<void> FakeWorkspace::openUrl(const std::string &url)
{
    if (const auto failure = failures.next())
        return *failure;
    if (url.empty() || url.front() == '-')
        return Failure{ErrorCode::NotSupported, 0, "Not an address: " + url};
    m_opened.push_back(url);
    return {};
}

void FakeWorkspace::end(const std::string &bundleIdentifier)
{
    const auto ended = m_applications.extract(bundleIdentifier);
    if (ended.empty())
        return;
    update(bundleIdentifier);
    for (const auto &application : ended.mapped())
        application->end();
}

void FakeWorkspace::setRunningElsewhere(const std::string &bundleIdentifier, bool isRunning)
{
    if (isRunning)
        m_runningElsewhere.insert(bundleIdentifier);
    else
        m_runningElsewhere.erase(bundleIdentifier);
    update(bundleIdentifier);
}

void FakeWorkspace::update(const std::string &bundleIdentifier)
{
    const bool isRunningNow = isRunning(bundleIdentifier);
    if (std::exchange(m_told[bundleIdentifier], isRunningNow) == isRunningNow)
        return;
    const auto watchers = m_watchers[bundleIdentifier];
    for (const auto &watcher : watchers)
        watcher(isRunningNow);
}
