#include "Classes/PrefPane/FilePasteboard.h"

#include <QFile>
#include <QSysInfo>
#include <QUrl>

/// Some programs name the computer, although it is this one.
static bool isOnThisComputer(const QUrl &url)
{
    const QString host = url.host();
    return url.scheme() == QLatin1String("file") &&
           (host.isEmpty() || host == QLatin1String("localhost") ||
            host.compare(QSysInfo::machineHostName(), Qt::CaseInsensitive) == 0);
}

std::optional<Path> FilePasteboard::pathOf(const QUrl &url)
{
    if (!isOnThisComputer(url))
        return std::nullopt;
    // Names need not be UTF-8, so they are never made a text.
    QByteArray path = QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1());
    while (path.size() > 1 && path.endsWith('/'))
        path.chop(1);
    if (!path.startsWith('/') || path.contains('\0'))
        return std::nullopt;
    return Path(path.toStdString());
}

std::vector<Path> FilePasteboard::pathsIn(const QMimeData &data)
{
    std::vector<Path> paths;
    for (const QUrl &url : data.urls()) {
        if (std::optional<Path> path = pathOf(url))
            paths.push_back(*std::move(path));
    }
    return paths;
}

QStringList FilePasteboard::fileNames(const QMimeData &data)
{
    QStringList names;
    for (const Path &path : pathsIn(data))
        names.append(QFile::decodeName(path.c_str()));
    return names;
}
