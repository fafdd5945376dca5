#include "Helper/PlacedFolder.h"

#include "Classes/Shared/stringWithFileSystemRepresentation.h"
#include "Platform/AliasManager.h"

#include <filesystem>
#include <system_error>

const std::string &PlacedFolder::place()
{
    if (!m_place) {
        std::error_code ignored;
        const auto found = AliasManager::current().resolve(record.alias);
        m_isFound = found && std::filesystem::is_directory(found->path, ignored);
        m_place = stringByCanonicalizingPath(m_isFound ? found->path : Path(record.folder)).native();
    }
    return *m_place;
}

bool PlacedFolder::isFound()
{
    place();
    return m_isFound;
}

void PlacedFolder::recordAt(const HistoryDatabase::Location &location)
{
    record.folder = location.folder;
    record.alias = location.alias;
    m_place = location.folder;
    m_isFound = true;
}
