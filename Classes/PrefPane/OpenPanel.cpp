#include "Classes/PrefPane/OpenPanel.h"

#include "Classes/PrefPane/FilePasteboard.h"
#include "Platform/FolderChooser.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QFileSystemModel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QToolTip>
#include <QTreeView>
#include <QUrl>

#include <algorithm>

OpenPanel::OpenPanel(Choose kind, QWidget *parent)
    : QFileDialog(parent)
    , m_kind(kind)
{
    setOption(DontUseNativeDialog); // of those that the toolkit knows none shows both kinds or takes several folders
    setAttribute(Qt::WA_DontShowOnScreen, kind == Choose::Folders); // until the desktop has no dialog
    setFileMode(kind == Choose::Folders ? Directory : ExistingFiles);
    setOption(ShowDirsOnly, kind == Choose::Folders);
    setDirectory(QDir::home());
    setLabelText(Accept, tr("Add"));
    for (const char *name : {"fileTypeLabel", "fileTypeCombo"}) {
        if (auto *const widget = findChild<QWidget *>(QLatin1String(name)); widget && kind == Choose::Folders)
            widget->hide(); // there are no types of folders
    }
    if (auto *const details = findChild<QTreeView *>(QStringLiteral("treeView")))
        details->setSelectionMode(QAbstractItemView::ExtendedSelection);
    if (auto *const rows = findChild<QListView *>(QStringLiteral("listView"))) {
        rows->setSelectionMode(QAbstractItemView::ExtendedSelection);
        connect(rows->selectionModel(), &QItemSelectionModel::selectionChanged, this, &OpenPanel::enableButton,
                Qt::QueuedConnection);
    }
}

void OpenPanel::showEvent(QShowEvent *event)
{
    QFileDialog::showEvent(event);
    if (!testAttribute(Qt::WA_DontShowOnScreen) || m_desktopDialog)
        return;
    m_desktopDialog = FolderChooser::current().choose({windowTitle().toStdString(), labelText(Accept).toStdString(),
                                                       QFile::encodeName(directory().absolutePath()).toStdString()},
                                                      parentWidget(), [this](const auto &urls) { takeAnswer(urls); });
}

void OpenPanel::takeAnswer(const std::optional<std::vector<std::string>> &urls)
{
    if (!urls) {
        hide();
        setAttribute(Qt::WA_DontShowOnScreen, false);
        return open();
    }
    for (const std::string &url : *urls) {
        if (const auto path = FilePasteboard::pathOf(QUrl::fromEncoded(QByteArray::fromStdString(url))))
            m_chosen.append(QFile::decodeName(path->c_str()));
    }
    done(m_chosen.isEmpty() ? Rejected : Accepted);
}

bool OpenPanel::canBeChosen(const QString &path) const
{
    return m_kind == Choose::Folders ? QFileInfo(path).isDir() : QFileInfo::exists(path);
}

QStringList OpenPanel::selectedRows() const
{
    QStringList paths;
    if (const auto *const rows = findChild<QListView *>(QStringLiteral("listView"))) {
        for (const QModelIndex &index : rows->selectionModel()->selectedRows())
            paths.append(index.data(QFileSystemModel::FilePathRole).toString());
    }
    return paths;
}

/// The panel knows of one kind only, and of one folder.
void OpenPanel::enableButton()
{
    const auto *const buttons = findChild<QDialogButtonBox *>();
    QPushButton *const button = buttons ? buttons->button(QDialogButtonBox::Open) : nullptr;
    if (button && !selectedRows().isEmpty())
        button->setEnabled(true);
}

/// What was typed, perhaps as one of several, is not there.
void OpenPanel::complain()
{
    if (QLineEdit *const name = findChild<QLineEdit *>()) {
        name->setFocus();
        name->selectAll();
        QToolTip::showText(
            name->mapToGlobal(QPoint(0, name->height())),
            m_kind == Choose::Folders ? tr("There is no such folder.") : tr("There is no such file or folder."), name);
    }
    QApplication::beep();
}

void OpenPanel::accept()
{
    const auto *const name = findChild<QLineEdit *>();
    const bool isTyped = name && name->hasFocus() && !name->text().isEmpty();
    m_chosen = isTyped ? QStringList() : selectedRows();
    if (!m_chosen.isEmpty())
        return done(Accepted);
    const QStringList typed = selectedFiles();
    const bool isThere = std::ranges::all_of(typed, [this](const QString &path) { return canBeChosen(path); });
    if (!isThere)
        return complain();
    for (const QString &path : typed)
        m_chosen.append(QDir::cleanPath(path));
    if (!m_chosen.isEmpty())
        done(Accepted);
}
