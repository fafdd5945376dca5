#include "Tools/tamselctl/Verbs.h"

#include "Classes/PrefPane/ExclusionListFile.h"
#include "Classes/Util/PXUtil.h"
#include "Platform/ApplicationName.h"
#include "Platform/Bundle.h"
#include "Platform/DistributedNotificationCenter.h"
#include "Platform/Utf8.h"
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
};

constexpr ListKind kPaths = {"exclusions paths ", "path", "defaultExcludedPaths", "com.dovrane.pellix.excludedPaths",
                             PXUtil::pathToExclusionPathsFile};
constexpr ListKind kExtensions = {"exclusions extensions ", "extension", "defaultExcludedExtensions",
                                  "com.dovrane.pellix.excludedExtensions", PXUtil::pathToExclusionExtensionsFile};

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

static ExitCode changeFile(const Invocation &invocation, const ListKind &kind, ExclusionListFile &file, bool isAdding,
                           const Strings &changes)
{
    Result<Strings> strings = readList(file);
    if (!strings)
        return invocation.fail(strings.failure());
    const Strings before = *strings;
    if (!isAdding)
        std::erase_if(*strings, [&](const std::string &string) { return contains(changes, string); });
    for (const std::string &change : changes) {
        if (isAdding && !contains(*strings, change))
            strings->push_back(change);
    }
    if (*strings == before)
        return ExitCode::Done;
    const auto written = file.write(*strings);
    if (!written)
        return invocation.fail(written.failure());
    if (*written)
        invocation.note("another program had changed the list; its version was kept as " + (*written)->native());
    auto &center = DistributedNotificationCenter::current();
    center.post(kind.notification);
    flush(center);
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

/// What is wrong with an entry; empty when nothing is.
static std::string faultOf(const std::string &entry, bool isPath)
{
    if (!isUtf8(entry) || entry.find('\0') != std::string::npos)
        return "only UTF-8 can be stored: " + entry;
    if (isPath && entry == "/")
        return "the root folder cannot be excluded";
    if (isPath)
        return entry.starts_with('/') ? std::string() : "no absolute path: " + entry;
    const bool isPlain = std::ranges::all_of(entry, [](unsigned char character) {
        return std::isalnum(character) || std::string_view("._-+").find(char(character)) != std::string_view::npos;
    });
    return isPlain && !entry.empty() && !entry.starts_with('.') ? std::string() : "no extension: " + entry;
}

static ExitCode change(const Invocation &invocation, const ListKind &kind, ExclusionListFile &file, bool isAdding)
{
    Strings changes(invocation.operands.begin() + 1, invocation.operands.end());
    if (changes.empty())
        return invocation.refuse("something is missing");
    for (std::string &entry : changes) {
        while (&kind == &kPaths && isAdding && entry.size() > 1 && entry.ends_with('/'))
            entry.pop_back();
        if (const std::string fault = isAdding ? faultOf(entry, &kind == &kPaths) : std::string(); !fault.empty())
            return invocation.refuse(fault);
    }
    return RunningPrograms::find().isHostRunning ? askPanel(invocation, kind, file, isAdding, changes)
                                                 : changeFile(invocation, kind, file, isAdding, changes);
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
