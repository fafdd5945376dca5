#pragma once

#include "Classes/Shared/SharedInstance.h"

/// Tells the helper of what changed, by notifications without object or user information. A post to a helper that does
/// not run is lost; the settings file is what lasts. One per process; main thread.
class PXPreferenceCommunicator final
{
public:
    static PXPreferenceCommunicator *sharedCommunicatorController()
    {
        return SharedInstance<PXPreferenceCommunicator>::shared();
    }

    /// Makes the instance, or answers nullptr when there is one.
    static PXPreferenceCommunicator *alloc() { return SharedInstance<PXPreferenceCommunicator>::alloc(); }

    void notifyHelperShouldKeepAlive();
    void notifyHelperShouldQuit();
    void notifyHelperActiveStatusChanged();
    void notifyHelperShouldCheckForUpdates();
    void notifyAutomaticUpdatesEnabled();
    void notifyAutomaticUpdatesDisabled();

    PXPreferenceCommunicator(const PXPreferenceCommunicator &) = delete;
    PXPreferenceCommunicator &operator=(const PXPreferenceCommunicator &) = delete;

private:
    friend class SharedInstance<PXPreferenceCommunicator>;

    PXPreferenceCommunicator() = default;
    void init() {}
};
