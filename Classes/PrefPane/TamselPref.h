#pragma once

#include "Classes/PrefPane/DVTableView.h"
#include "Platform/PreferencePane.h"
#include "Platform/Types.h"

#include <QObject>
#include <QPointer>

#include <memory>
#include <optional>
#include <string>
#include <vector>

class ConfirmationSheet;
class IconButton;
class KeyframeAnimation;
class Layer;
class OpenPanel;
class PXExclusionsController;
class PXUncompressorController;
class QAbstractButton;
class QDialog;
class QLabel;
class QTabWidget;
class QWidget;
class RunningApplication;
class TamselPrefView;

/// The pane: starts and supervises the helper, holds the switch and the login item, and looks after its own
/// installation. Made by the plug-in for its host; what it observes it observes as long as it lives. Main thread.
class TamselPref final : public QObject, public PreferencePane, public DVTableViewDataSource
{
    Q_OBJECT
    Q_PROPERTY(bool autorunAtLogin READ autorunAtLogin WRITE setAutorunAtLogin NOTIFY autorunAtLoginChanged)

public:
    explicit TamselPref(Bundle bundle);
    ~TamselPref() override;

    std::string mainNibName() const override { return "TamselPref"; }
    QWidget *loadMainView() override;
    void mainViewDidLoad() override;
    void didSelect() override;
    void didUnselect() override;

    bool mayClose(std::function<void()> close) override;

    /// "on" and "off": as a click on the switch would do, where it is not so already. Those that begin with
    /// "exclusions" change a list.
    void handleRequest(const std::string &request) override;

    /// Whether the user's login items hold the helper, wherever it lies. Looks at the list on every call.
    bool autorunAtLogin() const;

    /// Makes the list agree. Sends its notice even where there is no list, which is never made here.
    void setAutorunAtLogin(bool autorun);

    /// Renews an entry that is there, with the helper's path as it is now; it becomes the last one.
    void regenerateAutologinItem();

    /// Starts the helper, whether or not it runs: a second one ends by itself.
    void launchHelper();

    /// Flips what the switch says, or, when `sender` is the switch itself, takes over what it says already.
    void toggleActive(const QObject *sender);

    /// Puts the knob where it belongs; the state of the switch is not touched.
    void setActiveButton(bool on, bool animated);

    /// The way of a bubble and its fading.
    std::unique_ptr<KeyframeAnimation> bubbleAnimation() const;
    std::unique_ptr<KeyframeAnimation> opacityAnimation();

    /// The folders among the files of a drag, which may be none; nothing when it holds no files.
    static std::optional<std::vector<std::string>> foldersInPasteboard(const QMimeData &pasteboard);
    bool tableViewValidateDrop(DVTableView &table, const QMimeData &data) override;
    bool tableViewAcceptDrop(DVTableView &table, const QMimeData &data, const QObject *source) override;

    QTabWidget *tabView() const;
    QLabel *versionNumberTextField() const;
    QAbstractButton *toggleActiveButton() const;
    IconButton *iconButton() const;
    DVTableView *foldersTableView() const;
    QDialog *uninstallSheet() const;
    QDialog *restartSheet() const;
    const std::optional<std::string> &relauncherPath() const { return m_relauncherPath; }

public Q_SLOTS:
    void checkForUpdates();
    void showHistory();
    void help();
    void visitSite();
    void confirmUninstall();
    void uninstall();
    void cancelSheet();
    void cancelSheetAction();
    void restart();
    void addBubble();

    /// Asks for folders to watch, and lets the selected ones go.
    void addFolder();
    void removeFolder();

    /// Watches the folders among what was copied.
    void pasteFolders(const QMimeData &content);
    void popBubbles();

    /// Handlers of what the helper asks for.
    void warnAndRelaunchSystemPreferences();
    void relaunchSystemPreferences();

Q_SIGNALS:
    void autorunAtLoginChanged();

private:
    std::string version() const { return bundle().version(); }
    std::optional<Path> helperPath() const;
    Path relaunchTool() const;

    void makeSheets();
    void connectHistory();
    void addFolderPanelDidEnd(const OpenPanel &panel, int returnCode);
    void connectExclusions();
    void connectUncompressor();
    void connectControls();
    void connectView();
    void showLoginItem();
    void observe(const char *name, void (TamselPref::*handler)());
    void checkIfRenamingIsNecessary();
    void firstRunInit();
    void checkRunningHelperVersion();
    void warnOnWrongHelperPermissions();
    void observeVisible();
    void takeOverSwitch(bool on);
    void terminateHost();
    void relaunchSystemPreferencesAndPrefPane();
    void relaunchAfterRename();
    void startRelaunchTool(const std::string &path);
    void removeOwnFiles();
    void sayWhatIsLeft();
    void showCustomSheet(QDialog *sheet);
    void didEndSheet(QDialog *sheet);
    void animateBubbleLayer(Layer *layer);
    void animationDidStop(KeyframeAnimation *animation, bool finished);

    QPointer<TamselPrefView> m_view; ///< the host's
    QPointer<PXExclusionsController> m_exclusions;
    QPointer<PXUncompressorController> m_uncompressor;
    QPointer<ConfirmationSheet> m_uninstallSheet;
    QPointer<ConfirmationSheet> m_restartSheet;
    std::optional<std::string> m_relauncherPath;
    std::shared_ptr<RunningApplication> m_helper; ///< the one launched last
    bool m_isToggling = false;
};
