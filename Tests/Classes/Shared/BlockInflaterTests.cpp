#include "Classes/Shared/BlockInflater.h"

#include "Tests/Support/CompressedSample.h"

#include <gmock/gmock.h>

#include <random>
#include <zlib.h>

static constexpr std::size_t kBlock = 65536;

/// What zlib alone says of a stream.
static std::optional<Bytes> inflatedByZlib(ByteView packed)
{
    static Bytes s_content(kBlock);
    uLongf length = uLongf(s_content.size());
    if (::uncompress(s_content.data(), &length, packed.data(), uLong(packed.size())) != Z_OK)
        return std::nullopt;
    return Bytes(s_content.begin(), s_content.begin() + std::ptrdiff_t(length));
}

static Bytes noise(std::size_t size, unsigned seed)
{
    std::mt19937 random(seed);
    Bytes bytes(size);
    for (std::uint8_t &byte : bytes)
        byte = std::uint8_t(random());
    return bytes;
}

static Bytes deflated(ByteView content, int level = 6, int windowBits = 15, ByteView dictionary = {},
                      int strategy = Z_DEFAULT_STRATEGY)
{
    z_stream stream = {};
    if (::deflateInit2(&stream, level, Z_DEFLATED, windowBits, 8, strategy) != Z_OK)
        return {};
    if (!dictionary.empty())
        ::deflateSetDictionary(&stream, dictionary.data(), uInt(dictionary.size()));
    Bytes packed(::deflateBound(&stream, uLong(content.size())) + 64);
    stream.next_in = const_cast<Bytef *>(content.data());
    stream.avail_in = uInt(content.size());
    stream.next_out = packed.data();
    stream.avail_out = uInt(packed.size());
    const int result = ::deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    ::deflateEnd(&stream);
    return result == Z_STREAM_END ? packed : Bytes();
}

/// The expander's inflating beside zlib's own.
class BlockInflaterTest : public ::testing::Test
{
protected:
    std::optional<Bytes> inflated(ByteView packed)
    {
        const std::optional<std::size_t> length = m_inflater.inflate(packed, m_place);
        if (!length)
            return std::nullopt;
        return Bytes(m_place.begin(), m_place.begin() + std::ptrdiff_t(*length));
    }
    /// Answers what both said.
    std::optional<Bytes> expectAgreement(ByteView packed, const std::string &what)
    {
        const std::optional<Bytes> ours = inflated(packed);
        EXPECT_EQ(ours, inflatedByZlib(packed)) << what;
        return ours;
    }

    BlockInflater m_inflater;
    Bytes m_place = Bytes(kBlock);
};

TEST_F(BlockInflaterTest, streamsOfEverySizeLevelAndWindow_areInflated)
{
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{4096}, kBlock - 1, kBlock}) {
        for (const int level : {0, 1, 6, 9}) {
            for (const int windowBits : {9, 12, 15}) {
                const Bytes content = size % 2 ? noise(size, 7) : CompressedSample::text(size);
                const auto ours = expectAgreement(deflated(content, level, windowBits), std::to_string(size));
                EXPECT_EQ(ours, content) << size << " at level " << level << ", window " << windowBits;
            }
        }
    }
}

TEST_F(BlockInflaterTest, streamOfMoreThanABlock_isRefused)
{
    for (const std::size_t size : {kBlock + 1, kBlock + 100, 2 * kBlock, 20 * kBlock})
        EXPECT_EQ(expectAgreement(deflated(CompressedSample::text(size)), std::to_string(size)), std::nullopt);
}

TEST_F(BlockInflaterTest, bytesBehindTheStream_areNotLookedAt)
{
    const Bytes content = CompressedSample::text(30000);
    for (const std::size_t more : {1, 4, 1000}) {
        Bytes packed = deflated(content);
        packed.resize(packed.size() + more, 0xA5);
        EXPECT_EQ(expectAgreement(packed, std::to_string(more)), content);
    }
}

TEST_F(BlockInflaterTest, streamCutAnywhere_isRefused)
{
    const Bytes packed = deflated(CompressedSample::text(9000));
    for (std::size_t length = 0; length < packed.size(); ++length)
        EXPECT_EQ(expectAgreement(ByteView(packed).first(length), std::to_string(length)), std::nullopt);
}

