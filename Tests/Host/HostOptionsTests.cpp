#include "Host/HostOptions.h"

#include "Tests/Support/PrivateHome.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <filesystem>

namespace fs = std::filesystem;

static HostOptions read(const QStringList &arguments)
{
    return readHostOptions(QStringList(QStringLiteral("Preferences")) + arguments);
}

TEST(HostOptions, none_areLastPaneAndTheDesktopsColours)
{
    const HostOptions options = read({});
    EXPECT_EQ(options.pane, "");
    EXPECT_EQ(options.appearance, Appearance::Automatic);
}

TEST(HostOptions, pane_asAPath_isMadeAbsolute)
{
    fs::current_path(PrivateHome::current().makeFolder("here"));
    fs::create_directories("B.prefPane");
    const std::string here = fs::current_path().native();
    EXPECT_EQ(read({QStringLiteral("--pane"), QStringLiteral("/a/B.prefPane")}).pane, "/a/B.prefPane");
    EXPECT_EQ(read({QStringLiteral("--pane"), QStringLiteral("x/C.prefPane")}).pane, here + "/x/C.prefPane");
    EXPECT_EQ(read({QStringLiteral("--pane=B.prefPane")}).pane, here + "/B.prefPane");
}

TEST(HostOptions, pane_asAName_staysAName)
{
    EXPECT_EQ(read({QStringLiteral("--pane"), QStringLiteral("Tamsel")}).pane, "Tamsel");
}

TEST(HostOptions, appearance_isRead)
{
    EXPECT_EQ(read({QStringLiteral("--appearance"), QStringLiteral("dark")}).appearance, Appearance::Dark);
    EXPECT_EQ(read({QStringLiteral("--appearance=light")}).appearance, Appearance::Light);
}

TEST(HostOptions, wrongUse_endsWithTwo)
{
    const std::pair<QStringList, const char *> rows[] = {
        {{QStringLiteral("--appearance=pink")}, "no such appearance: pink"},
        {{QStringLiteral("--unknown")}, "unknown"},
        {{QStringLiteral("--pane")}, "pane"},
        {{QStringLiteral("left over")}, "unexpected argument: left over"}};
    for (const auto &[arguments, message] : rows)
        EXPECT_EXIT(read(arguments), ::testing::ExitedWithCode(2), message);
}

TEST(HostOptions, help_isPrintedAndEndsWithZero)
{
    char program[] = "Preferences", pane[] = "--pane", help[] = "--help";
    char *arguments[] = {program, pane, help, nullptr};
    EXPECT_EXIT(endIfAskedForHelp(3, arguments), ::testing::ExitedWithCode(0), "");
    endIfAskedForHelp(2, arguments);
}
