#pragma once

#include "Platform/Types.h"

#include <QObject>
#include <QTimer>

#include <functional>
#include <stop_token>
#include <thread>
#include <vector>

/// Searches for folders that are not where they were, which may take seconds, on a thread of its own. After that the
/// main thread, which never searches, finds them at once. Main thread.
class MovedFolders final : public QObject
{
    Q_OBJECT

public:
    MovedFolders();

    /// Waits for the search that is under way.
    ~MovedFolders() override;

    /// Searches for what these records mean. `done` is called from the event loop when all were searched for or that
    /// has taken too long. One at a time.
    void find(std::vector<Bytes> aliases, std::function<void()> done);

    /// Calls nothing any more.
    void cancel();

private:
    void search(const std::vector<Bytes> &aliases, const std::stop_token &stop);
    void finish();

    std::function<void()> m_done;
    QTimer m_patience;
    bool m_isSearching = false;
    std::jthread m_thread;
};
