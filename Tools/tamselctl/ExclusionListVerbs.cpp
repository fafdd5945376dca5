#include "Tools/tamselctl/Verbs.h"

#include "Classes/PrefPane/ExclusionFault.h"
#include "Classes/PrefPane/ExclusionListFile.h"
#include "Classes/Shared/lockBeside.h"
#include "Classes/Util/PXUtil.h"
#include "Platform/ApplicationName.h"
#include "Platform/Bundle.h"
#include "Platform/DistributedNotificationCenter.h"
#include "Tools/tamselctl/Invocation.h"
#include "Tools/tamselctl/RunningPrograms.h"
#include "Tools/tamselctl/waitUntil.h"

#include <algorithm>
#include <filesystem>

using Strings = std::vector<std::string>;

namespace {

/// What differs between the two lists.
struct ListKind
{
    const char *request; ///< what a request to the panel starts with
    const char *key;     ///< of a line of JSON
    const char *defaults;
    const char *notification;
    std::optional<Path> (*file)();
    std::string (*faultOf)(const std::string &entry);
};

constexpr ListKind kPaths = {"exclusions paths ",
                             "path",
                             "defaultExcludedPaths",
                             "com.dovrane.pellix.excludedPaths",
                             PXUtil::pathToExclusionPathsFile,
                             ExclusionFault::ofPath};
constexpr ListKind kExtensions = {"exclusions extensions ",
                                  "extension",
                                  "defaultExcludedExtensions",
                                  "com.dovrane.pellix.excludedExtensions",
                                  PXUtil::pathToExclusionExtensionsFile,
                                  ExclusionFault::ofExtension};

/// As many of these as a script starts at once write one after the other.
constexpr std::chrono::seconds kWaitForOthers{20};

} // namespace

static bool contains(const Strings &strings, const std::string &string)
{
    return std::ranges::find(strings, string) != strings.end();
}

/// A user who has no list yet gets the defaults of the pane, in which the helper lies.
static void copyDefaults(ExclusionListFile &file, const ListKind &kind)
{
    const auto helper = Bundles::current().main();
    if (!helper)
        return;
    const Path pane = helper->path().parent_path().parent_path().parent_path();
    if (const auto defaults = Bundle(pane, {}).resource(kind.defaults, "plist"))
        static_cast<void>(file.makeFrom(*defaults));
}

static Result<Strings> readList(ExclusionListFile &file)
{
    Result<Strings> strings = file.read();
    return !strings && strings.failure().code == ErrorCode::NotFound ? Strings() : strings;
}

static ExitCode listEntries(const Invocation &invocation, const ListKind &kind, ExclusionListFile &file)
{
    const auto strings = readList(file);
    if (!strings)
        return invocation.fail(strings.failure());
    for (const std::string &string : *strings)
        invocation.print(Record().add(kind.key, string), string + "\n");
    return ExitCode::Done;
}

/// Answers whether the list is another one now.
static Result<bool> changeFile(const Invocation &invocation, ExclusionListFile &file, bool isAdding,
                               const Strings &changes)
{
    // Where nothing can be locked, what is overwritten is kept beside all the same.
    const auto lock = lockBeside(file.path(), kWaitForOthers);
    if (!lock && lock.failure().code == ErrorCode::Busy)
        return lock.failure();
    Result<Strings> strings = readList(file);
    if (!strings)
        return strings.failure();
    const Strings before = *strings;
    if (!isAdding)
        std::erase_if(*strings, [&](const std::string &string) { return contains(changes, string); });
    for (const std::string &change : changes) {
        if (isAdding && !contains(*strings, change))
            strings->push_back(change);
    }
    if (*strings == before)
        return false;
    const auto written = file.write(*strings);
    if (!written)
        return written.failure();
    if (*written)
        invocation.note("another program had changed the list; its version was kept as " + (*written)->native());
    return true;
}

static ExitCode changeWithoutPanel(const Invocation &invocation, const ListKind &kind, ExclusionListFile &file,
                                   bool isAdding, const Strings &changes)
{
    const Result<bool> isChanged = changeFile(invocation, file, isAdding, changes);
    if (!isChanged)
        return invocation.fail(isChanged.failure());
    if (*isChanged) {
        auto &center = DistributedNotificationCenter::current();
        center.post(kind.notification);
        flush(center);
    }
    return ExitCode::Done;
}

/// The panel has the list in memory and would write over what is put into the file.
static ExitCode askPanel(const Invocation &invocation, const ListKind &kind, ExclusionListFile &file, bool isAdding,
                         const Strings &changes)
{
    for (const std::string &change : changes) {
        bool hasAnswered = false;
        const std::string request = kind.request + std::string(isAdding ? "add " : "remove ") + change;
        ApplicationName::current().activateOwner(RunningPrograms::kHost,
                                                 {"--pane", "com.dovrane.Tamsel", "--request", request},
                                                 [&hasAnswered](bool answered) { hasAnswered = answered; });
        if (!waitUntil([&] { return hasAnswered; }))
            return invocation.fail("the panel does not answer");
        const bool isDone = waitUntil([&] {
            const auto strings = readList(file);
            return strings && contains(*strings, change) == isAdding;
        });
        if (!isDone)
            return invocation.fail("the panel has not changed the list: " + change);
    }
    return ExitCode::Done;
}

static void dropEndingSlashes(std::string &path)
{
    while (path.size() > 1 && path.ends_with('/'))
        path.pop_back();
}

static ExitCode change(const Invocation &invocation, const ListKind &kind, ExclusionListFile &file, bool isAdding)
{
    Strings changes(invocation.operands.begin() + 1, invocation.operands.end());
    if (changes.empty())
        return invocation.refuse("something is missing");
    const Strings known = isAdding ? Strings() : readList(file).valueOr({});
    for (std::string &entry : changes) {
        if (&kind == &kPaths && !contains(known, entry))
            dropEndingSlashes(entry); // a shell puts one behind the name of a folder
        if (const std::string fault = isAdding ? kind.faultOf(entry) : std::string(); !fault.empty())
            return invocation.refuse(fault);
    }
    return RunningPrograms::find().isHostRunning ? askPanel(invocation, kind, file, isAdding, changes)
                                                 : changeWithoutPanel(invocation, kind, file, isAdding, changes);
}

static ExitCode run(const Invocation &invocation, const ListKind &kind)
{
    const std::string &action = invocation.operands.front();
    if (action != "list" && action != "add" && action != "remove")
        return invocation.refuse("neither list, add nor remove: " + action);
    if (action == "list" && invocation.operands.size() > 1)
        return invocation.refuse("one word too many: " + invocation.operands[1]);
    const auto path = kind.file();
    if (!path)
        return invocation.fail("there is no application-support folder");
    ExclusionListFile file(*path);
    copyDefaults(file, kind);
    return action == "list" ? listEntries(invocation, kind, file) : change(invocation, kind, file, action == "add");
}

ExitCode changeExcludedPaths(Invocation &invocation)
{
    return run(invocation, kPaths);
}

ExitCode changeExcludedExtensions(Invocation &invocation)
{
    return run(invocation, kExtensions);
}
