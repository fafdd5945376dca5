#pragma once

#include <QFileDialog>

/// An open panel in which files and folders alike can be chosen, several at once, and new folders be made. Starts in
/// the user's home directory.
class FilesAndFoldersPanel final : public QFileDialog
{
    Q_OBJECT

public:
    explicit FilesAndFoldersPanel(QWidget *parent = nullptr);

    /// What was chosen: the rows that are selected, else what was typed.
    QStringList chosenPaths() const { return m_chosen; }

public Q_SLOTS:
    /// Takes a selected folder, where an ordinary panel would go into it; a double click still does.
    void accept() override;

private:
    QStringList selectedRows() const;
    void enableButton();

    QStringList m_chosen;
};
