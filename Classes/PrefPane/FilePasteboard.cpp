#include "Classes/PrefPane/FilePasteboard.h"

#include <QSysInfo>
#include <QUrl>

QStringList FilePasteboard::fileNames(const QMimeData &data)
{
    QStringList names;
    for (const QUrl &url : data.urls()) {
        if (!url.isLocalFile())
            continue;
        QString path = url.toLocalFile();
        while (path.size() > 1 && path.endsWith(u'/'))
            path.chop(1);
        names.append(path);
    }
    return names;
}

static bool isOnThisComputer(const QUrl &url)
{
    const QString host = url.host();
    return url.scheme() == QLatin1String("file") &&
           (host.isEmpty() || host == QLatin1String("localhost") ||
            host.compare(QSysInfo::machineHostName(), Qt::CaseInsensitive) == 0);
}

std::vector<Path> FilePasteboard::pathsIn(const QMimeData &data)
{
    std::vector<Path> paths;
    for (const QUrl &url : data.urls()) {
        if (!isOnThisComputer(url))
            continue;
        // Names need not be UTF-8, so they are never made a text.
        QByteArray path = QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1());
        while (path.size() > 1 && path.endsWith('/'))
            path.chop(1);
        if (path.startsWith('/') && !path.contains('\0'))
            paths.emplace_back(path.toStdString());
    }
    return paths;
}
