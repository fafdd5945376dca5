#pragma once

#include "Classes/PrefPane/DVTableView.h"
#include "Classes/PrefPane/ExclusionListFile.h"
#include "Classes/PrefPane/ExclusionsArrayController.h"
#include "Platform/Types.h"

#include <QObject>
#include <QPointer>
#include <QStringList>

#include <optional>
#include <string>

/// Holds the user's two lists, excluded paths and excluded extensions, shows them in two tables and saves after every
/// change, which the helper is told of. The files are read when this is made and never again. Main thread.
class PXExclusionsController final : public QObject, public DVTableViewDelegate, public DVTableViewDataSource
{
    Q_OBJECT

public:
    static constexpr const char *kPlaceholder = "please_rename_me";

    explicit PXExclusionsController(QObject *parent = nullptr);
    ~PXExclusionsController() override;

    /// The outlets, set by the interface, which they belong to.
    void setPathsTableView(DVTableView *table) { m_paths.tableView = table; }
    void setExtensionsTableView(DVTableView *table) { m_extensions.tableView = table; }
    ExclusionsArrayController *exclusionsPathsArrayController() const { return m_paths.arrayController; }
    ExclusionsArrayController *exclusionsExtensionsArrayController() const { return m_extensions.arrayController; }

    /// To be called once the outlets are set.
    void awakeFromNib();

    /// In the order in which they were added.
    const ExclusionEntries &exclusionsPathsArray() const { return m_paths.entries; }
    const ExclusionEntries &exclusionsExtensionsArray() const { return m_extensions.entries; }

    std::optional<Path> pathToExclusionPathsFile() const;
    std::optional<Path> pathToExclusionExtensionsFile() const;

    /// Writes the list, without blank entries, and tells the helper; else tells the user, and answers false.
    bool saveExclusionPaths() { return save(m_paths); }
    bool saveExclusionExtensions() { return save(m_extensions); }

    /// Adds those that are not in the list yet, twice what comes twice, but never "/". Answers whether there were any.
    bool addNewPaths(const QStringList &paths);

    /// Adds those that are not in the list yet, each once, and answers whether there were any. Case counts.
    bool addNewExtensions(const QStringList &extensions);

    /// Removes every entry that equals one of these.
    void removeExistingPaths(const QStringList &paths) { removeExisting(m_paths, paths); }
    void removeExistingExtensions(const QStringList &extensions) { removeExisting(m_extensions, extensions); }

    /// The extensions of the files that have one, in their order.
    static QStringList extensionsFor(const QStringList &paths);

    /// "exclusions paths add TEXT", "exclusions extensions remove TEXT" and the like, from the command line; what
    /// cannot be an entry is not added. Answers whether it was such a request.
    bool handleRequest(const std::string &request);

    bool tableviewRemoveSelectedRowIndexes(DVTableView &table, const std::vector<int> &rows) override;
    void tableviewDidEndEditing(DVTableView &table, const std::vector<int> &rows) override;
    QModelIndex tableviewWillEdit(DVTableView &table, const QModelIndex &index) override;
    bool tableViewValidateDrop(DVTableView &table, const QMimeData &data) override;
    bool tableViewAcceptDrop(DVTableView &table, const QMimeData &data, const QObject *source) override;

public Q_SLOTS:
    /// Asks for files and folders to add.
    void addPaths();
    void removePaths();

    /// Adds a placeholder and begins to edit it, unless there is one already.
    void addExtensions();
    void removeExtensions();

Q_SIGNALS:
    void exclusionsPathsArrayChanged();
    void exclusionsExtensionsArrayChanged();

    /// A list file that somebody else had changed was kept under this name when it was replaced.
    void otherPathsFileKept(const QString &name);
    void otherExtensionsFileKept(const QString &name);

    /// Was not added, because the name of the file is no text.
    void pathNotStorable(const QString &path);
    void extensionNotStorable(const QString &extension);

private:
    struct List
    {
        std::optional<ExclusionListFile> file; ///< nothing until there is a folder for the user's files
        ExclusionEntries entries;
        QPointer<ExclusionsArrayController> arrayController;
        QPointer<DVTableView> tableView;
        std::optional<Path> (PXExclusionsController::*path)() const;
        const char *notification;
        const char *saveAlert;
        void (PXExclusionsController::*changed)();
        void (PXExclusionsController::*otherKept)(const QString &);
        void (PXExclusionsController::*notStorable)(const QString &);
    };

    ExclusionListFile *fileOf(List &list);
    void load(List &list, const char *defaults);
    void prepare(List &list);
    bool save(List &list);
    Result<std::optional<Path>> write(List &list);
    void announce(List &list);
    static void endEditing(List &list);
    bool append(List &list, QStringList texts);
    void removeExisting(List &list, const QStringList &texts);
    void removeSelected(List &list);
    void beginEditing(const ExclusionEntry &entry);
    bool removeIfDuplicate(const ExclusionEntry &entry);

    List m_paths;
    List m_extensions;
};
