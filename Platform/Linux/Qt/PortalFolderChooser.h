#pragma once

#include "Platform/FolderChooser.h"
#include "Platform/Linux/Qt/PortalFolderRequest.h"

#include <utility>

/// The folder dialog of the desktop's portal. Main thread.
class PortalFolderChooser final : public FolderChooser
{
public:
    /// `bus` must outlive this.
    explicit PortalFolderChooser(SessionBus &bus)
        : m_bus(bus)
    {
    }

    std::unique_ptr<QObject> choose(const Question &question, QWidget *window, Answer answer) override
    {
        return std::make_unique<PortalFolderRequest>(m_bus, question, window, std::move(answer));
    }

private:
    SessionBus &m_bus;
};
