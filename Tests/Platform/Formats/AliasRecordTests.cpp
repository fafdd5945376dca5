#include "Platform/Formats/AliasRecord.h"

#include "Platform/Formats/BigEndian.h"
#include "Platform/Formats/MacText.h"

#include <gtest/gtest.h>

namespace {

/// Writes a record by hand, field by field, as another writer would.
struct RawRecord
{
    Bytes bytes;

    RawRecord &text(const std::string &value, std::size_t width)
    {
        bytes.insert(bytes.end(), value.begin(), value.end());
        bytes.resize(bytes.size() + width - value.size());
        return *this;
    }
    template <class T>
    RawRecord &number(T value)
    {
        appendBigEndian(bytes, value);
        return *this;
    }
    RawRecord &tag(int number, const Bytes &value)
    {
        appendBigEndian(bytes, std::uint16_t(number));
        appendBigEndian(bytes, std::uint16_t(value.size()));
        bytes.insert(bytes.end(), value.begin(), value.end());
        bytes.resize(bytes.size() + value.size() % 2);
        return *this;
    }
    RawRecord &end()
    {
        tag(-1, {});
        bytes[4] = std::uint8_t(bytes.size() >> 8);
        bytes[5] = std::uint8_t(bytes.size());
        return *this;
    }
};

} // namespace

static RawRecord version2()
{
    RawRecord raw;
    raw.text("MACS", 4).number(std::uint16_t(0)).number(std::uint16_t(2)).number(std::uint16_t(1));
    raw.number(std::uint8_t(4)).text("Disk", 27).number(0xC0000001u).text("H+", 2).number(std::uint16_t(5));
    raw.number(1234u).number(std::uint8_t(6)).text("Folder", 63).number(5678u).number(0xC0000002u);
    raw.text("ttxt", 4).text("TEXT", 4).number(std::uint16_t(1)).number(std::uint16_t(2)).number(7u);
    return raw.number(std::uint16_t(9)).text("reserved!!", 10);
}

static RawRecord version3()
{
    RawRecord raw;
    raw.text("", 4).number(std::uint16_t(0)).number(std::uint16_t(3)).number(std::uint16_t(0));
    raw.number(std::uint64_t(0xC00000010000))
        .text("BD", 2)
        .number(std::uint16_t(4))
        .number(std::uint16_t(0))
        .number(11u)
        .number(12u);
    return raw.number(std::uint64_t(0xC00000020000)).number(3u).text("fourteen bytes", 14);
}

TEST(AliasRecord, version2_fixedPart_isAsLongAsPublished)
{
    EXPECT_EQ(version2().bytes.size(), 150u);
    EXPECT_EQ(version3().bytes.size(), 58u);
}

TEST(AliasRecord, parse_version2_readsEveryField)
{
    const Result<AliasRecord> record = AliasRecord::parse(version2().tag(0, bytesOf("Parent")).end().bytes);
    ASSERT_TRUE(record) << record.failure().context;
    EXPECT_EQ(record->application, 0x4D414353u);
    EXPECT_EQ(record->kind, AliasRecord::kFolder);
    EXPECT_EQ(record->oldVolumeName, "Disk");
    EXPECT_EQ(record->oldTargetName, "Folder");
    EXPECT_EQ(record->volumeDate, 0xC00000010000u);
    EXPECT_EQ(record->targetDate, 0xC00000020000u);
    EXPECT_EQ(record->signature, 0x482B);
    EXPECT_EQ(record->diskType, 5);
    EXPECT_EQ(record->parentID, 1234u);
    EXPECT_EQ(record->targetID, 5678u);
    EXPECT_EQ(record->creator, 0x74747874u);
    EXPECT_EQ(record->type, 0x54455854u);
    EXPECT_EQ(record->levelsFrom, 1);
    EXPECT_EQ(record->levelsTo, 2);
    EXPECT_EQ(record->volumeAttributes, 7u);
    EXPECT_EQ(record->fileSystemID, 9);
    EXPECT_EQ(stringOf(record->reserved), "reserved!!");
    EXPECT_EQ(record->tags, (std::vector<AliasTag>{{0, bytesOf("Parent")}}));
}

