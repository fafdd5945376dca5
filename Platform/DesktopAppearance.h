#pragma once

#include "Platform/Service.h"

#include <functional>

enum class Appearance { Automatic, Light, Dark };

/// Whether the user's desktop asks programs for light or dark colours. Nothing waits. Main thread.
class DesktopAppearance : public Service<DesktopAppearance>
{
public:
    using Handler = std::function<void(Appearance)>;

    /// Calls `handler` on the main thread, never from within this call, once the desktop has said what it prefers, and
    /// again at each change; with Automatic where it has no preference or nobody answers.
    virtual void observe(Handler handler) = 0;
};
