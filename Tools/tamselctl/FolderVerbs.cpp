#include "Tools/tamselctl/Verbs.h"

#include "Classes/PrefPane/AddFoldersRequest.h"
#include "Classes/PrefPane/FolderPlaces.h"
#include "Classes/PrefPane/FolderRequests.h"
#include "Classes/PrefPane/HistoryEntry.h"
#include "Classes/Shared/inBackground.h"
#include "Classes/Shared/isDirectory.h"
#include "Classes/Shared/map.h"
#include "Classes/Shared/stringWithFileSystemRepresentation.h"
#include "Classes/Util/PXUtil.h"
#include "Platform/ThisProcess.h"
#include "Platform/Utf8.h"
#include "Tools/tamselctl/HistoryReader.h"
#include "Tools/tamselctl/Invocation.h"
#include "Tools/tamselctl/tellHelper.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>
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

/// Where the folders on the list are now, in their order.
static std::vector<std::string> placesOf(const HistorySummary &history)
{
    return inBackground([&history] {
        return map(history.folders, [](const HistoryRecord &record) { return FolderPlaces::placeOf(record); });
    });
}

ExitCode listFolders(Invocation &invocation)
{
    const auto history = readHistory();
    if (!history)
        return invocation.fail(history.failure());
    for (const std::string &place : placesOf(*history))
        printFolder(invocation, place);
    return ExitCode::Done;
}

static bool isWatched(const HistorySummary &history, const std::string &folder)
{
    const std::string place = stringByCanonicalizingPath(folder).native();
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
    return hasNone() || tellHelper(FolderRequests::kToAdd, {}, hasNone);
}

/// Of so many at once the helper keeps every answer.
static ExitCode addSome(const Invocation &invocation, const Strings &folders)
{
    std::optional<HistorySummary> answer;
    const auto isAnswered = [&] {
        auto history = readHistory();
        if (!history || !std::ranges::all_of(folders, [&](const std::string &folder) {
                return isWatched(*history, folder) || refusalOf(*history, folder);
            }))
            return false;
        answer = *std::move(history);
        return true;
    };
    if (!tellHelper(FolderRequests::kToAdd, folders, isAnswered))
        return invocation.fail("the helper does not answer");
    ExitCode exitCode = ExitCode::Done;
    for (const std::string &folder : folders) {
        if (const FolderRefusal *refusal = refusalOf(*answer, folder))
            exitCode = invocation.fail("not added, " + std::string(wordsFor(refusal->reason)) + ": " + folder);
    }
    return exitCode;
}

static ExitCode sendToHelper(const Invocation &invocation, const Strings &folders)
{
    if (const auto fault = reachHelper())
        return invocation.fail(*fault);
    if (!forgetRefusals())
        return invocation.fail("the helper does not answer");
    ExitCode exitCode = ExitCode::Done;
    for (auto first = folders.begin(); first != folders.end();) {
        const auto end = first + std::min<std::ptrdiff_t>(FolderRefusal::kMostKept, folders.end() - first);
        exitCode = std::max(exitCode, addSome(invocation, Strings(first, end)));
        first = end;
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

/// A folder on the list, where it is now.
struct ListedFolder
{
    std::int64_t key = 0;
    std::string place;
};

/// What an operand names: the folder that is there, else one that was recorded there; nothing when neither is listed.
static std::optional<ListedFolder> listed(const HistorySummary &history, const std::vector<std::string> &places,
                                          const std::string &operand)
{
    const std::string folder = absolute(operand);
    const std::string place = stringByCanonicalizingPath(folder).native();
    std::optional<ListedFolder> former;
    for (std::size_t at = 0; at < places.size(); ++at) {
        const HistoryRecord &record = history.folders[at];
        const ListedFolder now{record.key, places[at]};
        if (now.place == folder || now.place == place)
            return now;
        if (!former && record.folder == folder)
            former = now;
    }
    return former;
}

ExitCode removeFolders(Invocation &invocation)
{
    const auto history = readHistory();
    if (!history)
        return invocation.fail(history.failure());
    std::map<std::int64_t, std::string> folders;
    const std::vector<std::string> places = placesOf(*history);
    for (const std::string &operand : invocation.operands) {
        const auto folder = listed(*history, places, operand);
        if (!folder)
            return invocation.fail("not watched: " + operand);
        if (!isUtf8(folder->place))
            return invocation.fail("only UTF-8 can be sent to the helper: " + folder->place);
        folders.emplace(folder->key, folder->place);
    }
    if (const auto fault = reachHelper())
        return invocation.fail(*fault);
    Strings removed;
    for (const auto &[key, place] : folders)
        removed.push_back(place);
    const bool isDone = tellHelper(FolderRequests::kToRemove, removed, [&folders] {
        const auto now = readHistory();
        return now && std::ranges::none_of(now->folders,
                                           [&](const HistoryRecord &record) { return folders.contains(record.key); });
    });
    return isDone ? ExitCode::Done : invocation.fail("the helper does not answer");
}
