#include "Tests/Support/FileDrag.h"

#include "Tests/Support/WaitFor.h"

#include <QFile>
#include <QRegularExpression>

static constexpr int kTimeoutMs = 60000;
static constexpr int kSteps = 20;
static constexpr QPoint kStart{30, 30};

static QStringList moving(const QPoint &to)
{
    return {QStringLiteral("mousemove"), QString::number(to.x()), QString::number(to.y())};
}

FileDrag::FileDrag(VirtualDisplay &display, const std::vector<std::filesystem::path> &files)
    : m_display(display)
{
    QStringList arguments;
    for (const std::filesystem::path &file : files)
        arguments.append(QFile::decodeName(file.c_str()));
    QProcessEnvironment environment = display.environment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    m_source.setProcessEnvironment(environment);
    m_source.start(QStringLiteral(TAMSEL_DRAG_SOURCE), arguments);
    const QStringList search{QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--name"),
                             QStringLiteral("Drag source")};
    const bool isShown = waitFor([&] { return m_display.run(search); }, kTimeoutMs);
    m_isHeld =
        isShown && m_display.run(moving(kStart)) && m_display.run({QStringLiteral("mousedown"), QStringLiteral("1")});
    m_pointer = kStart;
}

FileDrag::~FileDrag()
{
    if (m_isHeld)
        m_display.run({QStringLiteral("mouseup"), QStringLiteral("1")});
    m_source.kill();
    m_source.waitForFinished();
}

bool FileDrag::moveTo(const std::string &title, const QPoint &point)
{
    QByteArray said;
    const QStringList search{QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--name"),
                             QString::fromStdString(title), QStringLiteral("getwindowgeometry")};
    if (!m_display.run(search, &said))
        return false;
    static const QRegularExpression s_position(QStringLiteral("Position: (-?\\d+),(-?\\d+)"));
    const QRegularExpressionMatch match = s_position.match(QString::fromLatin1(said));
    return match.hasMatch() && movePointer(QPoint(match.captured(1).toInt(), match.captured(2).toInt()) + point);
}

/// In small steps with pauses, for a drag is only noticed, and followed, as it moves.
bool FileDrag::movePointer(const QPoint &to)
{
    QStringList steps;
    for (int step = 1; step <= kSteps; ++step) {
        steps += moving(m_pointer + (to - m_pointer) * step / kSteps);
        steps += {QStringLiteral("sleep"), QStringLiteral("0.03")};
    }
    m_pointer = to;
    return m_isHeld && m_display.run(steps);
}

bool FileDrag::letGo()
{
    m_isHeld = !m_display.run({QStringLiteral("mouseup"), QStringLiteral("1")});
    return !m_isHeld;
}

bool FileDrag::waitUntilDone()
{
    return waitFor([this] { return m_source.state() == QProcess::NotRunning; }, kTimeoutMs);
}
