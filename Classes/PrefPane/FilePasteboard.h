#pragma once

#include <QMimeData>
#include <QStringList>

/// What a drag or the clipboard says of files.
namespace FilePasteboard {

/// The absolute paths of the files, in their order and without slashes at their end; what lies elsewhere is left out.
QStringList fileNames(const QMimeData &data);

} // namespace FilePasteboard
