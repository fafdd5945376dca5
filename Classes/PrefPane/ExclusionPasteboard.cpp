#include "Classes/PrefPane/ExclusionPasteboard.h"

#include "Classes/PrefPane/FilePasteboard.h"
#include "Classes/PrefPane/PXExclusionsController.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QUrl>

static QString withoutEndingSlashes(QString path)
{
    while (path.size() > 1 && path.endsWith(u'/'))
        path.chop(1);
    return path;
}

static QString pathOf(QString line)
{
    if (line.size() > 1 && (line.startsWith(u'"') || line.startsWith(u'\'')) && line.endsWith(line.front()))
        line = line.mid(1, line.size() - 2);
    if (line.startsWith(QLatin1String("file://")))
        line = QFile::decodeName(FilePasteboard::pathOf(QUrl(line)).value_or(Path()).c_str());
    else if (line.startsWith(QLatin1String("~/")))
        line = QDir::homePath() + line.mid(1);
    return line.startsWith(u'/') ? withoutEndingSlashes(line) : QString();
}

QStringList ExclusionPasteboard::pathsIn(const QMimeData &data)
{
    if (const QStringList files = FilePasteboard::fileNames(data); !files.isEmpty())
        return files;
    QStringList paths;
    for (const QString &line : data.text().split(u'\n')) {
        if (const QString path = pathOf(line.trimmed()); !path.isEmpty())
            paths.append(path);
    }
    return paths;
}

QStringList ExclusionPasteboard::extensionsIn(const QMimeData &data)
{
    if (const QStringList files = FilePasteboard::fileNames(data); !files.isEmpty())
        return PXExclusionsController::extensionsFor(files);
    static const QRegularExpression kBetween(QStringLiteral("[\\s,;]+"));
    static const QRegularExpression kExtension(QStringLiteral("^[*.]*([A-Za-z0-9_+-][A-Za-z0-9._+-]*)$"));
    QStringList extensions;
    for (const QString &word : data.text().split(kBetween, Qt::SkipEmptyParts)) {
        if (const auto match = kExtension.match(word); match.hasMatch())
            extensions.append(match.captured(1));
    }
    return extensions;
}
