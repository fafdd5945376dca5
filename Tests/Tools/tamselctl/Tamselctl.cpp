#include "Tests/Tools/tamselctl/Tamselctl.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <csignal>

static constexpr int kPatienceMs = 30000;

RunningTamselctl::RunningTamselctl(const std::vector<std::string> &words, const std::string &standardOutput)
{
    // QProcess would take the words for text; a shell passes on whatever bytes it was given in octal.
    std::string command = "exec \"$0\"";
    for (const std::string &word : words) {
        command += " \"$(printf '";
        for (const char character : word) {
            char octal[5] = {};
            std::snprintf(octal, sizeof octal, "\\%03o", unsigned(static_cast<unsigned char>(character)));
            command += octal;
        }
        command += "')\"";
    }
    if (!standardOutput.empty())
        m_process.setStandardOutputFile(QString::fromStdString(standardOutput));
    m_process.start(QStringLiteral("sh"),
                    {QStringLiteral("-c"), QString::fromStdString(command), QStringLiteral(TAMSELCTL)});
    EXPECT_TRUE(m_process.waitForStarted(kPatienceMs));
}

bool RunningTamselctl::waitForError(const std::string &text)
{
    return waitForText(text, m_err);
}

bool RunningTamselctl::waitForOutput(const std::string &text)
{
    return waitForText(text, m_out);
}

/// `in` is one of the two texts that are read meanwhile.
bool RunningTamselctl::waitForText(const std::string &text, const std::string &in)
{
    QElapsedTimer timer;
    timer.start();
    while (in.find(text) == std::string::npos) {
        if (m_process.state() == QProcess::NotRunning || timer.elapsed() > kPatienceMs)
            return false;
        m_process.waitForReadyRead(100);
        m_out += m_process.readAllStandardOutput().toStdString();
        m_err += m_process.readAllStandardError().toStdString();
    }
    return true;
}

void RunningTamselctl::send(int signal) const
{
    EXPECT_EQ(::kill(pid_t(m_process.processId()), signal), 0);
}

Ended RunningTamselctl::waitForEnd()
{
    Ended ended;
    if (m_process.state() == QProcess::NotRunning || m_process.waitForFinished(kPatienceMs)) {
        if (m_process.exitStatus() == QProcess::NormalExit)
            ended.exitCode = m_process.exitCode();
    } else {
        m_process.kill();
        m_process.waitForFinished();
    }
    ended.out = m_out + m_process.readAllStandardOutput().toStdString();
    ended.err = m_err + m_process.readAllStandardError().toStdString();
    return ended;
}

Ended tamselctl(const std::vector<std::string> &words, const std::string &standardOutput)
{
    return RunningTamselctl(words, standardOutput).waitForEnd();
}

std::vector<QVariantMap> jsonLines(const std::string &out)
{
    std::vector<QVariantMap> objects;
    for (const QByteArray &line : QByteArray::fromStdString(out).split('\n')) {
        if (line.isEmpty())
            continue;
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(line, &error);
        EXPECT_EQ(error.error, QJsonParseError::NoError) << line.toStdString();
        EXPECT_TRUE(document.isObject()) << line.toStdString();
        objects.push_back(document.object().toVariantMap());
    }
    EXPECT_TRUE(out.empty() || out.back() == '\n');
    return objects;
}
