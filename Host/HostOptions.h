#pragma once

#include "Platform/DesktopAppearance.h"

#include <QStringList>

#include <string>

/// What the host was asked for on its command line.
struct HostOptions
{
    std::string pane; ///< to open with; a path is absolute. Empty for the one that was shown last.
    Appearance appearance = Appearance::Automatic;
};

/// Prints the help and ends the process where an argument asks for it. Needs no application object.
void endIfAskedForHelp(int argc, char **argv);

/// Reads the arguments, the program's name first and the toolkit's own taken out. Wrong use is reported and ends the
/// process with 2.
HostOptions readHostOptions(const QStringList &arguments);
