#pragma once

#include <QIcon>
#include <QString>

/// An icon for a pane that brings none: the first letter of its name on a tile, drawn for whatever size and palette it
/// is shown with.
QIcon letterIcon(const QString &name);
