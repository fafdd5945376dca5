#include "Classes/PrefPane/PXPreferenceCommunicator.h"

#include "Platform/DistributedNotificationCenter.h"

static void post(const char *name)
{
    DistributedNotificationCenter::current().post(name);
}

void PXPreferenceCommunicator::notifyHelperShouldKeepAlive()
{
    post("pellixHelperShouldKeepAlive");
}

void PXPreferenceCommunicator::notifyHelperShouldQuit()
{
    post("pellixHelperShouldQuit");
}

void PXPreferenceCommunicator::notifyHelperActiveStatusChanged()
{
    post("com.dovrane.pellix.active");
}

void PXPreferenceCommunicator::notifyHelperShouldCheckForUpdates()
{
    post("pellixHelperShouldCheckForUpdates");
}

void PXPreferenceCommunicator::notifyAutomaticUpdatesEnabled()
{
    post("pellixHelperEnableUpdates");
}

void PXPreferenceCommunicator::notifyAutomaticUpdatesDisabled()
{
    post("pellixHelperDisableUpdates");
}
