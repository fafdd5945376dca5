#include "Classes/PrefPane/FilePasteboard.h"

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
