#pragma once

#include <QObject>

#include <memory>
#include <thread>

class ExpansionRun;

/// Writes the list of all files of a run to a text file, on a thread of its own, for whose end it waits when it goes.
/// Main thread.
class UncompressSaving final : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
    ~UncompressSaving() override;

    /// Begins to write; whatever stands at `file` is replaced once the new file is written. `run` has ended. One at a
    /// time: a saving that is under way is waited for.
    void save(std::shared_ptr<const ExpansionRun> run, const QString &file);

    /// Until `ended` is told.
    bool isSaving() const { return m_underWay > 0; }

Q_SIGNALS:
    /// `fault`: what the system said, empty when all went well. `isWritten`: whether the file is there; with a fault,
    /// some lines are missing from it.
    void ended(const QString &file, const QString &fault, bool isWritten);

private:
    void end(const QString &file, const QString &fault, bool isWritten);

    int m_underWay = 0;
    std::thread m_thread;
};
