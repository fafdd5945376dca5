#pragma once

#include "Host/PaneCatalog.h"
#include "Host/TableMemory.h"

#include <QWidget>

#include <string>
#include <vector>

class HostSettings;
class PaneGrid;
class PanePage;
class QLabel;
class QStackedWidget;
class QToolButton;

/// The host's window: an overview of all panes, or one of them under a header that leads back. Owns the pages; the
/// panes themselves live as long as the process. Main thread.
class PreferencesWindow final : public QWidget
{
    Q_OBJECT

public:
    /// Looks for panes in `folders`, and again each time the overview is shown. `settings` must outlive the window.
    PreferencesWindow(std::vector<Path> folders, HostSettings &settings, QWidget *parent = nullptr);
    ~PreferencesWindow() override;

    /// Shows the pane that `argument` (see `findPane`) means, or a message where there is none.
    void showPane(const std::string &argument);

    /// Hands the request of a command line to the pane that `argument` means, which is shown when it was not yet.
    void handleRequest(const std::string &argument, const std::string &request);

    /// Shows the pane that was shown last, or the overview.
    void showLastPane();

    void showAll();
    void goBack();

    /// Leaves the pane that is shown and remembers what is to be remembered. The window is hidden then.
    void prepareToEnd();

    /// The page that is shown; nullptr while the overview is.
    PanePage *currentPage() const { return m_current; }

Q_SIGNALS:
    /// The user wants to close the window, and no pane has anything against it.
    void closeRequested();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    struct Entry
    {
        PaneListing listing;
        PanePage *page = nullptr; ///< made when the pane is shown for the first time
    };

    QWidget *makeHeader();
    void addShortcuts();
    void requestClose();
    void refresh();
    void fillGrid();
    std::size_t entryFor(const PaneListing &listing);
    Entry &entryMeant(const std::string &argument);
    PanePage &show(Entry &entry);
    void leaveCurrent();
    void updateHeader();
    void remember(const std::string &pane);

    std::vector<Path> m_folders;
    HostSettings &m_settings;
    TableMemory m_tables;
    std::vector<Entry> m_entries;
    std::vector<Path> m_visited; ///< what `goBack` leads to; an empty path is the overview
    PanePage *m_current = nullptr;
    Path m_currentPath;
    PaneGrid *m_grid = nullptr;
    QStackedWidget *m_stack = nullptr;
    QToolButton *m_back = nullptr;
    QToolButton *m_showAll = nullptr;
    QLabel *m_title = nullptr;
};
