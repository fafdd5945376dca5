#pragma once

#include <QObject>
#include <QTimer>

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// Remembers which paths name nothing. It looks at the disk on a thread of its own, since a network volume that does
/// not answer may keep that thread for ever. Main thread.
class FolderPresence final : public QObject
{
    Q_OBJECT

public:
    explicit FolderPresence(QObject *parent = nullptr);
    ~FolderPresence() override;

    /// Whether nothing was there at the last look; no, before the first and where that cannot be said.
    bool isMissing(const std::string &path) const { return m_missing.contains(path); }

    /// Looks at these paths, and no longer at others; every few seconds again as long as one of them is missing.
    /// Returns at once.
    void look(std::vector<std::string> paths);

    /// Looks at the same paths again.
    void lookAgain() { look(m_paths); }

Q_SIGNALS:
    /// The answer for at least one path is another than before.
    void changed();

private:
    struct Owner;

    void begin(std::vector<std::string> paths);
    void finish(std::set<std::string> missing);

    std::shared_ptr<Owner> m_owner;
    std::vector<std::string> m_paths;
    QTimer m_again;
    bool m_isLooking = false;
    std::optional<std::vector<std::string>> m_next; ///< asked for meanwhile
    std::set<std::string> m_missing;
};
