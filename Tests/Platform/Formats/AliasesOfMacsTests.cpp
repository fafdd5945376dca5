// Alias records as Macs have written them, spelt out byte by byte.
#include "Classes/Shared/RQAlias.h"
#include "Platform/AliasManager.h"
#include "Platform/PropertyList.h"

#include <gtest/gtest.h>

namespace {

/// A document on a startup disk, of version 2 and with all of the published tags.
constexpr char kVersion2[] =
    "00000000 016E 0002 0000"                                                  // application, size, version, a file
    "0C 4D6163696E746F7368204844 000000000000000000000000000000"               // "Macintosh HD"
    "C0F2A1B0 482B 0000 00012D3A"                                              // volume date, "H+", fixed, parent
    "0A 5265706F72742E747874"                                                  // "Report.txt"
    "0000000000000000000000000000000000000000000000000000000000"               //
    "000000000000000000000000000000000000000000000000"                         //
    "00045E21 C1B7F3AA 74747874 54455854"                                      // target, its date, "ttxt", "TEXT"
    "FFFF FFFF 00000A02 0000 00000000000000000000"                             // levels, attributes, ID, reserved
    "0000 0009 446F63756D656E7473 00"                                          // 0: "Documents" and a filling byte
    "0001 0008 00012D3A 0000F0B2"                                              // 1: the enclosing folders
    "0002 002D 4D6163696E746F7368204844 3A 5573657273 3A 6D697261 3A"          // 2: "Macintosh HD:Users:mira:
    "446F63756D656E7473 3A 5265706F72742E747874 00 00"                         //    Documents:Report.txt", a zero
    "000E 0016 000A 005200650070006F00720074002E007400780074"                  // 14: "Report.txt"
    "000F 001A 000C 004D006100630069006E0074006F0073006800200048 0044"         // 15: "Macintosh HD"
    "0010 0008 0000C0F2A1B00000"                                               // 16: the volume's date
    "0011 0008 0000C1B7F3AA8000"                                               // 17: the target's, with half a second
    "0012 001F 55736572732F6D6972612F446F63756D656E74732F5265706F72742E747874" // 18: "Users/mira/Documents/Report.txt"
    "00"
    "0013 0001 2F 00"    // 19: "/"
    "0014 0004 DEADBEEF" // 20: of a disk image
    "0015 0002 000B"     // 21: as long as "Users/mira/"
    "FFFF 0000";

/// A folder on a removable disk, of version 2 from times before Unicode names.
constexpr char kOldVersion2[] = "4D414353 00BC 0002 0001"                                    // "MACS", size, a folder
                                "03 5A6970 000000000000000000000000000000000000000000000000" // "Zip"
                                "A9D3B2C0 4244 0005 00000012" // volume date, "BD", ejectable, parent
                                "04 4B9A6C6E"                 // "Köln" in Mac Roman
                                "0000000000000000000000000000000000000000000000000000000000" //
                                "000000000000000000000000000000000000000000000000000000000000"
                                "00000013 A9D3B2C4 0000000000000000"           // target, its date, no type
                                "0001 0002 00000000 0000 00000000000000000000" // up one level, down two
                                "0000 0004 4D617073"                           // 0: "Maps"
                                "0001 0004 00000012"                           // 1
                                "0002 000D 5A6970 3A 4D617073 3A 4B9A6C6E 00"  // 2: "Zip:Maps:Köln"
                                "FFFF 0000";

/// A folder of version 3, as short as they are written.
constexpr char kVersion3[] =
    "00000000 0076 0003 0001"                                     // size 118, a folder
    "0000C0F2A1B00000 482B0000 0000 00012D3A 00045E21"            // volume date, "H+", parent, target
    "0000C1B7F3AA8000 00000A02 0000000000000000000000000000"      // date, attributes, reserved
    "000E 000C 0005 004E006F007400650073"                         // 14: "Notes"
    "0012 0017 55736572732F6D6972612F7061706572732F4E6F746573 00" // 18: "Users/mira/papers/Notes"
    "0013 0001 2F 00"                                             // 19: "/"
    "0015 0002 000B"                                              // 21
    "FFFF 0000";

} // namespace

struct Row
{
    const char *name;
    const char *record;
    std::size_t size;
    AliasInfo info;

    friend void PrintTo(const Row &row, std::ostream *stream) { *stream << row.name; }
};

class AliasOfMacs : public ::testing::TestWithParam<Row>
{
protected:
    static Bytes bytes()
    {
        std::string digits(GetParam().record);
        std::erase(digits, ' ');
        Bytes bytes;
        for (std::size_t at = 0; at < digits.size(); at += 2)
            bytes.push_back(std::uint8_t(std::stoi(digits.substr(at, 2), nullptr, 16)));
        return bytes;
    }
};

