#pragma once

#include "Platform/Bundle.h"

#include <QtPlugin>

#include <functional>
#include <memory>
#include <string>

class QWidget;

/// A pane that a host shows: what a plug-in's principal class derives from. Main thread.
class PreferencePane
{
public:
    explicit PreferencePane(Bundle bundle)
        : m_bundle(std::move(bundle))
    {
    }
    virtual ~PreferencePane() = default;
    PreferencePane(const PreferencePane &) = delete;
    PreferencePane &operator=(const PreferencePane &) = delete;

    const Bundle &bundle() const { return m_bundle; }

    /// The name of the interface file that `loadMainView` loads.
    virtual std::string mainNibName() const { return "Main"; }

    /// Makes the view, which the host owns from then on. Called once, before `mainViewDidLoad`.
    virtual QWidget *loadMainView() = 0;

    /// Called once, when the view stands in the host's window.
    virtual void mainViewDidLoad() {}

    /// Called each time the user opens the pane, and each time the user leaves it.
    virtual void didSelect() {}
    virtual void didUnselect() {}

    /// Asked when the user wants to close the window. Where something stands against it the pane answers false, asks
    /// the user in its own way, and calls `close`, as long as its view stands, when the user agrees; the panes are
    /// asked again then. A session that ends does not ask.
    virtual bool mayClose(std::function<void()> close) { return static_cast<void>(close), true; }

    /// Called when a command line asks the host's loaded pane for something in its own words, such as "on" or "off".
    /// What the pane does not know it leaves.
    virtual void handleRequest(const std::string &request) { static_cast<void>(request); }

private:
    Bundle m_bundle;
};

/// What a pane's plug-in exports.
class PreferencePanePlugin
{
public:
    virtual ~PreferencePanePlugin() = default;

    /// Makes an instance of the bundle's principal class.
    virtual std::unique_ptr<PreferencePane> makePane(const Bundle &bundle) = 0;
};

#define PreferencePanePlugin_iid "com.dovrane.PreferencePanePlugin/1"
Q_DECLARE_INTERFACE(PreferencePanePlugin, PreferencePanePlugin_iid)
