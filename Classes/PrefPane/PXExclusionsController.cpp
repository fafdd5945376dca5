#include "Classes/PrefPane/PXExclusionsController.h"

#include "Classes/PrefPane/ExclusionFault.h"
#include "Classes/PrefPane/PXHistoryController.h"
#include "Classes/Shared/AlertSheet.h"
#include "Classes/Shared/Log.h"
#include "Classes/Shared/lockBeside.h"
#include "Classes/Util/PXUtil.h"
#include "Platform/Bundle.h"
#include "Platform/DistributedNotificationCenter.h"

#include <QFile>

#include <algorithm>
#include <chrono>

// On the main thread, which nothing may hold for a tenth of a second.
static constexpr std::chrono::milliseconds kWaitForOthers{80};

static bool contains(const ExclusionEntries &entries, const QString &text)
{
    return std::any_of(entries.begin(), entries.end(), [&](const ExclusionEntry &entry) { return *entry == text; });
}

PXExclusionsController::PXExclusionsController(QObject *parent)
    : QObject(parent)
    , m_paths{{},
              {},
              new ExclusionsArrayController(ExclusionsArrayController::Editing::None, this),
              {},
              &PXExclusionsController::pathToExclusionPathsFile,
              "com.dovrane.pellix.excludedPaths",
              "Tamsel was unable to store the excluded paths.",
              &PXExclusionsController::exclusionsPathsArrayChanged,
              &PXExclusionsController::otherPathsFileKept,
              &PXExclusionsController::pathNotStorable}
    , m_extensions{{},
                   {},
                   new ExclusionsArrayController(ExclusionsArrayController::Editing::InPlace, this),
                   {},
                   &PXExclusionsController::pathToExclusionExtensionsFile,
                   "com.dovrane.pellix.excludedExtensions",
                   "Tamsel was unable to store the excluded extensions.",
                   &PXExclusionsController::exclusionsExtensionsArrayChanged,
                   &PXExclusionsController::otherExtensionsFileKept,
                   &PXExclusionsController::extensionNotStorable}
{
    load(m_paths, "defaultExcludedPaths");
    load(m_extensions, "defaultExcludedExtensions");
}

PXExclusionsController::~PXExclusionsController()
{
    for (const List *const list : {&m_paths, &m_extensions}) {
        if (list->tableView)
            list->tableView->setTableDelegate(nullptr);
    }
}

std::optional<Path> PXExclusionsController::pathToExclusionPathsFile() const
{
    return PXUtil::pathToExclusionPathsFile();
}

std::optional<Path> PXExclusionsController::pathToExclusionExtensionsFile() const
{
    return PXUtil::pathToExclusionExtensionsFile();
}

/// Nothing while there is no folder for it; one may be made later.
ExclusionListFile *PXExclusionsController::fileOf(List &list)
{
    if (!list.file) {
        if (const std::optional<Path> path = (this->*list.path)())
            list.file.emplace(*path);
    }
    return list.file ? &*list.file : nullptr;
}

/// The defaults are for a user who has no list yet; one that cannot be read counts as empty and stays where it is.
void PXExclusionsController::load(List &list, const char *defaults)
{
    if (!fileOf(list))
        return;
    const std::optional<Bundle> pane = Bundles::current().withIdentifier(PXHistoryController::kPaneIdentifier);
    const std::optional<Path> resource = pane ? pane->resource(defaults, "plist") : std::nullopt;
    if (const auto made = resource ? list.file->makeFrom(*resource) : Result<void>(); !made)
        logLine("Default exclusions were not copied: " + made.failure().context);
    const auto strings = list.file->read();
    if (!strings && strings.failure().code != ErrorCode::NotFound)
        logLine("An exclusion list cannot be read: " + strings.failure().context);
    if (!strings)
        return;
    for (const std::string &string : *strings)
        list.entries.push_back(std::make_shared<QString>(QString::fromStdString(string)));
}

void PXExclusionsController::awakeFromNib()
{
    prepare(m_paths);
    prepare(m_extensions);
    m_extensions.tableView->setValidationCharacterSet(QString::fromLatin1(ExclusionFault::kAllowedInExtensions));
}

void PXExclusionsController::prepare(List &list)
{
    list.arrayController->setContent(list.entries);
    list.arrayController->sortByText();
    list.tableView->setModel(list.arrayController);
    QItemSelectionModel *const unused = list.tableView->selectionModel();
    list.tableView->setSelectionModel(list.arrayController->selectionModel());
    delete unused;
    list.tableView->setTableDelegate(this);
    list.tableView->setDataSource(this);
    list.tableView->setAcceptDrops(true);
    list.tableView->clearSelection();
}

