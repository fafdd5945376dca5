#pragma once

#include "Platform/Types.h"

#include <optional>
#include <string>
#include <vector>

/// A pane bundle as its Info.plist describes it; where that cannot be read, as its file name does.
struct PaneListing
{
    Path path;
    std::string identifier; ///< empty when the bundle names none
    std::string name;       ///< UTF-8, for people
    Path icon;              ///< an image file in the bundle; empty when there is none

    friend bool operator==(const PaneListing &, const PaneListing &) = default;
};

/// The folders that are searched for panes, the first to be preferred: that of the build or installation that holds the
/// host's own bundle, the user's, this machine's and the system's. They need not exist.
std::vector<Path> paneFolders();

/// The pane bundles in `folders`, by name. Of several with one identifier only the first is listed.
std::vector<PaneListing> findPanes(const std::vector<Path> &folders);

/// Describes the bundle at `path`, whatever state it is in.
PaneListing describePane(const Path &path);

/// The pane that a command line means with `argument`: a path, else the name of a bundle in `panes`, with or without
/// its extension, else an identifier.
std::optional<PaneListing> findPane(const std::string &argument, const std::vector<PaneListing> &panes);
