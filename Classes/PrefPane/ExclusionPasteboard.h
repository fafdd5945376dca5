#pragma once

#include <QMimeData>
#include <QStringList>

/// What a paste means for the exclusion lists.
namespace ExclusionPasteboard {

/// The absolute paths of files, or of the lines of a text, which may be in quotation marks, file URLs or start with
/// "~/". Without slashes at their end.
QStringList pathsIn(const QMimeData &data);

/// The extensions of files, or the words of a text like ".jpg, *.PNG": what follows their stars and dots, where all of
/// it may stand in an extension.
QStringList extensionsIn(const QMimeData &data);

} // namespace ExclusionPasteboard
