#include "Tests/Support/WriterProcess.h"

#include <unistd.h>

static constexpr int kTimeoutMs = 20000;
static constexpr uid_t kNobody = 65534;

WriterProcess::WriterProcess(const Path &store, bool asNobody)
{
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    if (asNobody)
        m_process.setChildProcessModifier([] {
            if (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0)
                ::_exit(99);
        });
    m_process.start(QStringLiteral(TAMSEL_HISTORY_WRITER), {QString::fromStdString(store.native())});
    m_opening = line();
}

WriterProcess::~WriterProcess()
{
    quit();
}

std::string WriterProcess::run(const std::string &command)
{
    m_process.write(QByteArray::fromStdString(command + '\n'));
    return line();
}

void WriterProcess::kill()
{
    m_process.kill();
    m_process.waitForFinished(kTimeoutMs);
}

void WriterProcess::quit()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.closeWriteChannel();
    if (!m_process.waitForFinished(kTimeoutMs))
        kill();
}

std::string WriterProcess::line()
{
    while (!m_process.canReadLine()) {
        if (!m_process.waitForReadyRead(kTimeoutMs))
            return "failed: no answer";
    }
    return m_process.readLine().trimmed().toStdString();
}
