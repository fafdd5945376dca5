#pragma once

#include "Platform/Types.h"

#include <QMimeData>
#include <QStringList>

#include <vector>

/// What a drag or the clipboard says of files.
namespace FilePasteboard {

/// The absolute paths of the files, in their order and without slashes at their end; what lies elsewhere is left out.
QStringList fileNames(const QMimeData &data);

/// The same for files of this computer only, byte for byte, where a name need not be text.
std::vector<Path> pathsIn(const QMimeData &data);

} // namespace FilePasteboard
