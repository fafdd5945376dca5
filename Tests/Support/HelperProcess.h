#pragma once

#include <QProcess>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

/// The real helper, started as a child of the test; killed with this if it still runs.
class HelperProcess final
{
public:
    /// Starts the build's helper, or the one in another bundle.
    explicit HelperProcess(const std::filesystem::path &bundle = TAMSEL_HELPER_BUNDLE);
    ~HelperProcess();
    HelperProcess(const HelperProcess &) = delete;
    HelperProcess &operator=(const HelperProcess &) = delete;

    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }
    qint64 id() const { return m_process.processId(); }

    /// Runs the event loop until it has ended; answers its exit status, nothing when it still runs or was killed.
    std::optional<int> waitForEnd(std::chrono::milliseconds timeout = std::chrono::seconds(30));

    /// Runs the event loop until this helper has taken its name on the bus.
    bool waitUntilFound();

    void terminate() { m_process.terminate(); }
    void kill();
    /// Keeps it from doing anything more, as a program that hangs.
    void freeze();

    /// What it has logged so far.
    std::string log();
    bool waitForLog(const std::string &text);

private:
    QProcess m_process;
    std::string m_log;
};
