#pragma once

#include <QProcess>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

/// The real host, started as a child of the test; killed with this if it still runs.
class HostProcess final
{
public:
    HostProcess();
    ~HostProcess();
    HostProcess(const HostProcess &) = delete;
    HostProcess &operator=(const HostProcess &) = delete;

    /// To be set before the start.
    void setVariable(const char *name, const std::string &value);
    /// Has the named system calls of the host and of all that it starts written to a file. What it starts then keeps
    /// the tracing program alive until it ends.
    void traceTo(const std::filesystem::path &file, const QStringList &calls);
    /// Has the host show itself on this display.
    void showOn(const std::string &display);

    /// Starts it with this pane; with the real one of the build by itself.
    void start(const std::filesystem::path &pane = TAMSEL_PANE_BUNDLE);

    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }
    qint64 id() const { return m_process.processId(); }

    /// Tells it to end as a session does and runs the event loop until it has; answers its exit status, nothing when
    /// it still runs or was killed.
    std::optional<int> end(std::chrono::milliseconds timeout = std::chrono::seconds(60));

    /// The same where it was told otherwise.
    std::optional<int> waitForEnd(std::chrono::milliseconds timeout = std::chrono::seconds(60));
    void kill();

    /// The process of the helper that it has launched last; 0 when it has launched none.
    int helperId();

    /// How long after the start the first frame of the window was handed to the display, and the first with the pane
    /// in it. Nothing when that has not happened yet. Known only on a display.
    std::optional<std::chrono::milliseconds> firstFrame();
    std::optional<std::chrono::milliseconds> firstFrameOfPane();

    /// What it has logged so far.
    std::string log();
    bool waitForLog(const std::string &text, std::chrono::milliseconds timeout = std::chrono::seconds(60));

private:
    void read();

    using Time = std::chrono::steady_clock::time_point;

    QProcess m_process;
    QProcessEnvironment m_environment;
    QStringList m_tracing;
    std::string m_log;
    Time m_started;
    std::optional<Time> m_firstFrame;
    std::optional<Time> m_firstFrameOfPane;
};
