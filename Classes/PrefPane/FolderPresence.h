#pragma once

#include "Classes/Shared/BackgroundLook.h"

#include <QObject>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <map>
#include <string>
#include <vector>

/// What is where a folder should be.
struct FolderState
{
    bool isMissing = false;
    QStringList icons; ///< as `FileIconNames` names them

    friend bool operator==(const FolderState &, const FolderState &) = default;
};

/// Remembers which paths name nothing, and what kind of file the others name. Looks at the disk in the background. Main
/// thread.
class FolderPresence final : public QObject
{
    Q_OBJECT

public:
    using Look = std::function<FolderState(const std::string &path)>;

    /// `look` takes the place of the look at the disk, on the threads that it is made on; for tests.
    explicit FolderPresence(Look look = {});

    /// Whether nothing was there at the last look; no, before the first and where that cannot be said.
    bool isMissing(const std::string &path) const;

    /// The names of the icon for what was there when something was last; none for an ordinary folder.
    QStringList icons(const std::string &path) const;

    /// Looks at these paths, and no longer at others; every few seconds again as long as one of them is missing.
    /// Returns at once.
    void look(std::vector<std::string> paths);

    /// Looks at the same paths again.
    void lookAgain();

Q_SIGNALS:
    /// The answer for at least one path is another than before.
    void changed();

private:
    void take(const std::vector<std::pair<std::string, FolderState>> &answers);
    bool note(const std::string &path, FolderState state);

    BackgroundLook<std::string, FolderState> m_look;
    std::vector<std::string> m_paths;           ///< in order
    std::map<std::string, FolderState> m_known; ///< but for ordinary folders that are there
    QTimer m_again;
};
