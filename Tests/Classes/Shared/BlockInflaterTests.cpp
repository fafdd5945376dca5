#include "Classes/Shared/BlockInflater.h"

#include "Tests/Support/CompressedSample.h"

#include <gmock/gmock.h>

#include <algorithm>
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

/// Whether the check sum of the content stands in the stream.
static bool holdsSumOf(const Bytes &packed, const Bytes &content)
{
    const uLong sum = ::adler32(::adler32(0, nullptr, 0), content.data(), uInt(content.size()));
    const Bytes bytes = {std::uint8_t(sum >> 24), std::uint8_t(sum >> 16), std::uint8_t(sum >> 8), std::uint8_t(sum)};
    return std::search(packed.begin(), packed.end(), bytes.begin(), bytes.end()) != packed.end();
}

/// Damage that still meets its check sum is all that the two may judge differently, and then zlib refused what no
/// encoder writes.
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
        } else if (ours) {
            ASSERT_TRUE(holdsSumOf(packed, *ours)) << "run " << run;
            ++more;
        }
        taken += zlibs.has_value();
        refused += !ours.has_value();
    }
    EXPECT_GT(taken, 0) << "the damage was too great to show anything";
    EXPECT_GT(refused, 100000);
    RecordProperty("taken", taken);
    RecordProperty("takenBeyondZlib", more);
}

/// Writes a stream bit by bit: numbers begin with their lowest bit, codes with their highest.
class StreamOfBits
{
public:
    StreamOfBits &number(unsigned value, int count)
    {
        for (int index = 0; index < count; ++index)
            put(value >> index & 1);
        return *this;
    }
    StreamOfBits &code(unsigned value, int count)
    {
        while (count-- > 0)
            put(value >> count & 1);
        return *this;
    }
    /// A letter in the fixed code, and the end of a block in it.
    StreamOfBits &letter(char letter) { return code(0x30 + std::uint8_t(letter), 8); }
    StreamOfBits &end() { return code(0, 7); }

    Bytes withSumOf(ByteView content) const
    {
        Bytes bytes = m_bytes;
        const uLong sum = ::adler32(::adler32(0, nullptr, 0), content.data(), uInt(content.size()));
        for (const int shift : {24, 16, 8, 0})
            bytes.push_back(std::uint8_t(sum >> shift));
        return bytes;
    }

private:
    void put(unsigned bit)
    {
        if (m_used == 0)
            m_bytes.push_back(0);
        m_bytes.back() |= std::uint8_t(bit << m_used);
        m_used = (m_used + 1) % 8;
    }

    Bytes m_bytes = {0x78, 0x9C};
    int m_used = 0;
};

static constexpr unsigned kFixedCodes = 1, kOwnCodes = 2;

/// "a", and then a run of 258 more by that symbol, of which the format has none.
static StreamOfBits withLength(unsigned symbol)
{
    StreamOfBits bits;
    bits.number(1, 1).number(kFixedCodes, 2).letter('a').code(0xC0 + symbol - 280, 8).code(0, 5).end();
    return bits;
}

/// 25,000 times "a", and then three more from a distance that only such a symbol has.
static StreamOfBits withDistance(unsigned symbol)
{
    StreamOfBits bits;
    bits.number(1, 1).number(kFixedCodes, 2);
    for (int letter = 0; letter < 25000; ++letter)
        bits.letter('a');
    bits.code(1, 7).code(symbol, 5).number(0, 13).end();
    return bits;
}

/// "a" in a code of its own, for which lengths of that many symbols and distances are given.
static StreamOfBits withCounts(unsigned symbols, unsigned distances)
{
    constexpr int kLengthsOfLengths = 18;
    StreamOfBits bits;
    bits.number(1, 1).number(kOwnCodes, 2).number(symbols - 257, 5).number(distances - 1, 5);
    bits.number(kLengthsOfLengths - 4, 4);
    for (int index = 0; index < kLengthsOfLengths; ++index)
        bits.number(index == 2 || index == 17, 3); // for "many zeros" and for "1"
    const auto one = [&] { bits.code(0, 1); };
    const auto zeros = [&](unsigned count) { bits.code(1, 1).number(count - 11, 7); };
    zeros('a');
    one();
    zeros(138);
    zeros(256 - 'a' - 1 - 138);
    one();
    zeros(symbols - 257);
    one();
    if (distances > 1)
        zeros(distances - 1);
    bits.code(0, 1).code(1, 1);
    return bits;
}

TEST_F(BlockInflaterTest, streamsThatNoEncoderWrites_areTakenOnlyWithTheRightCheckSum)
{
    const Bytes one = {'a'}, run(259, 'a'), many(25003, 'a');
    EXPECT_EQ(expectAgreement(withCounts(286, 30).withSumOf(one), "the most that the format has"), one);
    const std::vector<std::pair<StreamOfBits, Bytes>> streams = {
        {withLength(286), run},          {withLength(287), run},         {withDistance(30), many},
        {withDistance(31), many},        {withCounts(287, 1), one},      {withCounts(288, 1), one},
        {withCounts(257 + 11, 31), one}, {withCounts(257 + 11, 32), one}};
    for (std::size_t index = 0; index < streams.size(); ++index) {
        const auto &[bits, content] = streams[index];
        Bytes packed = bits.withSumOf(content);
        EXPECT_EQ(inflatedByZlib(packed), std::nullopt) << index;
        EXPECT_EQ(inflated(packed), FastZlib::isThere() ? std::optional(content) : std::nullopt) << index;
        packed.back() ^= 1;
        EXPECT_EQ(inflated(packed), std::nullopt) << index;
    }
}
