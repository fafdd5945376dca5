#include "Tests/Support/VirtualDisplay.h"

#include "Tests/Support/WaitFor.h"

#include <stdexcept>

static constexpr int kTimeoutMs = 60000;

VirtualDisplay::VirtualDisplay()
    : m_environment(QProcessEnvironment::systemEnvironment())
{
    // It chooses a free number by itself and writes it once it can be used.
    m_server.start(QStringLiteral("Xvfb"),
                   {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"), QStringLiteral("0"),
                    QStringLiteral("1280x900x24"), QStringLiteral("-nolisten"), QStringLiteral("tcp")});
    while (!m_server.canReadLine()) {
        if (!m_server.waitForReadyRead(kTimeoutMs))
            throw std::runtime_error("Xvfb did not start: " + m_server.readAllStandardError().toStdString());
    }
    m_name = ':' + m_server.readLine().trimmed().toStdString();
    m_environment.insert(QStringLiteral("DISPLAY"), QString::fromStdString(m_name));
    m_windowManager.setProcessEnvironment(m_environment);
    m_windowManager.start(QStringLiteral("openbox"), {QStringLiteral("--sm-disable")});
}

VirtualDisplay::~VirtualDisplay()
{
    for (QProcess *const process : {&m_windowManager, &m_server}) {
        process->kill();
        process->waitForFinished();
    }
}

static QStringList search(const std::string &title)
{
    return {QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--name"),
            QString::fromStdString(title)};
}

bool VirtualDisplay::activate(const std::string &title)
{
    return waitFor([&] { return run(search(title) << QStringLiteral("windowactivate") << QStringLiteral("--sync")); },
                   kTimeoutMs);
}

bool VirtualDisplay::click(const std::string &title, const QPoint &point)
{
    return run(search(title) << QStringLiteral("mousemove") << QStringLiteral("--window") << QStringLiteral("%1")
                             << QString::number(point.x()) << QString::number(point.y()) << QStringLiteral("click")
                             << QStringLiteral("1"));
}

bool VirtualDisplay::drag(const std::string &title, const QPoint &from, const QPoint &to)
{
    const auto moveTo = [&](const QPoint &point) {
        return run(search(title) << QStringLiteral("mousemove") << QStringLiteral("--sync")
                                 << QStringLiteral("--window") << QStringLiteral("%1") << QString::number(point.x())
                                 << QString::number(point.y()));
    };
    const auto button = [&](const char *what) { return run({QString::fromLatin1(what), QStringLiteral("1")}); };
    return moveTo(from) && button("mousedown") && moveTo((from + to) / 2) && moveTo(to) && button("mouseup");
}

bool VirtualDisplay::press(const QStringList &keys)
{
    return run(QStringList{QStringLiteral("key"), QStringLiteral("--delay"), QStringLiteral("60")} + keys);
}

bool VirtualDisplay::type(const std::string &text)
{
    return run({QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("20"), QString::fromStdString(text)});
}

bool VirtualDisplay::isShown(const std::string &title)
{
    return run(search(title));
}

std::string VirtualDisplay::clipboardText()
{
    QProcessEnvironment environment = m_environment;
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    QProcess reader;
    reader.setProcessEnvironment(environment);
    reader.start(QStringLiteral(TAMSEL_CLIPBOARD_TEXT), QStringList());
    reader.waitForFinished(kTimeoutMs);
    return reader.readAllStandardOutput().toStdString();
}

bool VirtualDisplay::run(const QStringList &arguments, QByteArray *said)
{
    QProcess process;
    process.setProcessEnvironment(m_environment);
    process.start(QStringLiteral("xdotool"), arguments);
    const bool isFinished = process.waitForFinished(kTimeoutMs);
    if (said)
        *said = process.readAllStandardOutput();
    if (isFinished)
        return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    process.kill();
    process.waitForFinished();
    return false;
}
