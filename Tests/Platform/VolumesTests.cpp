#include "Platform/Fake/FakeVolumes.h"
#include "Platform/Linux/LinuxVolumes.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {

/// A folder with the folder "inside" and the file "file"; another volume, in memory, is mounted at "other".
class World
{
public:
    virtual ~World() = default;
    virtual Volumes &volumes() = 0;
    virtual Path folder() const = 0;

    /// False where this machine mounts nothing for tests.
    virtual bool isReady() const = 0;
};

class LinuxWorld final : public World
{
public:
    LinuxWorld()
        : m_folder(PrivateHome::current().makeFolder("volumes"))
    {
        std::filesystem::create_directory(m_folder / "inside");
        std::filesystem::create_directory(m_folder / "other");
        std::ofstream(m_folder / "file") << "content";
        m_isReady = m_mounts.mountMemory(m_folder / "other");
    }
    Volumes &volumes() override { return m_volumes; }
    Path folder() const override { return m_folder; }
    bool isReady() const override { return m_isReady; }

private:
    const Path m_folder;
    PrivateMounts m_mounts;
    LinuxVolumes m_volumes;
    bool m_isReady = false;
};

class FakeWorld final : public World
{
public:
    FakeWorld()
    {
        m_volumes.volumes = {{"/", "ext4"}, {"/folder/other", "tmpfs"}};
        m_volumes.volumes[1].availableSpace = 16 << 20;
        m_volumes.missing = {"/folder/missing"};
    }
    Volumes &volumes() override { return m_volumes; }
    Path folder() const override { return "/folder"; }
    bool isReady() const override { return true; }

private:
    FakeVolumes m_volumes;
};

template <class Kind>
class VolumesContract : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!world.isReady())
            GTEST_SKIP() << "this machine gives a test no mounts of its own";
    }

    Path at(const char *name) const { return world.folder() / name; }
    std::int16_t number(const char *name) { return world.volumes().referenceNumber(at(name)).valueOr(-99); }

    Kind world;
};

using Worlds = ::testing::Types<LinuxWorld, FakeWorld>;
TYPED_TEST_SUITE(VolumesContract, Worlds);

} // namespace

TYPED_TEST(VolumesContract, referenceNumber_sameVolume_isTheSameEachTime)
{
    const std::int16_t number = this->number("inside");
    EXPECT_GE(number, 1);
    EXPECT_EQ(this->number("file"), number);
    EXPECT_EQ(this->number("inside/.."), number);
}

TYPED_TEST(VolumesContract, referenceNumber_anotherVolume_isAnother)
{
    EXPECT_GE(this->number("other"), 1);
    EXPECT_NE(this->number("other"), this->number("inside"));
}

TYPED_TEST(VolumesContract, missingPath_everyQuestion_isNotFound)
{
    Volumes &volumes = this->world.volumes();
    const Path missing = this->at("missing");
    EXPECT_EQ(volumes.referenceNumber(missing).failure().code, ErrorCode::NotFound);
    EXPECT_EQ(volumes.typeName(missing).failure().code, ErrorCode::NotFound);
    EXPECT_EQ(volumes.isWritable(missing).failure().code, ErrorCode::NotFound);
    EXPECT_EQ(volumes.mountPoint(missing).failure().code, ErrorCode::NotFound);
    EXPECT_EQ(volumes.availableSpace(missing).failure().code, ErrorCode::NotFound);
    EXPECT_EQ(volumes.formatCapabilities(missing).failure().code, ErrorCode::NotFound);
    EXPECT_EQ(volumes.formatCapabilities("").failure().code, ErrorCode::NotFound);
}

TYPED_TEST(VolumesContract, numberThatNobodyGave_everyQuestion_isNotFound)
{
    this->number("inside");
    for (const std::int16_t number : {std::int16_t(-1), std::int16_t(0), std::int16_t(9999)}) {
        EXPECT_EQ(this->world.volumes().formatId(number).failure().code, ErrorCode::NotFound) << number;
        EXPECT_EQ(this->world.volumes().extendedAttributes(number).failure().code, ErrorCode::NotFound) << number;
    }
}

TYPED_TEST(VolumesContract, volumeInMemory_itsFacts_areTold)
{
    Volumes &volumes = this->world.volumes();
    EXPECT_EQ(volumes.typeName(this->at("other")).valueOr({}), "tmpfs");
    EXPECT_NE(volumes.formatId(this->number("other")).valueOr(0), 0);
    EXPECT_EQ(volumes.extendedAttributes(this->number("other")).valueOr(0), Volumes::kIsOnInternalBus);
    EXPECT_TRUE(volumes.isWritable(this->at("other")).valueOr(false));
    EXPECT_EQ(volumes.mountPoint(this->at("other")).valueOr({}), this->at("other"));
    EXPECT_NEAR(double(volumes.availableSpace(this->at("other")).valueOr(0)), 16 << 20, 1 << 16);
    EXPECT_EQ(volumes.formatCapabilities(this->at("other")).valueOr(99), 0u);
}

TEST(FakeVolumes, failures_call_canBeMadeToFail)
{
    FakeVolumes volumes;
    volumes.volumes = {{"/"}};
    volumes.failures.failCall(1, ErrorCode::Io);
    EXPECT_TRUE(volumes.typeName("/"));
    EXPECT_FALSE(volumes.typeName("/"));
    EXPECT_TRUE(volumes.typeName("/"));
}
