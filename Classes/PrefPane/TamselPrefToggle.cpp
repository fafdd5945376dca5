#include "Classes/PrefPane/TamselPref.h"

#include "Classes/PrefPane/PXDefaultsController.h"
#include "Classes/PrefPane/PXPreferenceCommunicator.h"
#include "Classes/Shared/AnimatorProxy.h"
#include "Classes/Shared/BottomLeft.h"
#include "Platform/SuddenTermination.h"
#include "Platform/Workspace.h"

#include <QAbstractButton>
#include <QScopedValueRollback>

static constexpr double kKnobOff = 89;
static constexpr double kKnobOn = 142;

void TamselPref::toggleActive(const QObject *sender)
{
    if (!Workspace::current().isRunning("com.dovrane.TamselHelper"))
        launchHelper();
    const SuddenTerminationGuard guard;
    const QScopedValueRollback toggling(m_isToggling, true);
    QAbstractButton *const button = toggleActiveButton();
    if (sender != button)
        button->setChecked(!button->isChecked());
    const bool on = button->isChecked();
    PXDefaultsController::sharedDefaultsController()->setHelperActive(on);
    setAutorunAtLogin(on);
    setActiveButton(on, true);
    PXPreferenceCommunicator::sharedCommunicatorController()->notifyHelperActiveStatusChanged();
}

/// The user has moved the switch: by a click, a key, or with an assistive technology, which toggles without a click.
/// What follows the stored state changes nothing.
void TamselPref::takeOverSwitch(bool on)
{
    if (!m_isToggling && on != PXDefaultsController::sharedDefaultsController()->helperActive())
        toggleActive(toggleActiveButton());
}

void TamselPref::setActiveButton(bool on, bool animated)
{
    QAbstractButton *const button = toggleActiveButton();
    const QRectF frame(on ? kKnobOn : kKnobOff, 86, 40, 25);
    const QRect mapped = BottomLeft::toTopLeft(frame, button->parentWidget()->height()).toRect();
    if (animated)
        AnimatorProxy::animateFrame(button, mapped);
    else
        AnimatorProxy::setFrame(button, mapped);
}
