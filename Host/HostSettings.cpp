#include "Host/HostSettings.h"

#include "Classes/Shared/Log.h"
#include "Classes/Shared/keepAside.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

static const char *const kFileName = "com.dovrane.Preferences.plist";
static const char *const kLastPane = "LastPane";
static const char *const kWindowGeometry = "WindowGeometry";
static const char *const kTables = "Tables";
static const char *const kColumnWidths = "ColumnWidths";
static const char *const kSortColumn = "SortColumn";
static const char *const kSortsDescending = "SortsDescending";

HostSettings::HostSettings(Path path)
    : m_path(std::move(path))
{
    Result<PropertyList> read = PropertyList::read(m_path);
    if (read && read->as<PropertyList::Dictionary>())
        m_values = std::move(*read);
    else
        m_isDamaged = read || isUnreadableForGood(read.failure());
    m_isUnknown = !read && !m_isDamaged && read.failure().code != ErrorCode::NotFound;
}

Path HostSettings::defaultPath()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::ConfigLocation);
    return Path(QFile::encodeName(folder).toStdString()) / kFileName;
}

void HostSettings::setLastPane(const std::string &pane)
{
    if (pane == lastPane())
        return;
    m_values.set(kLastPane, pane);
    m_isChanged = true;
}

Bytes HostSettings::windowGeometry() const
{
    const PropertyList *const value = m_values.find(kWindowGeometry);
    const Bytes *const bytes = value ? value->as<Bytes>() : nullptr;
    return bytes ? *bytes : Bytes();
}

void HostSettings::setWindowGeometry(const Bytes &geometry)
{
    if (geometry == windowGeometry())
        return;
    m_values.set(kWindowGeometry, geometry);
    m_isChanged = true;
}

static int integer(const PropertyList *value, int other)
{
    constexpr std::uint64_t kMost = 1'000'000;
    const auto *const number = value ? value->as<PropertyListInteger>() : nullptr;
    return number && !number->isNegative && number->bits < kMost ? int(number->bits) : other;
}

TableState HostSettings::table(const std::string &name) const
{
    const PropertyList *const tables = m_values.find(kTables);
    const PropertyList *const stored = tables ? tables->find(name) : nullptr;
    TableState state;
    if (!stored)
        return state;
    const PropertyList *const widths = stored->find(kColumnWidths);
    if (const auto *const array = widths ? widths->as<PropertyList::Array>() : nullptr) {
        for (const PropertyList &width : *array)
            state.widths.push_back(integer(&width, 0));
    }
    state.sortColumn = integer(stored->find(kSortColumn), -1);
    const PropertyList *const isDescending = stored->find(kSortsDescending);
    const bool *const value = isDescending ? isDescending->as<bool>() : nullptr;
    state.isDescending = value && *value;
    return state;
}

void HostSettings::setTable(const std::string &name, const TableState &state)
{
    if (state == table(name))
        return;
    PropertyList::Array widths(state.widths.begin(), state.widths.end());
    PropertyList stored;
    stored.set(kColumnWidths, std::move(widths));
    if (state.sortColumn >= 0)
        stored.set(kSortColumn, state.sortColumn);
    stored.set(kSortsDescending, state.isDescending);
    const PropertyList *const before = m_values.find(kTables);
    PropertyList tables = before && before->as<PropertyList::Dictionary>() ? *before : PropertyList();
    tables.set(name, std::move(stored));
    m_values.set(kTables, std::move(tables));
    m_isChanged = true;
}

void HostSettings::save()
{
    if (!m_isChanged)
        return;
    if (m_isUnknown)
        return logLine("Settings could not be read and are not written: " + m_path.native());
    if (!makeWay())
        return;
    m_isDamaged = false;
    if (const Result<void> written = m_values.write(m_path); !written) {
        logLine("Could not write settings to file: " + written.failure().context);
        return;
    }
    m_isChanged = false;
}

/// Makes the folder and moves a damaged file out of the way; answers whether the file may be written.
bool HostSettings::makeWay() const
{
    QDir().mkpath(QFile::decodeName(QByteArray::fromStdString(m_path.parent_path().native())));
    if (!m_isDamaged)
        return true;
    const Result<Path> aside = keepAside(m_path);
    logLine(aside ? "Settings could not be read and were kept as " + aside->native()
                  : "Could not keep damaged settings aside: " + aside.failure().context);
    return aside || aside.failure().code == ErrorCode::NotFound;
}
