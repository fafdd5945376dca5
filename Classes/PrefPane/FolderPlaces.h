#pragma once

#include "Classes/PrefPane/HistoryRecord.h"

#include <QObject>

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// Remembers where recorded folders are now. A short list is looked up at once; of a long one, what takes too long is
/// found out on a thread of its own, and until then is as it was found last, or as it was recorded. Main thread.
class FolderPlaces final : public QObject
{
    Q_OBJECT

public:
    explicit FolderPlaces(QObject *parent = nullptr);
    ~FolderPlaces() override;

    /// The place of each record, in their order.
    std::vector<std::string> placesOf(const std::vector<HistoryRecord> &records);

    /// Where the record's alias finds its folder, else the path that was recorded; canonical. Looks at the disk. Any
    /// thread.
    static std::string placeOf(const HistoryRecord &record);

Q_SIGNALS:
    /// More is known than was answered before.
    void changed();

private:
    struct Owner;
    struct Known
    {
        std::string folder; ///< as recorded, with the alias, when the place was found
        Bytes alias;
        std::string place;
    };

    const Known *known(const HistoryRecord &record) const;
    void keep(const HistoryRecord &record, std::string place);
    void begin(std::vector<HistoryRecord> records);
    void finish(std::vector<HistoryRecord> records, std::vector<std::string> places);

    std::shared_ptr<Owner> m_owner;
    std::map<std::int64_t, Known> m_known; ///< by the records' keys
    bool m_isLooking = false;
    std::optional<std::chrono::steady_clock::time_point> m_lastLook; ///< when the thread was done last
};