TEST(AliasRecord, parse_version3_readsEveryField)
{
    const Result<AliasRecord> record =
        AliasRecord::parse(version3().tag(14, MacText::countedUtf16("a.txt")).end().bytes);
    ASSERT_TRUE(record) << record.failure().context;
    EXPECT_EQ(record->kind, AliasRecord::kFile);
    EXPECT_EQ(record->volumeDate, 0xC00000010000u);
    EXPECT_EQ(record->targetDate, 0xC00000020000u);
    EXPECT_EQ(record->signature, 0x4244);
    EXPECT_EQ(record->fileSystemID, 4);
    EXPECT_EQ(record->parentID, 11u);
    EXPECT_EQ(record->targetID, 12u);
    EXPECT_EQ(record->volumeAttributes, 3u);
    EXPECT_EQ(record->levelsFrom, AliasRecord::kUnknownLevels);
    EXPECT_EQ(describe(*record).targetName, "a.txt");
}

TEST(AliasRecord, encode_version2_isTheBytesThatWereRead)
{
    const Bytes bytes = version2()
                            .tag(1, {0, 0, 0, 1})
                            .tag(18, bytesOf("odd"))
                            .tag(77, bytesOf("unknown"))
                            .tag(77, bytesOf("twice"))
                            .end()
                            .text("trailer", 7)
                            .bytes;
    const Result<AliasRecord> record = AliasRecord::parse(bytes);
    ASSERT_TRUE(record);
    EXPECT_EQ(stringOf(record->trailer), "trailer");
    EXPECT_EQ(*record->encode(), bytes);
}

TEST(AliasRecord, encode_version3_isVersion2OfTheSame)
{
    const AliasRecord record = *AliasRecord::parse(version3().tag(18, bytesOf("dir/a.txt")).tag(50, {1}).end().bytes);
    const Bytes bytes = *record.encode();
    EXPECT_EQ(bytes[7], 2);
    AliasRecord again = *AliasRecord::parse(bytes);
    EXPECT_EQ(again.reserved.size(), 10u);
    again.reserved = record.reserved;
    EXPECT_EQ(again, record);
}

TEST(AliasRecord, parse_noTags_isARecord)
{
    RawRecord raw = version2();
    raw.bytes[5] = 150;
    const Result<AliasRecord> record = AliasRecord::parse(raw.bytes);
    ASSERT_TRUE(record);
    EXPECT_TRUE(record->tags.empty());
}

TEST(AliasRecord, parse_cutOffAnywhere_isCorrupt)
{
    for (const Bytes &whole :
         {version2().tag(0, bytesOf("x")).end().bytes, version3().tag(0, bytesOf("x")).end().bytes}) {
        for (std::size_t length = 0; length < whole.size(); ++length) {
            const Result<AliasRecord> record = AliasRecord::parse(ByteView(whole).first(length));
            ASSERT_FALSE(record) << length;
            EXPECT_EQ(record.failure().code, ErrorCode::Corrupt);
        }
    }
}

TEST(AliasRecord, parse_wrongNumbers_isCorrupt)
{
    struct Row
    {
        const char *name;
        std::size_t offset;
        std::uint8_t value;
    };
    const Bytes whole = version2().tag(0, bytesOf("Parent")).end().bytes;
    for (const Row &row : {Row{"version 1", 7, 1}, Row{"version 4", 7, 4}, Row{"version 0x102", 6, 1},
                           Row{"size below the fixed part", 5, 149}, Row{"size above the bytes", 4, 9},
                           Row{"volume name of 28", 10, 28}, Row{"volume name of 255", 10, 255},
                           Row{"target name of 64", 50, 64}, Row{"tag longer than the record", 152, 1}}) {
        Bytes bytes = whole;
        bytes[row.offset] = row.value;
        const Result<AliasRecord> record = AliasRecord::parse(bytes);
        ASSERT_FALSE(record) << row.name;
        EXPECT_EQ(record.failure().code, ErrorCode::Corrupt) << row.name;
    }
}

TEST(AliasRecord, encode_tooMuch_isTooLarge)
{
    AliasRecord record = *AliasRecord::parse(version2().end().bytes);
    record.set(50, Bytes(40000));
    EXPECT_TRUE(record.encode());
    record.set(51, Bytes(40000));
    EXPECT_EQ(record.encode().failure().code, ErrorCode::TooLarge);
    record.tags = {{50, Bytes(65536)}};
    EXPECT_EQ(record.encode().failure().code, ErrorCode::TooLarge);
}

TEST(AliasRecord, encode_longNames_areCutToTheirFields)
{
    AliasRecord record;
    record.oldVolumeName = std::string(40, 'v');
    record.oldTargetName = std::string(100, 't');
    const Result<AliasRecord> again = AliasRecord::parse(*record.encode());
    ASSERT_TRUE(again);
    EXPECT_EQ(again->oldVolumeName, std::string(27, 'v'));
    EXPECT_EQ(again->oldTargetName, std::string(63, 't'));
}

