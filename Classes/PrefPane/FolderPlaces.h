#pragma once

#include "Classes/PrefPane/HistoryRecord.h"
#include "Classes/Shared/BackgroundLook.h"
#include "Classes/Shared/RQAlias.h"

#include <QObject>

#include <map>
#include <optional>
#include <string>
#include <vector>

/// Remembers where recorded folders are now. That is found out in the background; until it is, a folder is where it was
/// found last, or as it was recorded. Main thread.
class FolderPlaces final : public QObject
{
    Q_OBJECT

public:
    FolderPlaces();

    /// The place of each record, in their order. The first that names any waits a moment, so that a
    /// short list is right at once.
    std::vector<std::string> placesOf(const std::vector<HistoryRecord> &records);

    /// Folders may be elsewhere now: the next call looks at once, however short a time ago the last look was.
    void expire() { m_look.expire(); }

    /// Where the alias finds its folder; nothing when it does not, or finds something else. Looks at the disk. Any
    /// thread.
    static std::optional<Path> folderOf(const RQAlias &alias);

    /// Where the record's alias finds its folder, else the path that was recorded; canonical. Looks at the disk. Any
    /// thread.
    static std::string placeOf(const HistoryRecord &record);

Q_SIGNALS:
    /// More is known than was answered before.
    void changed();

private:
    /// What of a record tells where it is.
    struct Recorded
    {
        std::int64_t key = 0;
        std::string folder;
        Bytes alias;

        friend bool operator==(const Recorded &, const Recorded &) = default;
    };
    struct Known
    {
        Recorded recorded;
        std::string place;
    };

    static Recorded recorded(const HistoryRecord &record) { return {record.key, record.folder, record.alias}; }
    static std::string look(const Recorded &recorded);
    const std::string &known(const HistoryRecord &record) const;
    void take(std::vector<std::pair<Recorded, std::string>> answers);

    BackgroundLook<Recorded, std::string> m_look;
    std::map<std::int64_t, Known> m_known; ///< by the records' keys
    bool m_isFirst = true;
};
