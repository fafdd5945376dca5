#include "Host/HostSettings.h"

#include "Classes/Shared/Log.h"
#include "Classes/Shared/keepAside.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

static const char *const kFileName = "com.dovrane.Preferences.plist";
static const char *const kLastPane = "LastPane";
static const char *const kWindowGeometry = "WindowGeometry";

HostSettings::HostSettings(Path path)
    : m_path(std::move(path))
{
    Result<PropertyList> read = PropertyList::read(m_path);
    if (read && read->as<PropertyList::Dictionary>())
        m_values = std::move(*read);
    else
        m_isDamaged = read || read.failure().code != ErrorCode::NotFound;
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

void HostSettings::save()
{
    if (!m_isChanged || !makeWay())
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
