#include "Host/HostOptions.h"

#include <QCommandLineParser>
#include <QFileInfo>

#include <cstdio>
#include <cstdlib>
#include <string_view>

static const char *const kHelp =
    "Usage: Preferences [--pane BUNDLE] [--appearance light|dark|auto]\n"
    "Shows preference panes.\n"
    "\n"
    "  --pane BUNDLE     open with the pane in this bundle, given as a path, a name or an\n"
    "                    identifier; a host that runs already comes to the front with it\n"
    "  --appearance WAY  light or dark colours, or (auto) those that the desktop asks for\n"
    "  -h, --help        show this help\n";

[[noreturn]] static void endWithWrongUse(const QString &message)
{
    std::fprintf(stderr, "Preferences: %s\n%s", qPrintable(message), kHelp);
    std::exit(2);
}

static std::string paneOf(const QString &argument)
{
    // The instance that shows it may run in another folder.
    const bool isPath = argument.contains(QLatin1Char('/')) || QFileInfo(argument).isDir();
    return QFile::encodeName(isPath ? QFileInfo(argument).absoluteFilePath() : argument).toStdString();
}

static Appearance appearanceOf(const QString &argument)
{
    if (argument == QLatin1String("light"))
        return Appearance::Light;
    if (argument == QLatin1String("dark"))
        return Appearance::Dark;
    if (argument != QLatin1String("auto"))
        endWithWrongUse(QStringLiteral("no such appearance: ") + argument);
    return Appearance::Automatic;
}

void endIfAskedForHelp(int argc, char **argv)
{
    for (int index = 1; index < argc; ++index) {
        const std::string_view argument = argv[index];
        if (argument == "--help" || argument == "-h") {
            std::fputs(kHelp, stdout);
            std::exit(0);
        }
    }
}

HostOptions readHostOptions(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption pane(QStringLiteral("pane"), {}, QStringLiteral("bundle"));
    const QCommandLineOption appearance(QStringLiteral("appearance"), {}, QStringLiteral("way"),
                                        QStringLiteral("auto"));
    parser.addOptions({pane, appearance});
    if (!parser.parse(arguments))
        endWithWrongUse(parser.errorText());
    if (!parser.positionalArguments().isEmpty())
        endWithWrongUse(QStringLiteral("unexpected argument: ") + parser.positionalArguments().constFirst());
    return {parser.isSet(pane) ? paneOf(parser.value(pane)) : std::string(), appearanceOf(parser.value(appearance))};
}
