#include "Classes/PrefPane/PXExclusionsController.h"

#include "Classes/PrefPane/FilePasteboard.h"
#include "Classes/PrefPane/OpenPanel.h"
#include "Classes/Shared/AlertSheet.h"
#include "Platform/HostApplication.h"

#include <QMimeData>

#include <algorithm>

// What the user does with the two tables, and what these ask their delegate.

static QStringList textsOf(const ExclusionEntries &entries)
{
    QStringList texts;
    for (const ExclusionEntry &entry : entries)
        texts.append(*entry);
    return texts;
}

static void showDuplicatedExtension(const char *informativeText)
{
    AlertSheet::alertWithMessageText("Duplicated Extension", "OK", {}, {}, informativeText)
        .beginSheetModalForWindow(windowForSheets(), {});
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

void PXExclusionsController::removeSelected(List &list)
{
    endEditing(list); // which may rename what is selected
    if (const ExclusionEntries selected = list.arrayController->selectedObjects(); !selected.empty())
        removeExisting(list, textsOf(selected));
}

void PXExclusionsController::removePaths()
{
    removeSelected(m_paths);
}

void PXExclusionsController::removeExtensions()
{
    removeSelected(m_extensions);
}

void PXExclusionsController::addExtensions()
{
    if (m_extensions.tableView)
        m_extensions.tableView->endEditing();
    m_extensions.arrayController->setFilter({});
    const bool isThere = std::any_of(m_extensions.entries.begin(), m_extensions.entries.end(),
                                     [](const ExclusionEntry &entry) { return *entry == QLatin1String(kPlaceholder); });
    if (isThere)
        return showDuplicatedExtension("Please rename the default extension before adding new ones.");
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

bool PXExclusionsController::tableviewRemoveSelectedRowIndexes(DVTableView &table, const std::vector<int> &)
{
    if (&table == m_paths.tableView)
        removePaths();
    else
        removeExtensions();
    return true;
}

/// A row that the filter hides could be the one that the edited is a duplicate of.
QModelIndex PXExclusionsController::tableviewWillEdit(DVTableView &table, const QModelIndex &index)
{
    ExclusionsArrayController *const arranged =
        &table == m_paths.tableView ? m_paths.arrayController : m_extensions.arrayController;
    const ExclusionEntry entry = arranged->arrangedObjects()[std::size_t(index.row())];
    arranged->setFilter({});
    return arranged->index(arranged->rowOf(entry), index.column());
}

void PXExclusionsController::tableviewDidEndEditing(DVTableView &table, const std::vector<int> &rows)
{
    ExclusionsArrayController *const arranged = m_extensions.arrayController;
    if (&table != m_extensions.tableView || rows.empty() || rows.front() >= arranged->rowCount())
        return;
    const ExclusionEntry entry = arranged->arrangedObjects()[std::size_t(rows.front())];
    entry->remove(u' ');
    while (entry->startsWith(u'.'))
        entry->remove(0, 1);
    announce(m_extensions);
    if (entry->isEmpty())
        return beginEditing(entry);
    if (removeIfDuplicate(entry))
        return;
    saveExclusionExtensions();
    if (const int row = arranged->rowOf(entry); row >= 0)
        table.scrollTo(arranged->index(row, 0));
}

bool PXExclusionsController::removeIfDuplicate(const ExclusionEntry &entry)
{
    const ExclusionEntries &others = m_extensions.arrayController->arrangedObjects();
    const bool isDuplicate = std::any_of(
        others.begin(), others.end(), [&](const ExclusionEntry &other) { return other != entry && *other == *entry; });
    if (!isDuplicate)
        return false;
    showDuplicatedExtension("There was another excluded extension with the same name, Tamsel removed the duplicate.");
    std::erase(m_extensions.entries, entry);
    announce(m_extensions);
    return true;
}

QStringList PXExclusionsController::extensionsFor(const QStringList &paths)
{
    QStringList extensions;
    for (QString path : paths) {
        while (path.endsWith(u'/'))
            path.chop(1);
        const QString name = path.mid(path.lastIndexOf(u'/') + 1);
        const qsizetype dot = name.lastIndexOf(u'.');
        if (dot > 0 && dot + 1 < name.size())
            extensions.append(name.mid(dot + 1));
    }
    return extensions;
}

bool PXExclusionsController::tableViewValidateDrop(DVTableView &, const QMimeData &data)
{
    return data.hasUrls();
}

bool PXExclusionsController::tableViewAcceptDrop(DVTableView &table, const QMimeData &data, const QObject *source)
{
    const QStringList names = FilePasteboard::fileNames(data);
    if (source == &table || names.isEmpty())
        return false;
    if (&table == m_paths.tableView)
        addNewPaths(names);
    else
        addNewExtensions(extensionsFor(names));
    HostApplication::current().activate(true);
    return true;
}
