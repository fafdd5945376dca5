#include "Tools/tamselctl/Verbs.h"

#include "Classes/PrefPane/AddFoldersRequest.h"
#include "Classes/PrefPane/PXHistoryController.h"
#include "Classes/Shared/isDirectory.h"
#include "Classes/Util/PXUtil.h"
#include "Platform/Bundle.h"
#include "Platform/DistributedNotificationCenter.h"
#include "Platform/ThisProcess.h"
#include "Platform/Utf8.h"
#include "Platform/Workspace.h"
#include "Tools/tamselctl/HistoryReader.h"
#include "Tools/tamselctl/Invocation.h"
#include "Tools/tamselctl/RunningPrograms.h"
#include "Tools/tamselctl/waitUntil.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <optional>
#include <system_error>

using Strings = std::vector<std::string>;

static constexpr char kAddAnyway[] = "--add-anyway";
static constexpr char kCancel[] = "--cancel";

static Result<HistorySummary> readHistory()
{
    const auto folder = PXUtil::applicationSupportFolder();
    if (!folder)
        return Failure{ErrorCode::NotFound, 0, "there is no application-support folder"};
    return HistorySummary::read(*folder / "history.db");
}

static std::string withoutLinks(const std::string &folder)
{
    std::error_code failure;
    const Path place = std::filesystem::canonical(folder, failure);
    return failure ? folder : place.native();
}

/// Absolute and without what only leads to and fro; links are not followed.
static std::string absolute(const std::string &folder)
{
    std::error_code failure;
    std::string path = std::filesystem::absolute(folder, failure).lexically_normal().native();
    while (path.size() > 1 && path.ends_with('/'))
        path.pop_back();
    return failure ? folder : path;
}

static void printFolder(const Invocation &invocation, const std::string &folder)
{
    invocation.print(Record().add(HistoryEntry::kFolder, folder), folder + "\n");
}

ExitCode listFolders(Invocation &invocation)
{
    const auto history = readHistory();
    if (!history)
        return invocation.fail(history.failure());
    for (const HistoryRecord &record : history->folders)
        printFolder(invocation, PXHistoryController::historyEntryFor(&record)->folder);
    return ExitCode::Done;
}

/// Starts the helper where none runs and answers once it can be told something; else why it cannot.
static std::optional<std::string> reachHelper()
{
    const RunningPrograms programs = RunningPrograms::find();
    if (!programs.isBusThere)
        return "there is no session bus";
    if (programs.isHelperRunning)
        return std::nullopt;
    const auto helper = Bundles::current().main();
    if (!helper)
        return helper.failure().context;
    const auto launched = Workspace::current().launchApplication(helper->path());
    return launched ? std::nullopt : std::optional(launched.failure().context);
}

/// Tells the helper of these folders, again and again, since one that is only starting hears nothing yet. Answers
/// whether what is to follow does.
static bool tellHelper(const char *key, const Strings &folders, const std::function<bool()> &isDone)
{
    auto &center = DistributedNotificationCenter::current();
    constexpr int kLooksBetween = 50;
    int looks = 0;
    return waitUntil([&] {
        if (looks++ % kLooksBetween == 0)
            center.post("com.dovrane.pellix.folders", {{key, folders}});
        return isDone();
    });
}

static bool isWatched(const HistorySummary &history, const std::string &folder)
{
    const std::string place = withoutLinks(folder);
    return std::ranges::any_of(history.folders, [&](const HistoryRecord &record) { return record.folder == place; });
}

static const FolderRefusal *refusalOf(const HistorySummary &history, const std::string &folder)
{
    const auto found = std::ranges::find(history.refusals, folder, &FolderRefusal::folder);
    return found == history.refusals.end() ? nullptr : &*found;
}

static const char *wordsFor(FolderRefusal::Reason reason)
{
    switch (reason) {
    case FolderRefusal::Reason::Missing:
        return "there is no such folder";
    case FolderRefusal::Reason::WholeDisk:
        return "it is the whole disk";
    case FolderRefusal::Reason::System:
        return "it belongs to the system";
    case FolderRefusal::Reason::OwnFiles:
        return "Tamsel keeps its own files there";
    case FolderRefusal::Reason::NotText:
        return "its path is not UTF-8";
    case FolderRefusal::Reason::Unreadable:
        break;
    }
    return "it may not be looked into";
}

/// What was refused before may be refused no longer; it has to go before the answer can be told from it.
static bool forgetRefusals()
{
    const auto hasNone = [] {
        const auto history = readHistory();
        return history && history->refusals.empty();
    };
    return hasNone() || tellHelper("foldersToAdd", {}, hasNone);
}

