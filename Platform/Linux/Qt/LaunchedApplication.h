#pragma once

#include "Platform/Linux/Qt/DetachedProcess.h"
#include "Platform/Workspace.h"

#include <QObject>

#include <functional>
#include <string>
#include <vector>

class QSocketNotifier;
class QTimer;

/// A program that this process has started, until it has ended. Owned by the workspace as long as it runs. Main thread.
class LaunchedApplication final : public QObject, public RunningApplication
{
    Q_OBJECT

public:
    LaunchedApplication(std::string identifier, DetachedProcess process);
    ~LaunchedApplication() override { stopWatching(); }

    const std::string &identifier() const { return m_identifier; }
    std::string description() const override;
    bool isTerminated() const override { return m_isTerminated; }
    void observeTerminated(std::function<void()> handler) override;

    /// Whether it has let its identifier go and so is ending: no longer running for who looks for one.
    bool isLeaving() const { return m_isLeaving; }
    void setLeaving() { m_isLeaving = true; }

Q_SIGNALS:
    void terminated();

private:
    void end();
    void stopWatching();

    std::string m_identifier;
    DetachedProcess m_process;
    QSocketNotifier *m_notifier = nullptr; ///< of the process's descriptor
    QTimer *m_timer = nullptr;             ///< where there is no descriptor
    bool m_isTerminated = false;
    bool m_isLeaving = false;
    std::vector<std::function<void()>> m_handlers;
};
