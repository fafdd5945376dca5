#pragma once

#include "Classes/PrefPane/FolderRefusal.h"

#include <QPixmap>
#include <QString>
#include <QWidget>

#include <memory>
#include <vector>

class Bundle;
class PXDefaultsController;
class FoldersArrayController;
class QMimeData;
namespace Ui {
class TamselPref;
}

/// What the interface file describes, filled with what the pane knows. Shows and reports; decides nothing. Main thread.
class TamselPrefView final : public QWidget
{
    Q_OBJECT

public:
    explicit TamselPrefView(const Bundle &bundle);
    ~TamselPrefView() override;

    Ui::TamselPref &ui() { return *m_ui; }

    /// The pane's icon, `side` points wide, sharp on the finest display.
    QPixmap icon(int side) const;

    /// Keeps the check boxes and the words beside the switch in step with the settings, which outlive the view.
    void follow(PXDefaultsController *settings);

    /// To be called once the folder table shows `folders`, which live as long as the view.
    void followFolders(FoldersArrayController *folders);
    void setTotalSavings(quint64 byteCount);

    /// Says below the table which folders were not taken, and why; nothing when there are none.
    void setRefusals(const std::vector<FolderRefusal> &refusals);

    /// Whether the helper is among the login items, and whether there is a list of them at all.
    void setLoginItem(bool isPresent, bool hasList);

    void setHelperRunning(bool isRunning);

    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    /// The user pressed a key of the folder table.
    void addFolderWanted();
    void pasted(const QMimeData &content);

    /// The user changed a setting.
    void automaticUpdatesChosen(bool check);
    void autorunAtLoginChosen(bool autorun);
    void visibleChosen(bool visible);

protected:
    void changeEvent(QEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void connectBoxes();
    void loadIcons(const Bundle &bundle);
    void loadThemeIcons();
    void setUpFonts();
    void setUpTable();
    void showState();
    int folderCount() const;

    std::unique_ptr<Ui::TamselPref> m_ui;
    QPixmap m_largeIcon;
    PXDefaultsController *m_settings = nullptr;
    FoldersArrayController *m_folders = nullptr;
    bool m_isHelperRunning = false;
    bool m_isLoginItem = false;
};
