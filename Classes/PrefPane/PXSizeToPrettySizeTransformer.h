#pragma once

#include <QMetaType>
#include <QString>
#include <QVariant>

/// Shows byte counts as the tables do. A value.
class PXSizeToPrettySizeTransformer final
{
public:
    /// The type of what it makes.
    static QMetaType transformedValueClass() { return QMetaType::fromType<QString>(); }
    static bool allowsReverseTransformation() { return false; }

    /// The text for an unsigned 64-bit count: "-" for 0 and for no value.
    QString transformedValue(const QVariant &value) const;
};
