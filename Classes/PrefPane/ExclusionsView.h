#pragma once

#include "Classes/PrefPane/ExclusionCounter.h"

#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <functional>
#include <string>
#include <vector>

class ExclusionListPanel;
class ExclusionsArrayController;
class PXExclusionsController;

/// The page of the exclusions: both lists side by side. Says under each list how many files of the watched folders the
/// selected entries leave out. Main thread.
class ExclusionsView final : public QWidget
{
    Q_OBJECT

public:
    using WatchedFolders = std::function<std::vector<std::string>()>;

    explicit ExclusionsView(QWidget *parent = nullptr);
    ~ExclusionsView() override;

    /// Shows the lists of `controller`, which it takes over, and gives it its tables.
    void follow(PXExclusionsController *controller, WatchedFolders watchedFolders);

    /// To be called whenever there may be others. Counts anew where there are.
    void watchedFoldersChanged();

private:
    /// One list with what counts for it.
    struct Side
    {
        ExclusionListPanel *panel = nullptr;
        ExclusionsArrayController *arranged = nullptr;
        ExclusionCounter counter;
        QTimer delay; ///< a selection that is still moving is not counted
    };

    void connectPaths();
    void connectExtensions();
    void connectCounting(Side &side, bool isOfPaths);
    void countSoon(Side &side);
    void startCounting(Side &side, bool isOfPaths);

    QPointer<PXExclusionsController> m_controller;
    WatchedFolders m_watchedFolders;
    std::vector<std::string> m_folders; ///< what it said last
    Side m_paths;
    Side m_extensions;
};
