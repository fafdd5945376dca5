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
    qsizetype end = path.size();
    while (end > 0 && path[end - 1] == u'/')
        --end;
    if (end == 0)
        return path.isEmpty() ? QString() : QStringLiteral("/");
    const qsizetype start = path.lastIndexOf(u'/', end - 1) + 1;
    return path.mid(start, end - start);
}
