#include "Classes/PrefPane/FolderPlaces.h"

#include "Classes/Shared/RQAlias.h"
#include "Classes/Shared/isDirectory.h"
#include "Classes/Shared/stringWithFileSystemRepresentation.h"

#include <algorithm>
#include <mutex>
#include <thread>
#include <utility>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

static constexpr std::size_t kAlwaysAtOnce = 20;
static constexpr auto kLongestAtOnce = 20ms;

// What was found on the thread serves for that long: savings may be announced four times a second.
static constexpr auto kServes = 3s;

/// What the thread knows of whom it works for. It may outlive it.
struct FolderPlaces::Owner
{
    std::mutex mutex;
    FolderPlaces *places = nullptr;
};

FolderPlaces::FolderPlaces(QObject *parent)
    : QObject(parent)
    , m_owner(std::make_shared<Owner>())
{
    m_owner->places = this;
}

FolderPlaces::~FolderPlaces()
{
    const std::lock_guard lock(m_owner->mutex);
    m_owner->places = nullptr;
}

std::string FolderPlaces::placeOf(const HistoryRecord &record)
{
    const RQAlias alias = RQAlias::aliasWithData(record.alias.empty() ? std::nullopt : std::optional(record.alias));
    const std::optional<Path> found = alias.fullPath();
    const bool isThere = found && !found->empty() && isDirectory(*found);
    return stringByCanonicalizingPath(isThere ? *found : Path(record.folder)).native();
}

std::vector<std::string> FolderPlaces::placesOf(const std::vector<HistoryRecord> &records)
{
    std::vector<std::string> places;
    places.reserve(records.size());
    std::vector<HistoryRecord> later;
    const Clock::time_point end = Clock::now() + kLongestAtOnce;
    for (const HistoryRecord &record : records) {
        if (places.size() < kAlwaysAtOnce || (later.empty() && Clock::now() < end)) {
            keep(record, placeOf(record));
            places.push_back(m_known[record.key].place);
            continue;
        }
        const Known *const before = known(record);
        places.push_back(before ? before->place : record.folder);
        later.push_back(record);
    }
    const bool isRecent = m_lastLook && Clock::now() - *m_lastLook < kServes;
    const bool isAllKnown = std::ranges::all_of(later, [this](const HistoryRecord &record) { return known(record); });
    if (!m_isLooking && !(isRecent && isAllKnown) && !later.empty())
        begin(std::move(later));
    return places;
}

const FolderPlaces::Known *FolderPlaces::known(const HistoryRecord &record) const
{
    const auto found = m_known.find(record.key);
    const bool isSame =
        found != m_known.end() && found->second.folder == record.folder && found->second.alias == record.alias;
    return isSame ? &found->second : nullptr;
}

void FolderPlaces::keep(const HistoryRecord &record, std::string place)
{
    m_known[record.key] = {record.folder, record.alias, std::move(place)};
}

void FolderPlaces::begin(std::vector<HistoryRecord> records)
{
    m_isLooking = true;
    std::thread([owner = m_owner, records = std::move(records)]() mutable {
        std::vector<std::string> found;
        for (const HistoryRecord &record : records)
            found.push_back(placeOf(record));
        const std::lock_guard lock(owner->mutex);
        if (FolderPlaces *const places = owner->places)
            QMetaObject::invokeMethod(
                places,
                [places, records = std::move(records), found = std::move(found)]() mutable {
                    places->finish(std::move(records), std::move(found));
                },
                Qt::QueuedConnection);
    }).detach();
}

void FolderPlaces::finish(std::vector<HistoryRecord> records, std::vector<std::string> places)
{
    m_isLooking = false;
    m_lastLook = Clock::now();
    bool isNew = false;
    for (std::size_t i = 0; i < records.size(); ++i) {
        const Known *const before = known(records[i]);
        isNew |= (before ? before->place : records[i].folder) != places[i];
        keep(records[i], std::move(places[i]));
    }
    if (isNew)
        Q_EMIT changed();
}
