#include "Tests/Support/WriterProcess.h"

static constexpr int kTimeoutMs = 20000;

WriterProcess::WriterProcess(const Path &store, bool asNobody)
{
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QStringList arguments = {QString::fromStdString(store.native())};
    if (asNobody)
        arguments.prepend(QStringLiteral("--as-nobody"));
    m_process.start(QStringLiteral(TAMSEL_HISTORY_WRITER), arguments);
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
