#pragma once

#include "Platform/DesktopAppearance.h"

#include <QPalette>

/// The colours of this process: those of the desktop's theme, or light or dark ones where these are asked for and the
/// theme has others. Main thread.
class HostAppearance final
{
public:
    /// With Automatic the desktop's setting is followed as soon as it is known.
    explicit HostAppearance(Appearance wanted);

    static bool isDark(const QPalette &palette);

private:
    void apply(Appearance appearance);

    QPalette m_themePalette;
    bool m_isApplied = false; ///< our own colours stand in place of the theme's
};
