#pragma once

#include "Host/PaneLoader.h"

#include <QWidget>

#include <functional>

class QStackedLayout;

/// The place of one pane in the window: loads the pane when it is selected for the first time, tells it each time it
/// is selected and left, and shows a message where it cannot be shown. Main thread.
class PanePage final : public QWidget
{
    Q_OBJECT

public:
    using Loader = std::function<PaneOrFault()>;

    PanePage(QString name, Loader loader, QWidget *parent = nullptr);
    ~PanePage() override;

    const QString &name() const { return m_name; }
    bool isLoaded() const { return m_pane != nullptr; }
    bool isSelected() const { return m_isSelected; }

    /// Called when this page stands visible in its window. A pane whose plug-in could not be loaded
    /// is tried again.
    void select();

    /// Called before the page is left; does nothing when it is not selected.
    void unselect();

    /// Whether the window may be closed as far as the pane is concerned; where it may not, `close` is called once it
    /// may.
    bool mayClose(std::function<void()> close);

    /// Hands the request of a command line to the pane; does nothing while it is not loaded.
    void handleRequest(const std::string &request);

Q_SIGNALS:
    /// The pane has made its view and is ready to be shown.
    void viewLoaded(QWidget *view);

private:
    bool load();
    bool attempt(const std::function<void()> &call);
    void showFault(const PaneFault &fault);

    QString m_name;
    Loader m_loader;
    QStackedLayout *m_layout = nullptr;
    PreferencePane *m_pane = nullptr; ///< never freed: observers that it has added live as long as the process
    QWidget *m_view = nullptr;
    QWidget *m_fault = nullptr;
    bool m_isWanted = false;
    bool m_isSelected = false;
    bool m_isBroken = false; ///< failed half-way through its start, which is not to be done twice
};