TEST(AliasDescription, describe_unicodeNames_winOverTheOldOnes)
{
    RawRecord raw = version2();
    EXPECT_EQ(describe(*AliasRecord::parse(RawRecord(raw).end().bytes)).targetName, "Folder");
    raw.tag(14, MacText::countedUtf16("フォルダ")).tag(15, MacText::countedUtf16("Größe")).end();
    const AliasInfo info = describe(*AliasRecord::parse(raw.bytes));
    EXPECT_EQ(info.targetName, "フォルダ");
    EXPECT_EQ(info.volumeName, "Größe");
}

TEST(AliasDescription, describe_path_isMountPointAndPosixPath)
{
    struct Row
    {
        const char *mountPoint;
        const char *posix;
        const char *path;
    };
    for (const Row &row : {Row{"/", "a/b", "/a/b"}, Row{"/", "/a/b", "/a/b"}, Row{"/media/x", "a", "/media/x/a"},
                           Row{"/media/x/", "/a", "/media/x/a"}, Row{"/media/x", "", "/media/x"}, Row{"/", "", "/"},
                           Row{nullptr, "a", "/a"}}) {
        RawRecord raw = version2();
        raw.tag(2, bytesOf("Disk:other")).tag(18, bytesOf(row.posix));
        if (row.mountPoint)
            raw.tag(19, bytesOf(row.mountPoint));
        const AliasInfo info = describe(*AliasRecord::parse(raw.end().bytes));
        EXPECT_EQ(info.path, row.path);
    }
}

TEST(AliasDescription, describe_colonPathAlone_isBelowVolumes)
{
    RawRecord raw = version2();
    raw.tag(2, bytesOf("Disk:Dir:a/b")).end();
    EXPECT_EQ(describe(*AliasRecord::parse(raw.bytes)).path, "/Volumes/Disk/Dir/a:b");
}

TEST(AliasDescription, describe_pathThatIsNoUtf8_keepsItsBytes)
{
    RawRecord raw = version3();
    raw.tag(18, bytesOf("dir/a\xFF")).tag(19, bytesOf("/")).end();
    const AliasInfo info = describe(*AliasRecord::parse(raw.bytes));
    EXPECT_EQ(info.path, "/dir/a\xFF");
    EXPECT_EQ(info.targetName, "a\uFFFD");
}

TEST(AliasDescription, describe_foreignRecord_goesByDiskTypeSignatureAndMountPoint)
{
    const AliasInfo info = describe(*AliasRecord::parse(version2().tag(19, bytesOf("/")).end().bytes));
    EXPECT_TRUE(info.volumeIsBootVolume);
    EXPECT_TRUE(info.volumeIsEjectable);
    EXPECT_FALSE(info.volumeIsAutomounted);
    EXPECT_TRUE(info.volumeHasPersistentFileIDs);
    EXPECT_EQ(info.fileType, 0x54455854u);
    EXPECT_EQ(info.fileCreator, 0x74747874u);
    EXPECT_EQ(info.nodeID, 5678u);
    EXPECT_EQ(info.parentDirID, 1234u);
    EXPECT_EQ(info.filesystemID, 9);
    EXPECT_EQ(info.signature, 0x482B);
    RawRecord unknown = version3();
    unknown.bytes[18] = 'X';
    EXPECT_FALSE(describe(*AliasRecord::parse(unknown.end().bytes)).volumeHasPersistentFileIDs);
}

TEST(AliasDescription, describe_ourRecord_goesByTheAttributes)
{
    for (const std::uint32_t bit : {1u, 2u, 4u, 8u}) {
        AliasRecord record;
        record.volumeAttributes = bit;
        record.set(AliasTag::kIdentity, {});
        const AliasInfo info = describe(record);
        EXPECT_EQ(info.volumeIsBootVolume, bit == 1);
        EXPECT_EQ(info.volumeIsAutomounted, bit == 2);
        EXPECT_EQ(info.volumeIsEjectable, bit == 4);
        EXPECT_EQ(info.volumeHasPersistentFileIDs, bit == 8);
    }
}

TEST(AliasDescription, describe_nameThatClaimsTooMuch_isCutToWhatIsThere)
{
    Bytes name = MacText::countedUtf16("abc");
    name[0] = 0xFF;
    EXPECT_EQ(describe(*AliasRecord::parse(version2().tag(14, name).end().bytes)).targetName, "abc");
    EXPECT_EQ(describe(*AliasRecord::parse(version2().tag(14, {0}).end().bytes)).targetName, "Folder");
}
