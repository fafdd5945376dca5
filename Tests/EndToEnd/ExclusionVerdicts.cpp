#include "Classes/PrefPane/Exclusions.h"
#include "Classes/PrefPane/PXExclusionRules.h"
#include "Classes/PrefPane/PXExclusionsController.h"
#include "Classes/Util/PXUtil.h"
#include "Helper/Surveyor.h"
#include "Platform/FileSystem.h"
#include "Platform/Services.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>

using Verdict = std::function<bool(const std::string &)>;

static std::vector<std::string> textsOf(const ExclusionEntries &entries)
{
    std::vector<std::string> texts;
    for (const ExclusionEntry &entry : entries)
        texts.push_back(entry->toStdString());
    return texts;
}

/// By the lists as the pane holds them for its tables, and the rules of its host.
static Verdict verdictOfPane()
{
    const PXExclusionsController controller;
    const Exclusions lists(nullptr, textsOf(controller.exclusionsPathsArray()),
                           textsOf(controller.exclusionsExtensionsArray()));
    return
        [lists](const std::string &path) { return lists.leavesOut(path) || PXExclusionRules::mustExcludePath(path); };
}

/// As a survey from the root folder on meets the path: it goes into no folder below which it has nothing to do.
static Verdict verdictOfHelper()
{
    Surveyor surveyor(PXUtil::pathToExclusionPathsFile().value_or(Path()),
                      PXUtil::pathToExclusionExtensionsFile().value_or(Path()));
    surveyor.readLists();
    return [exclusions = surveyor.exclusions()](const std::string &path) {
        for (std::size_t end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1)) {
            if (exclusions->leavesOutAllBelow(path.substr(0, end)))
                return true;
        }
        return exclusions->leavesOut(path);
    };
}

/// Started as "pane|helper FILE" from the bundle of the host or the helper. Prints a sign for each path in the file, in
/// which each ends with a null byte: "+" when it is left alone, "-" when not.
int main(int argc, char **argv)
{
    if (argc != 3)
        return EXIT_FAILURE;
    QCoreApplication application(argc, argv);
    installEngineServices();
    installPaneServices();
    const Result<Bytes> paths = FileSystem::current().readFile(argv[2], 256u << 20);
    if (!paths)
        return EXIT_FAILURE;
    const Verdict verdict = std::strcmp(argv[1], "pane") == 0 ? verdictOfPane() : verdictOfHelper();
    std::string path;
    for (const std::uint8_t byte : *paths) {
        if (byte != 0) {
            path.push_back(char(byte));
            continue;
        }
        std::putchar(verdict(path) ? '+' : '-');
        path.clear();
    }
}
