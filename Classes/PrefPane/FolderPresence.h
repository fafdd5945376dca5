#pragma once

#include "Classes/Shared/BackgroundLook.h"

#include <QObject>
#include <QTimer>

#include <functional>
#include <set>
#include <string>
#include <vector>

/// Remembers which paths name nothing. Looks at the disk in the background. Main thread.
class FolderPresence final : public QObject
{
    Q_OBJECT

public:
    using IsMissing = std::function<bool(const std::string &path)>;

    /// `isMissing` takes the place of the look at the disk, on the threads that it is made on; for tests.
    explicit FolderPresence(IsMissing isMissing = {});

    /// Whether nothing was there at the last look; no, before the first and where that cannot be said.
    bool isMissing(const std::string &path) const { return m_missing.contains(path); }

    /// Looks at these paths, and no longer at others; every few seconds again as long as one of them is missing.
    /// Returns at once.
    void look(std::vector<std::string> paths);

    /// Looks at the same paths again.
    void lookAgain();

Q_SIGNALS:
    /// The answer for at least one path is another than before.
    void changed();

private:
    void take(const std::vector<std::pair<std::string, bool>> &answers);

    BackgroundLook<std::string, bool> m_look;
    std::vector<std::string> m_paths; ///< in order
    std::set<std::string> m_missing;
    QTimer m_again;
};
