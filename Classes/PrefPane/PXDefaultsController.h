#pragma once

#include "Classes/Shared/SharedInstance.h"
#include "Platform/PropertyList.h"
#include "Platform/Types.h"

#include <QObject>

#include <optional>

/// The pane's settings, shared with the helper through "defaults.plist": read once when the instance is made, written
/// whole after every change. Each setter ends with its Changed signal, whether or not the value differs. One per
/// process, of the pane alone; main thread.
class PXDefaultsController final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(PropertyList defaults READ defaults)
    Q_PROPERTY(bool helperActive READ helperActive WRITE setHelperActive NOTIFY helperActiveChanged)
    Q_PROPERTY(bool checkForUpdates READ checkForUpdates WRITE setCheckForUpdates NOTIFY checkForUpdatesChanged)
    Q_PROPERTY(bool autorunAtLogin READ autorunAtLogin WRITE setAutorunAtLogin NOTIFY autorunAtLoginChanged)
    Q_PROPERTY(bool visible READ visible WRITE setVisible NOTIFY visibleChanged)

public:
    static PXDefaultsController *sharedDefaultsController() { return SharedInstance<PXDefaultsController>::shared(); }

    /// Makes the instance, or answers nullptr when there is one.
    static PXDefaultsController *alloc() { return SharedInstance<PXDefaultsController>::alloc(); }

    /// Where the settings lie; nothing when there is no folder for them. Looked up on every call.
    std::optional<Path> defaultsFileName() const;

    /// The current settings themselves, a dictionary.
    PropertyList &defaults() { return m_defaults; }

    /// YES until the first-run initialisation was done once.
    bool firstRun() const;
    void setFirstRunDone();

    /// Whether the helper compresses.
    bool helperActive() const;
    void setHelperActive(bool active);

    /// Whether the helper is to be started at login. Says what is stored, not what the login items hold.
    bool autorunAtLogin() const;
    void setAutorunAtLogin(bool autorun);

    /// Whether the helper looks for new versions by itself. The setter tells the helper each time.
    bool checkForUpdates() const;
    void setCheckForUpdates(bool check);

    /// Whether the helper shows itself.
    bool visible() const;
    void setVisible(bool visible);

    /// Replaces the current settings with those of the file, or with the built-in ones when it holds none. A file that
    /// cannot be read for want of something else than its content is read again before the next change and not
    /// written before that.
    void reload();

    /// Writes the settings; a failure is logged and the values stay in memory.
    void synchronize();

Q_SIGNALS:
    void helperActiveChanged(bool active);
    void autorunAtLoginChanged(bool autorun);
    void checkForUpdatesChanged(bool check);
    void visibleChanged(bool visible);

private:
    friend class SharedInstance<PXDefaultsController>;

    PXDefaultsController() = default;
    void init();
    void setupDefaultValues();
    bool flag(const char *key) const;
    void store(const char *key, bool value);
    bool keepUnreadableFileAside(const Path &file);

    PropertyList m_defaults;
    PropertyList m_defaultValues;
    bool m_fileIsUnreadable = false; ///< what lies at the file's place is no settings and was not moved away
    bool m_fileIsUnknown = false;    ///< what lies there could not be read this time, and may be in order
};
