#pragma once

#include <QObject>

#include <memory>
#include <thread>

class ExpansionRun;

/// Writes the list of all files of a run to a text file, on a thread of its own. Main thread.
class UncompressSaving final : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
    ~UncompressSaving() override;

    /// Begins to write; whatever stands at `file` is replaced once the new file is whole. `run` has ended. One at a
    /// time: a saving that is under way is waited for.
    void save(std::shared_ptr<const ExpansionRun> run, const QString &file);

Q_SIGNALS:
    /// `fault`: what the system said, empty when the file was written.
    void ended(const QString &file, const QString &fault);

private:
    static QString write(const ExpansionRun &run, const QString &file, std::stop_token stop);

    std::jthread m_thread;
};
