#pragma once

#include "Classes/PrefPane/DVBox.h"
#include "Classes/PrefPane/PXPathUncompressorDelegate.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>
#include <thread>

class DragInfoImageView;
class ExpansionRun;
class PXExclusionsController;
class QDialog;
class QLabel;

/// Turns what is dropped on its box into ordinary files, one drop at a time, on a thread of its own, and says when that
/// is done. Made by the interface; when it goes, a run ends between two blocks and is waited for. Main thread.
class PXUncompressorController final : public QObject, public DVBoxDelegate, public PXPathUncompressorDelegate
{
    Q_OBJECT
    Q_PROPERTY(bool uncompressing READ uncompressing NOTIFY uncompressingChanged)
    Q_PROPERTY(bool animatingDragInfoImage READ animatingDragInfoImage NOTIFY animatingDragInfoImageChanged)

public:
    explicit PXUncompressorController(QObject *parent = nullptr);
    ~PXUncompressorController() override;

    /// The outlets, set by the interface, which they belong to.
    void setUncompressBox(DVBox *box);
    void setDragInfoImageView(DragInfoImageView *view);
    void setUncompressIconImageView(QLabel *view);
    void setDragTextField(QLabel *field);
    void setExclusionsController(PXExclusionsController *controller);

    /// From a drop until the expansion has finished.
    bool uncompressing() const { return m_uncompressing; }

    /// While something hovers over the box.
    bool animatingDragInfoImage() const { return m_animatingDragInfoImage; }

    bool boxDraggingEntered(DVBox &box, const QMimeData &data) override;
    void boxDraggingExited(DVBox &box, const QMimeData *data) override;
    void boxDraggedFiles(DVBox &box, const std::vector<Path> &paths) override;

    /// Does what a drop of these paths does.
    void uncompress(const std::vector<Path> &paths);

    /// Ends the run between two blocks: the file in hand stays as it is, finished ones are. Without effect when none is
    /// under way.
    void cancel();

    /// Whether nothing is under way. Otherwise asks the user, and calls `close` when they agree that it ends.
    bool mayClose(std::function<void()> close);

    /// The run under way, or the last one; nullptr before the first. To be asked what became of the files.
    const std::shared_ptr<ExpansionRun> &run() const { return m_run; }

    // On the thread of the run, which takes its progress from them.
    void uncompressorWillExpandFile(PXPathUncompressor &uncompressor, const Path &path) override;
    void uncompressorDidExpandFile(PXPathUncompressor &uncompressor, const Path &path) override;
    void uncompressorDidFinishExpandingPath(PXPathUncompressor &, const Path &) override {}

Q_SIGNALS:
    /// `run` is a new one, and about to start.
    void runBegan();
    void uncompressingChanged();
    void animatingDragInfoImageChanged();

private:
    void startRun(const std::vector<Path> &paths);
    void endRun();
    void doExpandFiles(ExpansionRun &run);
    void didFinishUncompressing();
    void presentFinishedUncompressionAlert();
    void startAnimatingDragInfoImage();
    void stopAnimatingDragInfoImage();
    void setAnimatingDragInfoImage(bool isAnimating);
    void fadeRestingViews(double alpha);
    void setUncompressing(bool isUncompressing);
    void setUncompressLabel(const QString &text);
    void askForSpace();
    void answerClosing(bool doClose);

    QPointer<DVBox> m_uncompressBox;
    QPointer<DragInfoImageView> m_dragInfoImageView;
    QPointer<QLabel> m_uncompressIconImageView;
    QPointer<QLabel> m_dragTextField;
    QPointer<PXExclusionsController> m_exclusionsController;
    bool m_animatingDragInfoImage = false;
    bool m_uncompressing = false;
    std::function<void()> m_close; ///< what the user was asked about, or has agreed to
    bool m_isToClose = false;      ///< when the run has ended
    QPointer<QDialog> m_question;  ///< about space, while it is shown or waits for its turn
    std::shared_ptr<ExpansionRun> m_run;
    std::thread m_thread;
};
