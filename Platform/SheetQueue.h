#pragma once

#include <QDialog>
#include <QObject>
#include <QPointer>

#include <functional>
#include <list>

/// The sheets of a process's windows: one at a time for each window, in the order in which they were begun, each
/// reporting its end exactly once. A dialog alone does not: it says nothing when its window is closed or deleted under
/// it, and a second one on the same window is shown over the first. Main thread.
class SheetQueue final : public QObject
{
    Q_OBJECT

public:
    using DidEnd = std::function<void(int result)>;
    using Present = std::function<void(QDialog *)>;

    /// `present` puts a sheet on screen when its turn comes.
    explicit SheetQueue(Present present);
    ~SheetQueue() override;

    /// As `HostApplication::beginSheet`.
    void begin(QDialog *sheet, QWidget *window, DidEnd didEnd);

    /// The sheet of `window` whose turn it is, or nullptr.
    QDialog *attached(const QWidget *window) const;

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Entry
    {
        QPointer<QObject> sheet;         ///< no dialog any more while it is being destroyed
        const QWidget *window = nullptr; ///< only compared: it may be gone
        DidEnd didEnd;
        bool isPresented = false;
    };

    void presentNext(const QWidget *window);
    void finish(QObject *sheet, int result);
    void abandon(const std::function<bool(const Entry &)> &which);
    void runAbandoned();

    Present m_present;
    bool m_isOver = false; ///< the application ends; nothing is shown any more
    std::list<Entry> m_entries;
    std::list<DidEnd> m_abandoned; ///< ended with their window, their ends not yet reported
};
