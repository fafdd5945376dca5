#include "Classes/PrefPane/FolderPlaces.h"

#include "Classes/Shared/isDirectory.h"
#include "Classes/Shared/map.h"
#include "Classes/Shared/stringWithFileSystemRepresentation.h"

#include <chrono>
#include <utility>

static constexpr std::chrono::milliseconds kFirstWait{20};

static std::string placeBy(const Bytes &data, const std::string &folder)
{
    const RQAlias alias = RQAlias::aliasWithData(data.empty() ? std::nullopt : std::optional(data));
    return stringByCanonicalizingPath(FolderPlaces::folderOf(alias).value_or(folder)).native();
}

std::optional<Path> FolderPlaces::folderOf(const RQAlias &alias)
{
    const std::optional<Path> path = alias.fullPath();
    return path && !path->empty() && isDirectory(*path) ? path : std::nullopt;
}

FolderPlaces::FolderPlaces()
    : m_look(look, [this](auto answers) { take(std::move(answers)); })
{
}

std::string FolderPlaces::placeOf(const HistoryRecord &record)
{
    return placeBy(record.alias, record.folder);
}

std::string FolderPlaces::look(const Recorded &recorded)
{
    return placeBy(recorded.alias, recorded.folder);
}

std::vector<std::string> FolderPlaces::placesOf(const std::vector<HistoryRecord> &records)
{
    m_look.begin(map(records, recorded));
    if (m_isFirst)
        m_look.wait(kFirstWait);
    m_isFirst = m_isFirst && records.empty();
    return map(records, [this](const HistoryRecord &record) { return known(record); });
}

const std::string &FolderPlaces::known(const HistoryRecord &record) const
{
    const auto found = m_known.find(record.key);
    const bool isSame = found != m_known.end() && found->second.recorded.folder == record.folder &&
                        found->second.recorded.alias == record.alias;
    return isSame ? found->second.place : record.folder;
}

void FolderPlaces::take(std::vector<std::pair<Recorded, std::string>> answers)
{
    bool isNew = false;
    for (auto &[recorded, place] : answers) {
        Known &known = m_known[recorded.key];
        isNew |= (known.recorded == recorded ? known.place : recorded.folder) != place;
        known = {std::move(recorded), std::move(place)};
    }
    if (isNew && !m_isFirst)
        Q_EMIT changed();
}