static ExitCode sendToHelper(const Invocation &invocation, const Strings &folders)
{
    if (const auto fault = reachHelper())
        return invocation.fail(*fault);
    if (!forgetRefusals())
        return invocation.fail("the helper does not answer");
    const auto isAnswered = [&folders] {
        const auto history = readHistory();
        return history && std::ranges::all_of(folders, [&](const std::string &folder) {
                   return isWatched(*history, folder) || refusalOf(*history, folder);
               });
    };
    if (!folders.empty() && !tellHelper("foldersToAdd", folders, isAnswered))
        return invocation.fail("the helper does not answer");
    const auto history = readHistory();
    if (!history)
        return invocation.fail(history.failure());
    ExitCode exitCode = ExitCode::Done;
    for (const std::string &folder : folders) {
        if (const FolderRefusal *refusal = refusalOf(*history, folder))
            exitCode = invocation.fail("not added, " + std::string(wordsFor(refusal->reason)) + ": " + folder);
    }
    return exitCode;
}

/// Whether the user wants the folders that need a warning; nothing where nobody can be asked.
static std::optional<bool> wantsWarned(const Invocation &invocation, const AddFoldersRequest &request)
{
    if (request.warned.empty() || invocation.options.contains(kAddAnyway))
        return true;
    if (invocation.options.contains(kCancel))
        return false;
    std::string folders;
    for (const std::string &folder : request.warned)
        folders += "\n  " + folder;
    if (!ThisProcess::current().isInputATerminal()) {
        invocation.note("not on the main boot volume, or of another format; say --add-anyway or --cancel:" + folders);
        return std::nullopt;
    }
    std::fprintf(stderr,
                 "These folders are not on your main boot volume, or it has another format:%s\n"
                 "Compressed files there will not be seen by other systems. Add them anyway? [y/N] ",
                 folders.c_str());
    std::string answer;
    std::getline(std::cin, answer);
    return answer == "y" || answer == "Y" || answer == "yes";
}

ExitCode addFolders(Invocation &invocation)
{
    if (invocation.options.contains(kAddAnyway) && invocation.options.contains(kCancel))
        return invocation.refuse("--add-anyway and --cancel exclude each other");
    Strings folders;
    for (const std::string &operand : invocation.operands) {
        folders.push_back(absolute(operand));
        if (!isUtf8(folders.back()))
            return invocation.refuse("only UTF-8 can be sent to the helper: " + operand);
        if (!isDirectory(folders.back()))
            return invocation.fail("there is no such folder: " + operand);
    }
    AddFoldersRequest request = AddFoldersRequest::classify(folders);
    const std::optional<bool> wantsThem = wantsWarned(invocation, request);
    if (!wantsThem)
        return ExitCode::Failed;
    ExitCode exitCode = ExitCode::Done;
    for (const std::string &folder : request.chosen) {
        if (std::ranges::count(request.accepted, folder) == 0)
            exitCode = invocation.fail("left out, it is on a removable volume: " + folder);
    }
    if (!*wantsThem)
        request.rejectWarned();
    return std::max(exitCode, sendToHelper(invocation, request.accepted));
}

/// The folder as the list shows it; nothing when it is not on the list.
static std::optional<std::string> listed(const HistorySummary &history, const std::string &operand)
{
    const std::string folder = absolute(operand);
    const std::string place = withoutLinks(folder);
    for (const HistoryRecord &record : history.folders) {
        const std::string now = PXHistoryController::historyEntryFor(&record)->folder;
        if (now == folder || now == place || record.folder == folder)
            return now;
    }
    return std::nullopt;
}

ExitCode removeFolders(Invocation &invocation)
{
    const auto history = readHistory();
    if (!history)
        return invocation.fail(history.failure());
    Strings folders;
    for (const std::string &operand : invocation.operands) {
        const auto folder = listed(*history, operand);
        if (!folder)
            return invocation.fail("not watched: " + operand);
        folders.push_back(*folder);
    }
    if (const auto fault = reachHelper())
        return invocation.fail(*fault);
    const bool isDone = tellHelper("foldersToRemove", folders, [&folders] {
        const auto now = readHistory();
        return now &&
               std::ranges::none_of(folders, [&](const std::string &each) { return listed(*now, each).has_value(); });
    });
    return isDone ? ExitCode::Done : invocation.fail("the helper does not answer");
}
