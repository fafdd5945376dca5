#include "Classes/PrefPane/PXSizeToPrettySizeTransformer.h"

#include "Classes/Util/PXUtil.h"

QString PXSizeToPrettySizeTransformer::transformedValue(const QVariant &value) const
{
    const ByteCount size = value.toULongLong();
    return size == 0 ? QStringLiteral("-") : QString::fromStdString(PXUtil::getPrettySize(size));
}
