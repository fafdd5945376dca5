#pragma once

#include <QFileDialog>

/// A panel in which folders, or files and folders alike, can be chosen, several at once, and new folders be made.
/// Starts in the user's home directory.
class OpenPanel final : public QFileDialog
{
    Q_OBJECT

public:
    enum class Choose { Folders, FilesAndFolders };

    explicit OpenPanel(Choose kind, QWidget *parent = nullptr);

    /// What was chosen: the rows that are selected, else what was typed; of folders without either the one that is
    /// shown.
    QStringList chosenPaths() const { return m_chosen; }

public Q_SLOTS:
    /// Takes a selected folder, where an ordinary panel would go into it; a double click still does.
    void accept() override;

private:
    bool canBeChosen(const QString &path) const;
    QStringList selectedRows() const;
    void enableButton();

    Choose m_kind;
    QStringList m_chosen;
};
