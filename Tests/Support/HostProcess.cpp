#include "Tests/Support/HostProcess.h"

#include "Tests/Support/WaitFor.h"

#include <iostream>

HostProcess::HostProcess()
    : m_environment(QProcessEnvironment::systemEnvironment())
{
}

HostProcess::~HostProcess()
{
    kill();
    std::cout << log(); // shown with a test that failed
}

void HostProcess::setVariable(const char *name, const std::string &value)
{
    m_environment.insert(QString::fromLatin1(name), QString::fromStdString(value));
}

void HostProcess::traceTo(const std::filesystem::path &file, const QStringList &calls)
{
    // As its own grandchild, so that the host stays the test's child. Strings are written whole.
    m_tracing = {QStringLiteral("strace"),
                 QStringLiteral("-D"),
                 QStringLiteral("-f"),
                 QStringLiteral("-y"),
                 QStringLiteral("--seccomp-bpf"),
                 QStringLiteral("-s"),
                 QStringLiteral("65536"),
                 QStringLiteral("-e"),
                 QStringLiteral("trace=") + calls.join(QLatin1Char(',')),
                 QStringLiteral("-o"),
                 QString::fromStdString(file.native())};
    // The leak check cannot run in a traced process.
    const QString options = m_environment.value(QStringLiteral("ASAN_OPTIONS"));
    m_environment.insert(QStringLiteral("ASAN_OPTIONS"), options + QStringLiteral(":detect_leaks=0"));
}

void HostProcess::start(const std::filesystem::path &pane)
{
    QStringList command = m_tracing;
    command << QStringLiteral(PREFERENCES) << QStringLiteral("--pane") << QString::fromStdString(pane.native());
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.setProcessEnvironment(m_environment);
    m_process.start(command.takeFirst(), command);
    m_process.waitForStarted();
}

std::optional<int> HostProcess::end(std::chrono::milliseconds timeout)
{
    m_process.terminate();
    waitFor([this] { return !isRunning(); }, int(timeout.count()));
    if (isRunning() || m_process.exitStatus() != QProcess::NormalExit)
        return std::nullopt;
    return m_process.exitCode();
}

void HostProcess::kill()
{
    m_process.kill();
    m_process.waitForFinished();
}

std::string HostProcess::log()
{
    m_log += m_process.readAll().toStdString();
    return m_log;
}

bool HostProcess::waitForLog(const std::string &text, std::chrono::milliseconds timeout)
{
    return waitFor([&] { return log().find(text) != std::string::npos; }, int(timeout.count()));
}
