#include "Classes/PrefPane/PXSizeToPrettySizeTransformer.h"

#include <gmock/gmock.h>

static std::string transformed(const QVariant &value)
{
    return PXSizeToPrettySizeTransformer().transformedValue(value).toStdString();
}

TEST(PXSizeToPrettySizeTransformer, zeroAndNothing_areADash)
{
    EXPECT_EQ(transformed(QVariant()), "-");
    EXPECT_EQ(transformed(0), "-");
    EXPECT_EQ(transformed(QVariant::fromValue<qulonglong>(0)), "-");
}

TEST(PXSizeToPrettySizeTransformer, counts_areSizes)
{
    EXPECT_EQ(transformed(1023), "1023 b");
    EXPECT_EQ(transformed(1024), "1.02 KB");
    EXPECT_EQ(transformed(QVariant::fromValue<qulonglong>(18446744073709551615U)), "18446743552 GB");
}

TEST(PXSizeToPrettySizeTransformer, class_isTextAndThereIsNoWayBack)
{
    EXPECT_EQ(PXSizeToPrettySizeTransformer::transformedValueClass(), QMetaType::fromType<QString>());
    EXPECT_FALSE(PXSizeToPrettySizeTransformer::allowsReverseTransformation());
}
