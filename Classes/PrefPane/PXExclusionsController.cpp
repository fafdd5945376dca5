#include "Classes/PrefPane/PXExclusionsController.h"

#include "Classes/PrefPane/OpenPanel.h"
#include "Classes/PrefPane/PXHistoryController.h"
#include "Classes/Shared/AlertSheet.h"
#include "Classes/Shared/Log.h"
#include "Classes/Util/PXUtil.h"
#include "Platform/Bundle.h"
#include "Platform/DistributedNotificationCenter.h"
#include "Platform/HostApplication.h"

#include <QFile>

#include <algorithm>

static constexpr const char *kAllowedInExtensions =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-+";

static void showAlert(const char *message, const char *informativeText)
{
    AlertSheet::alertWithMessageText(message, "OK", {}, {}, informativeText)
        .beginSheetModalForWindow(HostApplication::current().keyWindow(), {});
}

static bool contains(const ExclusionEntries &entries, const QString &text)
{
    return std::any_of(entries.begin(), entries.end(), [&](const ExclusionEntry &entry) { return *entry == text; });
}

static QStringList textsOf(const ExclusionEntries &entries)
{
    QStringList texts;
    for (const ExclusionEntry &entry : entries)
        texts.append(*entry);
    return texts;
}

PXExclusionsController::PXExclusionsController(QObject *parent)
    : QObject(parent)
    , m_paths{{},
              {},
              new ExclusionsArrayController(ExclusionsArrayController::Editing::None, this),
              {},
              "com.dovrane.pellix.excludedPaths",
              "Tamsel was unable to store the excluded paths.",
              &PXExclusionsController::exclusionsPathsArrayChanged,
              &PXExclusionsController::otherPathsFileKept}
    , m_extensions{{},
                   {},
                   new ExclusionsArrayController(ExclusionsArrayController::Editing::InPlace, this),
                   {},
                   "com.dovrane.pellix.excludedExtensions",
                   "Tamsel was unable to store the excluded extensions.",
                   &PXExclusionsController::exclusionsExtensionsArrayChanged,
                   &PXExclusionsController::otherExtensionsFileKept}
{
    load(m_paths, pathToExclusionPathsFile(), "defaultExcludedPaths");
    load(m_extensions, pathToExclusionExtensionsFile(), "defaultExcludedExtensions");
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

/// The defaults are for a user who has no list yet; one that cannot be read counts as empty and stays where it is.
void PXExclusionsController::load(List &list, const std::optional<Path> &path, const char *defaults)
{
    if (!path)
        return;
    list.file.emplace(*path);
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
    m_extensions.tableView->setValidationCharacterSet(QString::fromLatin1(kAllowedInExtensions));
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
    std::vector<std::string> strings;
    for (const ExclusionEntry &entry : list.entries)
        strings.push_back(entry->toStdString());
    const auto kept = list.file ? list.file->write(strings)
                                : Result<std::optional<Path>>(Failure{ErrorCode::NotFound, 0, "no folder"});
    if (!kept) {
        logLine(std::string(list.saveAlert) + " " + kept.failure().context);
        showAlert("Issue", list.saveAlert);
        return false;
    }
    announce(list);
    DistributedNotificationCenter::current().post(list.notification);
    if (*kept)
        Q_EMIT(this->*list.otherKept)(QFile::decodeName((*kept)->filename().c_str()));
    return true;
}

void PXExclusionsController::announce(List &list)
{
    list.arrayController->setContent(list.entries);
    Q_EMIT(this->*list.changed)();
}

void PXExclusionsController::addPaths()
{
    auto *const panel = new OpenPanel(OpenPanel::Choose::FilesAndFolders);
    panel->setWindowTitle(tr("Leave alone"));
    HostApplication::current().beginSheet(panel, HostApplication::current().mainWindow(),
                                          [self = QPointer(this), panel = QPointer(panel)](int result) {
                                              if (self && panel && result == 1)
                                                  self->addNewPaths(panel->chosenPaths());
                                              if (panel)
                                                  panel->deleteLater();
                                          });
}

void PXExclusionsController::addNewPaths(const QStringList &paths)
{
    QStringList added;
    for (const QString &path : paths) {
        if (path != QLatin1String("/") && !contains(m_paths.entries, path))
            added.append(path);
    }
    append(m_paths, added);
}

void PXExclusionsController::addNewExtensions(const QStringList &extensions)
{
    QStringList added;
    for (const QString &extension : extensions) {
        if (!contains(m_extensions.entries, extension) && !added.contains(extension))
            added.append(extension);
    }
    append(m_extensions, added);
}

void PXExclusionsController::append(List &list, const QStringList &texts)
{
    if (texts.isEmpty())
        return;
    if (list.tableView)
        list.tableView->endEditing();
    list.arrayController->setFilter({});
    for (const QString &text : texts)
        list.entries.push_back(std::make_shared<QString>(text));
    save(list);
}

void PXExclusionsController::removeExisting(List &list, const QStringList &texts)
{
    if (list.tableView)
        list.tableView->endEditing();
    if (!texts.isEmpty()) {
        std::erase_if(list.entries, [&](const ExclusionEntry &entry) { return texts.contains(*entry); });
        save(list);
    }
    if (list.tableView)
        list.tableView->clearSelection();
}

void PXExclusionsController::removePaths()
{
    if (const ExclusionEntries selected = m_paths.arrayController->selectedObjects(); !selected.empty())
        removeExistingPaths(textsOf(selected));
}

void PXExclusionsController::removeExtensions()
{
    if (const ExclusionEntries selected = m_extensions.arrayController->selectedObjects(); !selected.empty())
        removeExistingExtensions(textsOf(selected));
}

void PXExclusionsController::addExtensions()
{
    if (m_extensions.tableView)
        m_extensions.tableView->endEditing();
    if (contains(m_extensions.entries, QLatin1String(kPlaceholder)))
        return showAlert("Duplicated Extension", "Please rename the default extension before adding new ones.");
    m_extensions.arrayController->setFilter({});
    const ExclusionEntry entry = std::make_shared<QString>(QLatin1String(kPlaceholder));
    m_extensions.entries.push_back(entry);
    save(m_extensions);
    m_extensions.arrayController->setSelectedObjects({entry});
    beginEditing(entry);
}

void PXExclusionsController::beginEditing(const ExclusionEntry &entry)
{
    const int row = m_extensions.arrayController->rowOf(entry);
    if (row < 0 || !m_extensions.tableView)
        return;
    const QModelIndex place = m_extensions.arrayController->index(row, 0);
    m_extensions.tableView->scrollTo(place);
    m_extensions.tableView->edit(place);
}

bool PXExclusionsController::handleRequest(const std::string &request)
{
    using Action = void (PXExclusionsController::*)(const QStringList &);
    static constexpr std::pair<const char *, Action> kActions[] = {
        {"exclusions paths add ", &PXExclusionsController::addNewPaths},
        {"exclusions paths remove ", &PXExclusionsController::removeExistingPaths},
        {"exclusions extensions add ", &PXExclusionsController::addNewExtensions},
        {"exclusions extensions remove ", &PXExclusionsController::removeExistingExtensions},
    };
    for (const auto &[words, action] : kActions) {
        if (!request.starts_with(words))
            continue;
        const std::string text = request.substr(std::string(words).size());
        if (!text.empty())
            (this->*action)({QString::fromStdString(text)});
        return true;
    }
    return false;
}
