#pragma once

#include "Platform/Types.h"

#include <QObject>
#include <QTimer>

#include <map>

class WatchedFolders;

/// Writes what surveys find to the history and announces it ("pellixSavingsChanged"): four times a second at most, and
/// once at the end. Main thread.
class SavingsRecorder final : public QObject
{
    Q_OBJECT

public:
    /// `folders` must outlive this.
    explicit SavingsRecorder(WatchedFolders &folders);

    /// Takes the place of what was noted for that folder and not yet written.
    void note(qint64 key, unsigned status, ByteCount savings);

    /// Something else in the history has changed.
    void noteChange();

    /// Writes and announces what is still waiting, and announces the end.
    void finish();

    /// Writes what is still waiting and announces nothing.
    void write();

private:
    struct Progress
    {
        unsigned status = 0;
        ByteCount savings = 0;
    };

    void announce();

    WatchedFolders &m_folders;
    std::map<qint64, Progress> m_waiting;
    bool m_isChanged = false;
    QTimer m_pause; ///< active while the last announcement is too recent
};
