#pragma once

#include "Classes/PrefPane/TamselPref.h"
#include "Platform/Fake/FakeLoginWindow.h"
#include "Platform/Fake/FakeNotificationCenter.h"
#include "Platform/Fake/FakeSuddenTermination.h"
#include "Platform/Fake/FakeWorkspace.h"
#include "Platform/Fake/Qt/FakeFolderChooser.h"
#include "Platform/Fake/Qt/FakeHostApplication.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// What happened, one line each, in a file to which the tools of a test bundle write too: "post NAME", "observe NAME",
/// "launch NAME", "activate", and for a tool its name and its arguments in brackets.
class Journal final
{
public:
    Journal();
    const std::filesystem::path &file() const { return m_file; }
    void note(const std::string &line);
    void clear();
    std::vector<std::string> lines() const;

private:
    std::filesystem::path m_file;
};

/// Notes what is posted and observed, and hands it on.
class NotingCenter final : public DistributedNotificationCenter
{
public:
    NotingCenter(Journal &journal, FakeNotificationCenter &center)
        : m_journal(journal)
        , m_center(center)
    {
    }

    void post(const std::string &name, const UserInfo &userInfo) override;
    ObserverId addObserver(const std::string &name, Handler handler) override;
    ObserverId addObserverOfAll(Handler handler) override { return m_center.addObserverOfAll(std::move(handler)); }
    void removeObserver(ObserverId observer) override { m_center.removeObserver(observer); }
    bool isConnected() const override { return m_center.isConnected(); }
    void flush(std::function<void(bool)> done) override { m_center.flush(std::move(done)); }

    /// Called with the name of each notification that is posted, before it is.
    std::function<void(const std::string &name)> posting;

private:
    Journal &m_journal;
    FakeNotificationCenter &m_center;
};

/// Notes what is launched, and hands it on.
class NotingWorkspace final : public Workspace
{
public:
    NotingWorkspace(Journal &journal, FakeWorkspace &workspace)
        : m_journal(journal)
        , m_workspace(workspace)
    {
    }

    Result<std::shared_ptr<RunningApplication>> launchApplication(const Path &bundle) override;
    bool isRunning(const std::string &identifier) const override { return m_workspace.isRunning(identifier); }
    void watchRunning(const std::string &identifier, std::function<void(bool)> changed) override;
    void watchVolumes(std::function<void()> changed) override { m_workspace.watchVolumes(std::move(changed)); }
    Result<void> openUrl(const std::string &url) override { return m_workspace.openUrl(url); }

private:
    Journal &m_journal;
    FakeWorkspace &m_workspace;
};

/// The bundles of the disk, one of which is the host's.
class HostedBundles final : public Bundles
{
public:
    explicit HostedBundles(Path host)
        : m_real(Bundles::current())
        , m_host(std::move(host))
    {
    }

    Result<Bundle> open(const Path &path) const override { return m_real.open(path); }
    Result<Bundle> main() const override { return Bundle(m_host, {}); }
    void remember(const Bundle &bundle) override { m_real.remember(bundle); }
    std::optional<Bundle> withIdentifier(const std::string &identifier) const override
    {
        return m_real.withIdentifier(identifier);
    }

private:
    Bundles &m_real;
    Path m_host;
};

/// A pane in a bundle of its own, with tools that only note that they ran, in an application made to order. Files,
/// widgets, bundles and alias records are real.
class PaneFixture : public testing::Test
{
protected:
    PaneFixture();
    ~PaneFixture() override;

    /// Loads the interface and the pane as a host does, in a window that has the keys.
    void load();

    /// Loads the interface alone.
    void loadView();

    TamselPref &pane() { return *m_pane; }
    std::filesystem::path bundlePath() const { return m_bundlePath; }
    std::filesystem::path helperPath() const { return m_bundlePath / "Contents/Resources/TamselHelper.app"; }
    static std::filesystem::path supportFolder();

    /// The text of the alert that the window shows, and its button's; empty when it shows none.
    std::string alertText() const;
    void endAlert();

    /// Waits until `line` was noted, by a tool that nobody waits for or after a delay.
    bool waitForLine(const std::string &line);
    bool hasLine(const std::string &line) const;

    /// What a helper or another program tells the pane.
    void hear(const std::string &name) { center.deliver(Notification{name, {}}); }

    static std::vector<std::string> &log();

    /// As a screen reader does it.
    static void toggleByAccessibleAction(QWidget &widget);

    QWidget window;
    Journal journal;
    FakeNotificationCenter center;
    FakeSuddenTermination termination;
    FakeWorkspace workspace;
    FakeLoginWindow loginWindow;
    FakeHostApplication host;
    FakeFolderChooser chooser;
    NotingCenter notingCenter{journal, center};

    /// Makes a bundle with tools at `path`.
    void makeBundle(const std::filesystem::path &path);
    void makePane(const std::filesystem::path &path);

private:
    std::filesystem::path m_bundlePath;
    HostedBundles m_bundles{"/opt/host/Preferences.app"};
    NotingWorkspace m_notingWorkspace{journal, workspace};
    Override<DistributedNotificationCenter> m_installedCenter{notingCenter};
    Override<Bundles> m_installedBundles{m_bundles};
    Override<SuddenTermination> m_installedTermination{termination};
    Override<Workspace> m_installedWorkspace{m_notingWorkspace};
    Override<LoginWindow> m_installedLoginWindow{loginWindow};
    Override<HostApplication> m_installedHost{host};
    Override<FolderChooser> m_installedChooser{chooser};
    std::unique_ptr<TamselPref> m_pane;
};
