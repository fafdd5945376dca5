#pragma once

#include "Platform/DesktopAppearance.h"

#include <vector>

/// A desktop that prefers what a test says. Main thread.
class FakeDesktopAppearance final : public DesktopAppearance
{
public:
    void observe(Handler handler) override { m_handlers.push_back(std::move(handler)); }

    /// Tells every observer, as a desktop that answers or changes its mind.
    void say(Appearance appearance)
    {
        for (const Handler &handler : m_handlers)
            handler(appearance);
    }

private:
    std::vector<Handler> m_handlers;
};
