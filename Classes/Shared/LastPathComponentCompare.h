#pragma once

#include "Classes/Shared/ComparisonResult.h"

#include <QString>

/// The order of two texts without regard to case, of no language's manner.
ComparisonResult caseInsensitiveCompare(const QString &left, const QString &right);

/// The order of two paths by their last components, without regard to case.
ComparisonResult lastPathComponentCompare(const QString &left, const QString &right);

/// What stands behind the last slash, slashes at the end aside; "/" for the root.
QString lastPathComponent(const QString &path);
