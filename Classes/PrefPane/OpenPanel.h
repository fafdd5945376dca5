#pragma once

#include <QFileDialog>

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// A panel in which folders, or files and folders alike, can be chosen, several at once, and new folders be made.
/// Starts in the user's home directory. For folders the desktop's own dialog stands in its place where there is one;
/// the panel is modal then without being seen.
class OpenPanel final : public QFileDialog
{
    Q_OBJECT

public:
    enum class Choose { Folders, FilesAndFolders };

    explicit OpenPanel(Choose kind, QWidget *parent = nullptr);

    /// What was chosen: the rows that are selected or what was typed, whichever had the keys last, else the other; of
    /// folders without either the one that is shown.
    QStringList chosenPaths() const { return m_chosen; }

public Q_SLOTS:
    /// Takes a selected folder, where an ordinary panel would go into it; a double click still does.
    void accept() override;

protected:
    void showEvent(QShowEvent *event) override;

private:
    void takeAnswer(const std::optional<std::vector<std::string>> &urls);
    bool canBeChosen(const QString &path) const;
    QStringList selectedRows() const;
    QStringList typedPaths() const;
    void enableButton();
    void complain();

    Choose m_kind;
    QStringList m_chosen;
    bool m_isTyped = false; ///< the keys were in the line last, not in the rows
    std::unique_ptr<QObject> m_desktopDialog;
};
