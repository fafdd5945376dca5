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
    if (const auto *const line = findChild<QLineEdit *>())
        connect(line, &QLineEdit::textChanged, this, &OpenPanel::enableButton, Qt::QueuedConnection);
    // The rows that fit what is typed are selected, too, so that only the keys tell which is meant.
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *, QWidget *now) {
        if (now && isAncestorOf(now) && !qobject_cast<QAbstractButton *>(now))
            m_isTyped = qobject_cast<QLineEdit *>(now);
    });
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

/// The panel knows of one kind only, and of one folder. Whether what is typed is there is said when it is taken.
void OpenPanel::enableButton()
{
    const auto *const buttons = findChild<QDialogButtonBox *>();
    QPushButton *const button = buttons ? buttons->button(QDialogButtonBox::Open) : nullptr;
    if (button && (!selectedRows().isEmpty() || !typedPaths().isEmpty()))
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

/// What is in the line: one name or, in quotes, several. Names may have quotes in them.
QStringList OpenPanel::typedPaths() const
{
    const auto *const line = findChild<QLineEdit *>();
    const QString text = line ? line->text() : QString();
    const auto pathOf = [this](QString name) {
        if (name == QLatin1String("~") || name.startsWith(QLatin1String("~/")))
            name.replace(0, 1, QDir::homePath());
        return QDir::cleanPath(directory().absoluteFilePath(name));
    };
    if (text.isEmpty() || !text.contains(u'"') || canBeChosen(pathOf(text)))
        return text.isEmpty() ? QStringList() : QStringList(pathOf(text));
    QStringList paths;
    const QStringList parts = text.split(u'"');
    for (qsizetype part = 1; part < parts.size(); part += 2) // between the quotes
        paths.append(pathOf(parts[part]));
    return paths;
}

void OpenPanel::accept()
{
    QStringList chosen = m_isTyped ? typedPaths() : selectedRows();
    if (chosen.isEmpty())
        chosen = m_isTyped ? selectedRows() : typedPaths();
    if (chosen.isEmpty())
        chosen = selectedFiles();
    if (!std::ranges::all_of(chosen, [this](const QString &path) { return canBeChosen(path); }))
        return complain();
    for (const QString &path : chosen)
        m_chosen.append(QDir::cleanPath(path));
    if (!m_chosen.isEmpty())
        done(Accepted);
}