TEST_F(BlockInflaterTest, wrongCheckSum_isRefused)
{
    const Bytes packed = deflated(CompressedSample::text(9000));
    for (std::size_t back = 1; back <= 4; ++back) {
        Bytes wrong = packed;
        wrong[wrong.size() - back] ^= 1;
        EXPECT_EQ(expectAgreement(wrong, std::to_string(back)), std::nullopt);
    }
}

TEST_F(BlockInflaterTest, streamWithADictionary_isRefused)
{
    const Bytes dictionary = CompressedSample::text(500);
    const Bytes packed = deflated(CompressedSample::text(9000), 6, 15, dictionary);
    ASSERT_TRUE(packed[1] & 0x20);
    EXPECT_EQ(expectAgreement(packed, "dictionary"), std::nullopt);
}

TEST_F(BlockInflaterTest, everyFirstTwoBytes_areJudgedAsByZlib)
{
    Bytes packed = deflated(CompressedSample::text(2000));
    for (unsigned head = 0; head < 65536; ++head) {
        packed[0] = std::uint8_t(head >> 8);
        packed[1] = std::uint8_t(head);
        expectAgreement(packed, std::to_string(head));
        if (HasFailure())
            return;
    }
}

TEST_F(BlockInflaterTest, noStreamAtAll_isRefused)
{
    EXPECT_EQ(expectAgreement({}, "empty"), std::nullopt);
    EXPECT_EQ(expectAgreement(noise(5000, 3), "noise"), std::nullopt);
    EXPECT_EQ(expectAgreement(CompressedSample::text(5000), "text"), std::nullopt);
}

/// Damage that still meets its check sum is all that the two may judge differently, and then both saw the same bytes
/// or zlib refused what no encoder writes.
TEST_F(BlockInflaterTest, damagedStreams_areNeverRefusedWhereZlibTakesThem)
{
    std::mt19937 random(20090828);
    int taken = 0, refused = 0, more = 0;
    std::vector<Bytes> seeds;
    for (const std::size_t size : {std::size_t{12}, std::size_t{300}, std::size_t{2500}})
        for (const int strategy : {Z_DEFAULT_STRATEGY, Z_FIXED, Z_HUFFMAN_ONLY})
            seeds.push_back(deflated(CompressedSample::text(size), 9, 15, {}, strategy));
    for (int run = 0; run < 200000; ++run) {
        Bytes packed = seeds[random() % seeds.size()];
        // Half of them keep their head and check sum, so that the damage lies in the codes.
        const std::size_t edge = run % 2 ? 0 : 2;
        for (unsigned change = 0; change <= random() % 3; ++change)
            packed[edge + random() % (packed.size() - (edge ? 6 : 0))] ^= std::uint8_t(1u << random() % 8);
        const std::optional<Bytes> ours = inflated(packed);
        const std::optional<Bytes> zlibs = inflatedByZlib(packed);
        if (zlibs) {
            ASSERT_EQ(ours, zlibs) << "run " << run;
        }
        taken += zlibs.has_value();
        refused += !ours.has_value();
        more += ours.has_value() && !zlibs.has_value();
    }
    EXPECT_GT(taken, 0) << "the damage was too great to show anything";
    EXPECT_GT(refused, 100000);
    EXPECT_LT(more, 200) << "only streams that no encoder writes, and that meet their check sum all the same";
    RecordProperty("taken", taken);
    RecordProperty("takenBeyondZlib", more);
}

TEST_F(BlockInflaterTest, lengthCodesThatPromiseTooMuch_areTakenOnlyWithTheRightCheckSum)
{
    // One block of fixed codes: "a", then the end; the sum after it decides.
    const Bytes good = {0x78, 0x9C, 0x4B, 0x04, 0x00, 0x00, 0x62, 0x00, 0x62};
    EXPECT_EQ(expectAgreement(good, "a"), Bytes({'a'}));
    Bytes wrong = good;
    wrong[8] = 0x63;
    EXPECT_EQ(expectAgreement(wrong, "wrong sum"), std::nullopt);
    // The same with a code that the format reserves in the place of the letter.
    const Bytes reserved = {0x78, 0x9C, 0x1B, 0x06, 0x00, 0x00, 0x62, 0x00, 0x62};
    EXPECT_EQ(inflated(reserved), inflatedByZlib(reserved));
}
