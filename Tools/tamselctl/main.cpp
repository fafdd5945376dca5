#include "Platform/Services.h"
#include "Tools/tamselctl/CommandLine.h"
#include "Tools/tamselctl/MainBundle.h"

#include <QCoreApplication>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

int main(int argc, char **argv)
{
    // The words are taken before Qt sees them: a path need not be UTF-8, and no word is Qt's.
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    int qtArgumentCount = argc > 0 ? 1 : 0;
    ::setenv("DBUS_FATAL_WARNINGS", "0", 1);
    QCoreApplication application(qtArgumentCount, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tamselctl"));
    std::optional<MainBundle> mainBundle;
    const ExitCode exitCode = runCommandLine(words, [&mainBundle] {
        installEngineServices();
        installPaneServices();
        mainBundle.emplace();
    });
    if (std::ferror(stdout) || std::fclose(stdout) != 0) {
        std::fprintf(stderr, "tamselctl: cannot write to standard output: %s\n", std::strerror(errno));
        return int(ExitCode::Failed);
    }
    return int(exitCode);
}
