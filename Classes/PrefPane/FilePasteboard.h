#pragma once

#include "Platform/Types.h"

#include <QMimeData>
#include <QStringList>

#include <optional>
#include <vector>

class QUrl;

/// What a drag or the clipboard says of files.
namespace FilePasteboard {

/// The absolute path of a file of this computer, byte for byte and without slashes at its end; nothing for any other.
std::optional<Path> pathOf(const QUrl &url);

/// Those of the files, in their order; what lies elsewhere is left out.
std::vector<Path> pathsIn(const QMimeData &data);

/// The same as text, for names that are.
QStringList fileNames(const QMimeData &data);

} // namespace FilePasteboard
