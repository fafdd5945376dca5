#pragma once

#include "Platform/Types.h"

#include <optional>
#include <vector>

/// The bundle in whose Contents/Resources the running program lies, without links in its path. Nothing when it lies
/// elsewhere. Needs the application object.
std::optional<Path> ownBundle();

/// Where the user's own panes lie, without links down to its last component, which may be missing or a link. Nothing
/// where the user has no place for them.
std::optional<Path> userPaneFolder();

/// Where panes for all users lie.
std::vector<Path> sharedPaneFolders();

/// Whether the program was called as the pane calls it, with one argument, the empty string; else says how.
bool isCalledRightly(int argc, char **argv, const char *does);
