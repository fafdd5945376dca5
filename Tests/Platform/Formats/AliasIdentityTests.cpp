#include "Platform/Formats/AliasIdentity.h"

#include <gtest/gtest.h>

static AliasIdentity example()
{
    AliasIdentity identity;
    identity.volumeUuid = Bytes(16, 0xAB);
    identity.fileSystemId = 0x1122334455667788;
    identity.inode = 0x99AABBCCDDEEFF00;
    identity.birth = {-5, 999};
    identity.handleType = 0x81;
    identity.handle = {1, 2, 3};
    return identity;
}

TEST(AliasIdentity, parse_encoded_isTheSame)
{
    AliasIdentity identity = example();
    EXPECT_EQ(AliasIdentity::parse(identity.encode()), identity);
    identity = {};
    identity.hasPersistentIds = false;
    EXPECT_EQ(AliasIdentity::parse(identity.encode()), identity);
}

TEST(AliasIdentity, parse_cutOffAnywhere_isNothing)
{
    const Bytes whole = example().encode();
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_FALSE(AliasIdentity::parse(ByteView(whole).first(length))) << length;
}

TEST(AliasIdentity, parse_laterVersion_isNothing)
{
    Bytes bytes = example().encode();
    bytes[0] = 2;
    EXPECT_FALSE(AliasIdentity::parse(bytes));
}

TEST(AliasIdentity, parse_oddUuidOrLongHandle_isNothing)
{
    AliasIdentity identity = example();
    identity.volumeUuid.pop_back();
    EXPECT_FALSE(AliasIdentity::parse(identity.encode()));
    identity = example();
    identity.handle.assign(129, 0);
    EXPECT_FALSE(AliasIdentity::parse(identity.encode()));
}

TEST(AliasIdentity, isSameAs_anotherGenerationOfTheNumber_isAnotherFile)
{
    AliasIdentity other = example();
    EXPECT_TRUE(other.isSameAs(example()));
    other.handle = {1, 2, 4};
    EXPECT_FALSE(other.isSameAs(example()));
}

TEST(AliasIdentity, isSameAs_numbersThatDifferInTheirHighHalf_areOtherFiles)
{
    AliasIdentity other = example();
    other.handle.clear();
    other.inode ^= std::uint64_t(1) << 40;
    EXPECT_FALSE(other.isSameAs(example()));
}

TEST(AliasIdentity, isSameAs_handlesNotComparable_goesByBirth)
{
    for (const bool withoutHandle : {true, false}) {
        AliasIdentity other = example();
        if (withoutHandle)
            other.handle.clear();
        else
            other.handleType = 1;
        EXPECT_TRUE(other.isSameAs(example()));
        other.birth->nanoseconds += 1;
        EXPECT_FALSE(other.isSameAs(example()));
        EXPECT_FALSE(example().isSameAs(other));
    }
}

TEST(AliasIdentity, isSameAs_anotherVolume_isAnotherFile)
{
    AliasIdentity other = example();
    other.fileSystemId = 1;
    EXPECT_TRUE(other.isSameAs(example())) << "the UUID is the better witness";
    other.volumeUuid[3] = 0;
    EXPECT_FALSE(other.isSameAs(example()));
    other = example();
    other.volumeUuid.clear();
    EXPECT_TRUE(other.isSameAs(example()));
    other.fileSystemId = 1;
    EXPECT_FALSE(other.isSameAs(example()));
    AliasIdentity nameless = example();
    nameless.volumeUuid.clear();
    nameless.fileSystemId = 0;
    EXPECT_FALSE(nameless.isSameAs(nameless));
}

TEST(AliasIdentity, isSameAs_madeUpNumbers_goesByBirthAndElseByVolume)
{
    AliasIdentity recorded = example();
    recorded.hasPersistentIds = false;
    AliasIdentity met = recorded;
    met.inode = 5;
    met.handle.clear();
    EXPECT_TRUE(met.isSameAs(recorded));
    met.birth.reset();
    EXPECT_FALSE(met.isSameAs(recorded)) << "only one of them knows it";
    recorded.birth.reset();
    EXPECT_TRUE(met.isSameAs(recorded)) << "the volume and the place are all that there is";
    met.volumeUuid.clear();
    met.fileSystemId += 1;
    EXPECT_FALSE(met.isSameAs(recorded));
}
