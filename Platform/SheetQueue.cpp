#include "Platform/SheetQueue.h"

#include <QCoreApplication>
#include <QEvent>
#include <QMetaObject>

#include <algorithm>

SheetQueue::SheetQueue(Present present)
    : m_present(std::move(present))
{
    if (QCoreApplication *const application = QCoreApplication::instance())
        connect(application, &QCoreApplication::aboutToQuit, this, [this] {
            m_isOver = true;
            abandon([](const Entry &) { return true; });
            runAbandoned();
        });
}

SheetQueue::~SheetQueue() = default;

void SheetQueue::begin(QDialog *sheet, QWidget *window, DidEnd didEnd)
{
    if (m_isOver)
        return didEnd(0);
    sheet->setParent(window, Qt::Dialog);
    sheet->setWindowModality(window ? Qt::WindowModal : Qt::NonModal);
    connect(sheet, &QDialog::finished, this, [this, sheet](int result) { finish(sheet, result); });
    connect(sheet, &QObject::destroyed, this, [this](const QObject *destroyed) {
        abandon([destroyed](const Entry &entry) { return entry.sheet.isNull() || entry.sheet == destroyed; });
    });
    if (window)
        window->installEventFilter(this);
    m_entries.push_back({sheet, window, std::move(didEnd), false});
    presentNext(window);
}

QDialog *SheetQueue::attached(const QWidget *window) const
{
    const auto found = std::ranges::find_if(
        m_entries, [window](const Entry &entry) { return entry.window == window && entry.isPresented; });
    return found == m_entries.end() ? nullptr : qobject_cast<QDialog *>(found->sheet);
}

bool SheetQueue::eventFilter(QObject *watched, QEvent *event)
{
    // A spontaneous one is the window manager's, for a window that is minimised.
    if (event->type() == QEvent::Hide && !event->spontaneous())
        abandon([watched](const Entry &entry) { return entry.window == watched; });
    return QObject::eventFilter(watched, event);
}

void SheetQueue::presentNext(const QWidget *window)
{
    const auto next = std::ranges::find_if(m_entries, [window](const Entry &entry) { return entry.window == window; });
    QDialog *const sheet = next == m_entries.end() ? nullptr : qobject_cast<QDialog *>(next->sheet);
    if (!sheet || next->isPresented)
        return;
    next->isPresented = true;
    m_present(sheet);
}

void SheetQueue::finish(QObject *sheet, int result)
{
    const auto ended = std::ranges::find_if(m_entries, [sheet](const Entry &entry) { return entry.sheet == sheet; });
    if (ended == m_entries.end())
        return;
    const Entry entry = std::move(*ended);
    m_entries.erase(ended);
    sheet->disconnect(this);
    const QPointer<SheetQueue> guard(this);
    entry.didEnd(result);
    if (guard)
        presentNext(entry.window);
}

void SheetQueue::abandon(const std::function<bool(const Entry &)> &which)
{
    // Called from within the end of a window or a sheet: what the reports lead to has to wait until that is over.
    std::list<const QWidget *> windows;
    for (auto entry = m_entries.begin(); entry != m_entries.end();) {
        if (!which(*entry)) {
            ++entry;
            continue;
        }
        windows.push_back(entry->window);
        m_abandoned.push_back(std::move(entry->didEnd));
        const QPointer<QObject> sheet = entry->sheet;
        entry = m_entries.erase(entry);
        if (!sheet)
            continue;
        sheet->disconnect(this);
        if (auto *const widget = qobject_cast<QWidget *>(sheet))
            widget->hide();
    }
    if (m_abandoned.empty())
        return;
    QMetaObject::invokeMethod(
        this,
        [this, windows] {
            runAbandoned();
            for (const QWidget *window : windows)
                presentNext(window);
        },
        Qt::QueuedConnection);
}

void SheetQueue::runAbandoned()
{
    while (!m_abandoned.empty()) {
        const DidEnd didEnd = std::move(m_abandoned.front());
        m_abandoned.pop_front();
        didEnd(0);
    }
}
