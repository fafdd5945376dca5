#include "Tests/Support/HelperProcess.h"

#include "Platform/Workspace.h"
#include "Tests/Support/WaitFor.h"
#include "Tests/Support/environmentWithoutLeakCheck.h"

#include <csignal>
#include <iostream>

static constexpr const char *kIdentifier = "com.dovrane.TamselHelper";

HelperProcess::HelperProcess(const std::filesystem::path &bundle)
{
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.setProcessEnvironment(environmentWithoutLeakCheck());
    m_process.start(QString::fromStdString((bundle / "Contents/MacOS/TamselHelper").native()), QStringList());
    m_process.waitForStarted();
}

HelperProcess::~HelperProcess()
{
    kill();
    std::cout << log(); // shown with a test that failed
}

std::optional<int> HelperProcess::waitForEnd(std::chrono::milliseconds timeout)
{
    waitFor([this] { return !isRunning(); }, int(timeout.count()));
    if (isRunning() || m_process.exitStatus() != QProcess::NormalExit)
        return std::nullopt;
    return m_process.exitCode();
}

bool HelperProcess::waitUntilFound()
{
    return waitForLog(" starts in ") && waitFor([] { return Workspace::current().isRunning(kIdentifier); });
}

void HelperProcess::kill()
{
    m_process.kill();
    m_process.waitForFinished();
}

void HelperProcess::freeze()
{
    ::kill(pid_t(id()), SIGSTOP);
}

std::string HelperProcess::log()
{
    m_log += m_process.readAll().toStdString();
    return m_log;
}

bool HelperProcess::waitForLog(const std::string &text)
{
    return waitFor([&] { return log().find(text) != std::string::npos; });
}
