#include "Tests/Support/HostProcess.h"

#include "Tests/Support/WaitFor.h"
#include "Tests/Support/environmentWithoutLeakCheck.h"

#include <iostream>

HostProcess::HostProcess()
    : m_environment(environmentWithoutLeakCheck())
{
    QObject::connect(&m_process, &QProcess::readyRead, &m_process, [this] { read(); });
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
}

void HostProcess::showOn(const std::string &display)
{
    setVariable("QT_QPA_PLATFORM", "xcb");
    setVariable("DISPLAY", display);
    setVariable("QT_LOGGING_RULES", "qt.widgets.painting.info=true"); // which tells of each frame
}

void HostProcess::start(const std::filesystem::path &pane)
{
    QStringList command = m_tracing;
    command << QStringLiteral(PREFERENCES) << QStringLiteral("--pane") << QString::fromStdString(pane.native());
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.setProcessEnvironment(m_environment);
    m_started = std::chrono::steady_clock::now();
    m_process.start(command.takeFirst(), command);
    m_process.waitForStarted();
}

std::optional<int> HostProcess::end(std::chrono::milliseconds timeout)
{
    m_process.terminate();
    return waitForEnd(timeout);
}

std::optional<int> HostProcess::waitForEnd(std::chrono::milliseconds timeout)
{
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

int HostProcess::helperId()
{
    static const std::string before = "running app is com.dovrane.TamselHelper (";
    const std::string text = log();
    const std::size_t at = text.rfind(before);
    return at == std::string::npos ? 0 : std::stoi(text.substr(at + before.size()));
}

static std::optional<std::chrono::milliseconds> since(std::chrono::steady_clock::time_point start,
                                                      std::optional<std::chrono::steady_clock::time_point> time)
{
    return time ? std::optional(std::chrono::duration_cast<std::chrono::milliseconds>(*time - start)) : std::nullopt;
}

std::optional<std::chrono::milliseconds> HostProcess::firstFrame()
{
    read();
    return since(m_started, m_firstFrame);
}

std::optional<std::chrono::milliseconds> HostProcess::firstFrameOfPane()
{
    read();
    return since(m_started, m_firstFrameOfPane);
}

/// Notes the frames, and keeps what is no talk of painting.
void HostProcess::read()
{
    while (m_process.canReadLine()) {
        const std::string line = m_process.readLine().toStdString();
        if (!line.starts_with("qt.widgets.painting: "))
            m_log += line;
        if (line.find(" Flushing ") == std::string::npos)
            continue;
        const Time now = std::chrono::steady_clock::now();
        if (!m_firstFrame)
            m_firstFrame = now;
        // The pane logs this at the end of its start, in which nothing is painted.
        if (!m_firstFrameOfPane && m_log.find("running app is") != std::string::npos)
            m_firstFrameOfPane = now;
    }
}

std::string HostProcess::log()
{
    read();
    return m_log;
}

bool HostProcess::waitForLog(const std::string &text, std::chrono::milliseconds timeout)
{
    return waitFor([&] { return log().find(text) != std::string::npos; }, int(timeout.count()));
}
