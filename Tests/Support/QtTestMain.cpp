#include "Platform/Services.h"
#include "Tests/Support/PrivateHome.h"

#include <QApplication>
#include <QFont>

#include <gmock/gmock.h>

int main(int argc, char **argv)
{
    ::setenv("DBUS_FATAL_WARNINGS", "0", 1);
    if (!::getenv("QT_QPA_PLATFORM"))
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    const PrivateHome home;
    QApplication application(argc, argv);
    application.setFont(QFont(QStringLiteral("DejaVu Sans"), 9));
    installEngineServices();
    installPaneServices();
    ::testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
