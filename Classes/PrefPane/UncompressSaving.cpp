#include "Classes/PrefPane/UncompressSaving.h"

#include "Classes/PrefPane/ExpansionRun.h"

#include <QSaveFile>

UncompressSaving::~UncompressSaving()
{
    m_thread.request_stop();
    if (m_thread.joinable())
        m_thread.join();
}

void UncompressSaving::save(std::shared_ptr<const ExpansionRun> run, const QString &file)
{
    if (m_thread.joinable())
        m_thread.join(); // to put another in its place would stop it
    m_thread = std::jthread([this, run = std::move(run), file](std::stop_token stop) {
        const QString fault = write(*run, file, std::move(stop));
        QMetaObject::invokeMethod(
            this, [this, file, fault] { Q_EMIT ended(file, fault); }, Qt::QueuedConnection);
    });
}

QString UncompressSaving::write(const ExpansionRun &run, const QString &file, std::stop_token stop)
{
    QSaveFile output(file);
    if (!output.open(QIODevice::WriteOnly))
        return output.errorString();
    const Result<void> read = run.journal().read([&](std::string_view piece) {
        return !stop.stop_requested() && output.write(piece.data(), qint64(piece.size())) == qint64(piece.size());
    });
    if (!read)
        return QString::fromStdString(read.failure().context);
    if (stop.stop_requested())
        output.cancelWriting();
    return output.commit() ? QString() : output.errorString();
}
