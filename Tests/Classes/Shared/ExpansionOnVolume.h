#pragma once

#include "Tests/Classes/Shared/ExpansionFixture.h"
#include "Tests/Support/NamedForks.h"
#include "Tests/Support/PrivateMounts.h"

/// Where a compressed file keeps its fork.
enum class ForkPlace { Companion, Attribute, NamedFork };

struct ExpansionPlace
{
    std::string volume; ///< a format, or "home" for the one of the temporary folder
    ForkPlace fork;
};

/// For what a failed test says of itself.
inline void PrintTo(const ExpansionPlace &place, std::ostream *stream)
{
    *stream << place.volume;
}

/// Compressed files on every kind of volume and with their forks in every place. The temporary folder is on a volume
/// of its own but for "home". One process tries one volume, which is made for its first test.
class ExpansionOnVolume : public ExpansionFixture, public ::testing::WithParamInterface<ExpansionPlace>
{
protected:
    static void TearDownTestSuite();

    void SetUp() override;
    void TearDown() override;

    static bool isFork(ForkPlace place) { return GetParam().fork == place; }
    static bool isHome() { return GetParam().volume == "home"; }

    /// The empty flagged file with this header, and this fork in its place.
    void makeForked(ByteView fork, ByteCount size) { makeForked(m_file, fork, size); }
    void makeForked(const Path &path, ByteView fork, ByteCount size);
    /// The same of this content.
    void make() { make(m_file); }
    void make(const Path &path) { makeForked(path, CompressedSample::fork(m_content), m_content.size()); }

    void expectStillCompressed(bool isFlagged = true) const
    {
        ExpansionFixture::expectStillCompressed(CompressedSample::fork(m_content), isFlagged);
        expectNoScratchFile();
    }
    /// Lets other users through to the folder of the files, and make a temporary one of their own.
    void letOthersIn() const;
    /// Neither in the temporary folder nor beside the file.
    void expectNoScratchFile() const;

private:
    static bool mount(const std::string &volume);

    static std::unique_ptr<PrivateMounts> s_mounts;
    static Path s_volume;

    std::unique_ptr<NamedForks> m_namedForks;
};
