#include "Classes/PrefPane/UncompressSaving.h"

#include "Classes/PrefPane/ExpansionRun.h"

#include <QSaveFile>

#include <system_error>

namespace {

struct Written
{
    QString fault;
    bool isThere = false;
};

} // namespace

static Written write(const ExpansionRun &run, const QString &file)
{
    QSaveFile output(file);
    if (!output.open(QIODevice::WriteOnly))
        return {output.errorString()};
    const Result<void> read = run.journal().read([&](std::string_view piece) {
        return output.write(piece.data(), qint64(piece.size())) == qint64(piece.size());
    });
    const QString fault = read ? QString() : QString::fromStdString(read.failure().context);
    if (!read && output.pos() == 0)
        return {fault}; // whatever stands there is better than nothing
    if (!output.commit())
        return {output.errorString()};
    return {fault, true};
}

UncompressSaving::~UncompressSaving()
{
    if (m_thread.joinable())
        m_thread.join();
}

void UncompressSaving::save(std::shared_ptr<const ExpansionRun> run, const QString &file)
{
    if (m_thread.joinable())
        m_thread.join();
    ++m_underWay;
    try {
        m_thread = std::thread([this, run = std::move(run), file] {
            const Written written = write(*run, file);
            QMetaObject::invokeMethod(
                this, [this, file, written] { end(file, written.fault, written.isThere); }, Qt::QueuedConnection);
        });
    } catch (const std::system_error &failure) {
        end(file, QString::fromLocal8Bit(failure.what()), false);
    }
}

void UncompressSaving::end(const QString &file, const QString &fault, bool isWritten)
{
    --m_underWay;
    Q_EMIT ended(file, fault, isWritten);
}