TEST_P(AliasOfMacs, copyInfo_tellsEveryField)
{
    ASSERT_EQ(bytes().size(), GetParam().size);
    const Result<AliasInfo> info = AliasManager::current().copyInfo(bytes());
    ASSERT_TRUE(info) << info.failure().context;
    const AliasInfo &expected = GetParam().info;
    EXPECT_EQ(info->targetName, expected.targetName);
    EXPECT_EQ(info->volumeName, expected.volumeName);
    EXPECT_EQ(info->path, expected.path);
    EXPECT_EQ(info->fileType, expected.fileType);
    EXPECT_EQ(info->fileCreator, expected.fileCreator);
    EXPECT_EQ(info->parentDirID, expected.parentDirID);
    EXPECT_EQ(info->nodeID, expected.nodeID);
    EXPECT_EQ(info->filesystemID, expected.filesystemID);
    EXPECT_EQ(info->signature, expected.signature);
    EXPECT_EQ(info->volumeIsBootVolume, expected.volumeIsBootVolume);
    EXPECT_EQ(info->volumeIsAutomounted, expected.volumeIsAutomounted);
    EXPECT_EQ(info->volumeIsEjectable, expected.volumeIsEjectable);
    EXPECT_EQ(info->volumeHasPersistentFileIDs, expected.volumeHasPersistentFileIDs);
}

TEST_P(AliasOfMacs, aliasInfo_hasEveryKey)
{
    const AliasInfo &expected = GetParam().info;
    const auto unsignedNumber = [](std::uint64_t number) { return PropertyList(number); };
    const PropertyList::Dictionary all = {
        {"targetNameString", PropertyList(expected.targetName)},
        {"volumeNameString", PropertyList(expected.volumeName)},
        {"pathString", PropertyList(expected.path)},
        {"fileType", unsignedNumber(expected.fileType)},
        {"fileCreator", unsignedNumber(expected.fileCreator)},
        {"parentDirID", unsignedNumber(expected.parentDirID)},
        {"nodeID", unsignedNumber(expected.nodeID)},
        {"filesystemID", unsignedNumber(expected.filesystemID)},
        {"signature", unsignedNumber(expected.signature)},
        {"volumeIsBootVolume", PropertyList(expected.volumeIsBootVolume)},
        {"volumeIsAutomounted", PropertyList(expected.volumeIsAutomounted)},
        {"volumeIsEjectable", PropertyList(expected.volumeIsEjectable)},
        {"volumeHasPersistentFileIDs", PropertyList(expected.volumeHasPersistentFileIDs)}};
    EXPECT_EQ(RQAlias::aliasInfoForAliasData(bytes()), PropertyList(all));
}

TEST_P(AliasOfMacs, resolve_isNotFound)
{
    const auto resolution = AliasManager::current().resolve(bytes());
    ASSERT_FALSE(resolution);
    EXPECT_EQ(resolution.failure().code, ErrorCode::NotFound);
    EXPECT_EQ(RQAlias::aliasWithData(bytes()).fullPath(), std::nullopt);
    EXPECT_EQ(RQAlias::aliasWithData(bytes()).aliasData(), bytes());
}

TEST_P(AliasOfMacs, cutAnywhere_isCorrupt)
{
    const Bytes whole = bytes();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const Bytes cut(whole.begin(), whole.begin() + std::ptrdiff_t(length));
        const Result<AliasInfo> info = AliasManager::current().copyInfo(cut);
        ASSERT_FALSE(info) << length;
        EXPECT_EQ(info.failure().code, ErrorCode::Corrupt) << length;
        EXPECT_EQ(RQAlias::aliasInfoForAliasData(cut), std::nullopt) << length;
    }
}

TEST_P(AliasOfMacs, anyByteDamaged_isReadOrCorrupt)
{
    const Bytes whole = bytes();
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const int value : {0x00, 0x01, 0x7F, 0x80, 0xFF}) {
            Bytes damaged = whole;
            damaged[at] = std::uint8_t(value);
            const Result<AliasInfo> info = AliasManager::current().copyInfo(damaged);
            EXPECT_TRUE(info || info.failure().code == ErrorCode::Corrupt) << at << ": " << value;
            static_cast<void>(AliasManager::current().resolve(damaged));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, AliasOfMacs,
                         ::testing::Values(Row{"version2",
                                               kVersion2,
                                               366,
                                               {.targetName = "Report.txt",
                                                .volumeName = "Macintosh HD",
                                                .path = "/Users/mira/Documents/Report.txt",
                                                .fileType = 0x54455854,
                                                .fileCreator = 0x74747874,
                                                .parentDirID = 0x12D3A,
                                                .nodeID = 0x45E21,
                                                .signature = 0x482B,
                                                .volumeIsBootVolume = true,
                                                .volumeHasPersistentFileIDs = true}},
                                           Row{"version2WithoutUnicodeNames",
                                               kOldVersion2,
                                               188,
                                               {.targetName = "Köln",
                                                .volumeName = "Zip",
                                                .path = "/Volumes/Zip/Maps/Köln",
                                                .parentDirID = 0x12,
                                                .nodeID = 0x13,
                                                .signature = 0x4244,
                                                .volumeIsEjectable = true,
                                                .volumeHasPersistentFileIDs = true}},
                                           Row{"version3",
                                               kVersion3,
                                               118,
                                               {.targetName = "Notes",
                                                .volumeName = "",
                                                .path = "/Users/mira/papers/Notes",
                                                .parentDirID = 0x12D3A,
                                                .nodeID = 0x45E21,
                                                .signature = 0x482B,
                                                .volumeIsBootVolume = true,
                                                .volumeHasPersistentFileIDs = true}}),
                         [](const auto &row) { return std::string(row.param.name); });
