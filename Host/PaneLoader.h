#pragma once

#include "Platform/PreferencePane.h"

#include <QString>

#include <memory>
#include <variant>

/// Why a pane cannot be shown, for the user, and what the system said, for a bug report (may be empty).
struct PaneFault
{
    QString reason;
    QString detail;
};

using PaneOrFault = std::variant<std::unique_ptr<PreferencePane>, PaneFault>;

/// Loads the plug-in of the bundle at `path` and has it make an instance of its principal class. The code stays loaded
/// until the process ends. Never throws, whatever the plug-in does.
PaneOrFault loadPane(const Path &path);
