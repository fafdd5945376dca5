#pragma once

#include <QProcessEnvironment>

/// That of this process, for whole programs that it starts: what the threads of their libraries still hold when they
/// end is now and then taken for lost. The tests themselves do look for leaks.
inline QProcessEnvironment environmentWithoutLeakCheck()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const QString options = QStringLiteral("ASAN_OPTIONS");
    environment.insert(options, environment.value(options) + QStringLiteral(":detect_leaks=0"));
    return environment;
}
