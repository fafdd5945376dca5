#include "Classes/Shared/LastPathComponentCompare.h"

ComparisonResult caseInsensitiveCompare(const QString &left, const QString &right)
{
    return compareValues(QString::compare(left, right, Qt::CaseInsensitive), 0);
}

ComparisonResult lastPathComponentCompare(const QString &left, const QString &right)
{
    return caseInsensitiveCompare(lastPathComponent(left), lastPathComponent(right));
}

QString lastPathComponent(const QString &path)
{
    const QString last = path.section(QLatin1Char('/'), -1, -1, QString::SectionSkipEmpty);
    return last.isEmpty() && path.startsWith(QLatin1Char('/')) ? QStringLiteral("/") : last;
}
