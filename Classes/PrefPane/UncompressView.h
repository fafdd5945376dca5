#pragma once

#include <QPointer>
#include <QTimer>
#include <QWidget>

class DVBox;
class DragInfoImageView;
class NoteLabel;
class PXUncompressorController;
class QLabel;
class QProgressBar;
class QPushButton;
class QStackedWidget;
class QTreeView;
class UncompressList;
class UncompressSaving;
struct ExpansionProgress;

/// The page of the drop zone: the box, how far a run is with the button that cancels it, and what became of the files.
/// Main thread.
class UncompressView final : public QWidget
{
    Q_OBJECT

public:
    explicit UncompressView(QWidget *parent = nullptr);
    ~UncompressView() override;

    /// The picture in the box while it rests.
    void setIcon(const QPixmap &icon);

    /// Gives `controller`, which it takes over, its outlets, and shows its runs.
    void follow(PXUncompressorController *controller);

private:
    void makeBox();
    QWidget *makeList();
    QPushButton *makeButton(const char *name, const QString &text, const QString &tip);
    void connectButtons();
    void beginRun();
    void showProgress();
    void showState(const ExpansionProgress &progress);
    void choose();
    void paste();
    void copy();
    void save();
    void showSaved(const QString &file, const QString &fault, bool isWritten);
    void enableSaving();

    QPointer<PXUncompressorController> m_controller;
    QTimer m_refresh; ///< runs while a run does
    DVBox *m_box = nullptr;
    DragInfoImageView *m_dragInfo = nullptr;
    QLabel *m_icon = nullptr;
    QLabel *m_label = nullptr;
    QPushButton *m_open = nullptr;
    QPushButton *m_cancel = nullptr;
    QPushButton *m_copy = nullptr;
    QPushButton *m_save = nullptr;
    QProgressBar *m_bar = nullptr;
    NoteLabel *m_state = nullptr;
    QStackedWidget *m_place = nullptr; ///< of the list, and of what is said while it is empty
    QTreeView *m_tree = nullptr;
    UncompressList *m_list = nullptr;
    UncompressSaving *m_saving = nullptr;
};