bool PXExclusionsController::save(List &list)
{
    std::erase_if(list.entries, [](const ExclusionEntry &entry) { return entry->isEmpty(); });
    const Result<std::optional<Path>> kept = write(list);
    if (!kept) {
        logLine(std::string(list.saveAlert) + " " + kept.failure().context);
        list.arrayController->setContent(list.entries); // the list keeps the change, and shows it
        AlertSheet::alertWithMessageText("Issue", "OK", {}, {}, list.saveAlert)
            .beginSheetModalForWindow(windowForSheets(), {});
        return false;
    }
    announce(list);
    DistributedNotificationCenter::current().post(list.notification);
    if (*kept)
        Q_EMIT(this->*list.otherKept)(QFile::decodeName((*kept)->filename().c_str()));
    return true;
}

Result<std::optional<Path>> PXExclusionsController::write(List &list)
{
    ExclusionListFile *const file = fileOf(list);
    if (!file)
        return Failure{ErrorCode::NotFound, 0, "no folder"};
    std::vector<std::string> strings;
    for (const ExclusionEntry &entry : list.entries)
        strings.push_back(entry->toStdString());
    // Who has the lock may hang. Without it too, what somebody else has written is kept beside.
    const auto lock = lockBeside(file->path(), kWaitForOthers);
    return file->write(strings);
}

void PXExclusionsController::announce(List &list)
{
    list.arrayController->setContent(list.entries);
    Q_EMIT(this->*list.changed)();
}

/// What the user has typed counts before anything is compared with it.
void PXExclusionsController::endEditing(List &list)
{
    if (list.tableView)
        list.tableView->endEditing();
}

bool PXExclusionsController::addNewPaths(const QStringList &paths)
{
    endEditing(m_paths);
    QStringList added;
    for (const QString &path : paths) {
        if (path != QLatin1String("/") && !contains(m_paths.entries, path))
            added.append(path);
    }
    return append(m_paths, added);
}

bool PXExclusionsController::addNewExtensions(const QStringList &extensions)
{
    endEditing(m_extensions);
    QStringList added;
    for (const QString &extension : extensions) {
        if (!contains(m_extensions.entries, extension) && !added.contains(extension))
            added.append(extension);
    }
    return append(m_extensions, added);
}

/// A name that is no UTF-8 comes with replacement characters, under which there is no file.
bool PXExclusionsController::append(List &list, QStringList texts)
{
    texts.removeIf([&](const QString &text) {
        const bool isNoText = text.contains(QChar::ReplacementCharacter) && !QFile::exists(text);
        if (isNoText)
            Q_EMIT(this->*list.notStorable)(text);
        return isNoText;
    });
    if (texts.isEmpty())
        return false;
    list.arrayController->setFilter({});
    for (const QString &text : texts)
        list.entries.push_back(std::make_shared<QString>(text));
    save(list);
    return true;
}

void PXExclusionsController::removeExisting(List &list, const QStringList &texts)
{
    endEditing(list);
    if (!texts.isEmpty()) {
        std::erase_if(list.entries, [&](const ExclusionEntry &entry) { return texts.contains(*entry); });
        save(list);
    }
    if (list.tableView)
        list.tableView->clearSelection();
}

bool PXExclusionsController::handleRequest(const std::string &request)
{
    using Texts = const QStringList &;
    struct Kind
    {
        std::string words;
        std::string (*faultOf)(const std::string &text); ///< nullptr: everything will do
        void (*perform)(PXExclusionsController &, Texts);
    };
    static const Kind kKinds[] = {
        {"exclusions paths add ", ExclusionFault::ofPath, [](auto &lists, Texts texts) { lists.addNewPaths(texts); }},
        {"exclusions paths remove ", nullptr, [](auto &lists, Texts texts) { lists.removeExistingPaths(texts); }},
        {"exclusions extensions add ", ExclusionFault::ofExtension,
         [](auto &lists, Texts texts) { lists.addNewExtensions(texts); }},
        {"exclusions extensions remove ", nullptr,
         [](auto &lists, Texts texts) { lists.removeExistingExtensions(texts); }},
    };
    for (const Kind &kind : kKinds) {
        if (!request.starts_with(kind.words))
            continue;
        const std::string text = request.substr(kind.words.size());
        if (const std::string fault = kind.faultOf ? kind.faultOf(text) : std::string(); !fault.empty())
            logLine("Not excluded: " + fault);
        else if (!text.empty())
            kind.perform(*this, {QString::fromStdString(text)});
        return true;
    }
    return false;
}
