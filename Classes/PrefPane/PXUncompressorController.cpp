#include "Classes/PrefPane/PXUncompressorController.h"

#include "Classes/PrefPane/DragInfoImageView.h"
#include "Classes/PrefPane/ExpansionRun.h"
#include "Classes/PrefPane/PXExclusionsController.h"
#include "Classes/PrefPane/UncompressWords.h"
#include "Classes/Shared/AlertSheet.h"
#include "Classes/Shared/Log.h"
#include "Platform/HostApplication.h"
#include "Platform/Utf8.h"

#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QLabel>
#include <QTimer>

#include <system_error>
#include <utility>

using namespace std::chrono_literals;

static constexpr auto kAlertDelay = 10ms;

PXUncompressorController::PXUncompressorController(QObject *parent)
    : QObject(parent)
{
    connect(qApp, &QCoreApplication::aboutToQuit, this, &PXUncompressorController::endRun);
}

PXUncompressorController::~PXUncompressorController()
{
    endRun();
    if (m_uncompressBox && m_uncompressBox->delegate() == this)
        m_uncompressBox->setDelegate(nullptr);
}

void PXUncompressorController::setUncompressBox(DVBox *box)
{
    m_uncompressBox = box;
    box->setDelegate(this);
}

void PXUncompressorController::setDragInfoImageView(DragInfoImageView *view)
{
    m_dragInfoImageView = view;
}

void PXUncompressorController::setUncompressIconImageView(QLabel *view)
{
    m_uncompressIconImageView = view;
}

void PXUncompressorController::setDragTextField(QLabel *field)
{
    m_dragTextField = field;
}

void PXUncompressorController::setExclusionsController(PXExclusionsController *controller)
{
    m_exclusionsController = controller;
}

bool PXUncompressorController::boxDraggingEntered(DVBox &, const QMimeData &)
{
    if (m_uncompressing)
        return false;
    if (!m_animatingDragInfoImage)
        startAnimatingDragInfoImage();
    return true;
}

void PXUncompressorController::boxDraggingExited(DVBox &, const QMimeData *)
{
    if (m_animatingDragInfoImage)
        stopAnimatingDragInfoImage();
}

void PXUncompressorController::boxDraggedFiles(DVBox &, const std::vector<Path> &paths)
{
    uncompress(paths);
}

/// The list of exclusions is text: a name that is none would exclude another file.
static QStringList textsOf(const std::vector<Path> &paths)
{
    QStringList texts;
    for (const Path &path : paths) {
        if (isUtf8(path.native()))
            texts.append(QFile::decodeName(path.c_str()));
        else
            logLine("Not excluded, because its name is not UTF-8: " + path.native());
    }
    return texts;
}

void PXUncompressorController::uncompress(const std::vector<Path> &paths)
{
    if (m_animatingDragInfoImage)
        stopAnimatingDragInfoImage();
    if (m_uncompressing)
        return;
    setUncompressing(true);
    if (m_exclusionsController)
        m_exclusionsController->addNewPaths(textsOf(paths));
    setUncompressLabel(QStringLiteral("Uncompressing, please wait"));
    startRun(paths);
}

void PXUncompressorController::startRun(const std::vector<Path> &paths)
{
    m_run = std::make_shared<ExpansionRun>(paths, UncompressWords::line);
    m_run->setAsk([this] { QMetaObject::invokeMethod(this, &PXUncompressorController::askForSpace); });
    Q_EMIT runBegan();
    try {
        m_thread = std::thread([this, run = m_run] { doExpandFiles(*run); });
    } catch (const std::system_error &failure) {
        logLine(std::string("Nothing is uncompressed: no thread could be started: ") + failure.what());
        m_run->cancel();
        m_run->perform(this); // ends at once
        QTimer::singleShot(0, this, &PXUncompressorController::didFinishUncompressing);
    }
}

/// On the thread of the run.
void PXUncompressorController::doExpandFiles(ExpansionRun &run)
{
    run.perform(this);
    QMetaObject::invokeMethod(this, &PXUncompressorController::didFinishUncompressing, Qt::QueuedConnection);
}

void PXUncompressorController::uncompressorWillExpandFile(PXPathUncompressor &, const Path &path)
{
    m_run->willExpandFile(path);
}

void PXUncompressorController::uncompressorDidExpandFile(PXPathUncompressor &, const Path &path)
{
    m_run->didExpandFile(path);
}

void PXUncompressorController::didFinishUncompressing()
{
    if (m_thread.joinable())
        m_thread.join();
    if (m_question)
        m_question->reject(); // the run was cancelled
    setUncompressing(false);
    setUncompressLabel(QStringLiteral("Drag files or folders here to uncompress them"));
    if (std::exchange(m_isToClose, false))
        return std::exchange(m_close, {})();
    HostApplication::current().activate(true);
    QTimer::singleShot(kAlertDelay, this, &PXUncompressorController::presentFinishedUncompressionAlert);
}

void PXUncompressorController::presentFinishedUncompressionAlert()
{
    AlertSheet alert = AlertSheet::alertWithMessageText("Finished", "OK", {}, {},
                                                        "Tamsel finished uncompressing all compressed files dragged.");
    alert.setStyle(AlertSheet::Style::Informational);
    alert.beginSheetModalForWindow(windowForSheets(), {});
}

/// The safe answer is the default one, and the one that is given when the sheet goes with its window.
void PXUncompressorController::askForSpace()
{
    if (m_run->isCancelled())
        return;
    QWidget *const window = m_uncompressBox ? m_uncompressBox->window() : nullptr;
    const AlertSheet alert = AlertSheet::alertWithMessageText(
        tr("Not enough space").toStdString(), tr("Cancel").toStdString(), {}, tr("Uncompress Anyway").toStdString(),
        UncompressWords::question(m_run->shortages()).toStdString());
    m_question = alert.beginSheetModalForWindow(
        window, [run = m_run](int returnCode) { run->goOn(returnCode == AlertSheet::kOtherReturn); });
}

bool PXUncompressorController::mayClose(std::function<void()> close)
{
    if (!m_uncompressing)
        return true;
    if (std::exchange(m_close, std::move(close)))
        return false; // the user is being asked already
    QWidget *const window = m_uncompressBox ? m_uncompressBox->window() : nullptr;
    AlertSheet::alertWithMessageText(
        tr("Files are still being uncompressed").toStdString(), tr("Keep Uncompressing").toStdString(), {},
        tr("Stop and Close").toStdString(),
        tr("If you stop now, the file in hand stays compressed as it was. Those that are done stay uncompressed.")
            .toStdString())
        .beginSheetModalForWindow(window, [self = QPointer(this)](int returnCode) {
            if (self)
                self->answerClosing(returnCode == AlertSheet::kOtherReturn);
        });
    return false;
}

void PXUncompressorController::answerClosing(bool doClose)
{
    if (!doClose)
        m_close = {};
    else if (m_uncompressing)
        m_isToClose = true;
    else
        std::exchange(m_close, {})();
    if (m_isToClose)
        m_run->cancel();
}

void PXUncompressorController::cancel()
{
    if (m_uncompressing)
        m_run->cancel();
}

void PXUncompressorController::endRun()
{
    if (m_run)
        m_run->cancel();
    if (m_thread.joinable())
        m_thread.join();
}

void PXUncompressorController::setUncompressing(bool isUncompressing)
{
    m_uncompressing = isUncompressing;
    Q_EMIT uncompressingChanged();
}

void PXUncompressorController::setUncompressLabel(const QString &text)
{
    if (!m_dragTextField)
        return;
    m_dragTextField->setText(text);
    m_dragTextField->update();
}
