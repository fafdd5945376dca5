#include "Platform/PropertyList.h"

#include <gtest/gtest.h>

#include <cmath>

using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;

/// Puts a binary list together from objects as a test wants them, right or wrong.
struct Layout
{
    std::vector<std::string> objects;
    std::uint64_t offsetSize = 1;
    std::uint64_t referenceSize = 1;
    std::uint64_t root = 0;
    std::string magic = "bplist00";

    static std::string number(std::uint64_t value, std::uint64_t size)
    {
        std::string text;
        for (std::uint64_t i = size; i-- > 0;)
            text += i < 8 ? char(value >> (8 * i)) : '\0';
        return text;
    }

    std::vector<std::uint64_t> offsets() const
    {
        std::vector<std::uint64_t> result;
        std::uint64_t at = magic.size();
        for (const std::string &object : objects) {
            result.push_back(at);
            at += object.size();
        }
        return result;
    }

    Bytes bytes() const { return bytes(offsets()); }

    Bytes bytes(const std::vector<std::uint64_t> &table) const
    {
        std::string text = magic;
        for (const std::string &object : objects)
            text += object;
        const std::size_t tableAt = text.size();
        for (const std::uint64_t offset : table)
            text += number(offset, offsetSize);
        text += number(0, 6) + number(offsetSize, 1) + number(referenceSize, 1);
        text += number(table.size(), 8) + number(root, 8) + number(tableAt, 8);
        return bytesOf(text);
    }
};

/// A list of one object, given by its bytes.
static Result<PropertyList> parseObject(const std::string &object)
{
    return PropertyList::parse(Layout{{object}}.bytes());
}

static std::string raw(std::initializer_list<int> bytes)
{
    std::string text;
    for (const int byte : bytes)
        text += char(byte);
    return text;
}

static void expectRefused(const Bytes &bytes, const char *what, ErrorCode code = ErrorCode::Corrupt)
{
    const Result<PropertyList> list = PropertyList::parse(bytes);
    ASSERT_FALSE(list) << what;
    EXPECT_EQ(list.failure().code, code) << what << ": " << list.failure().context;
    EXPECT_NE(list.failure().context.find(" at offset "), std::string::npos) << list.failure().context;
}

static const PropertyList kEverything = Dictionary{
    {"yes", true},
    {"no", false},
    {"integers",
     Array{0, 255, 256, 65535, 65536, std::int64_t(4294967295), std::int64_t(4294967296), -1, std::int64_t(INT64_MIN),
           std::int64_t(INT64_MAX), std::uint64_t(1) << 63, std::uint64_t(UINT64_MAX)}},
    {"reals", Array{0.1, -0.0, 1e300, 5e-324, HUGE_VAL}},
    {"text", Array{"", "plain", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", std::string("a\0b", 3), "\x01\x7F", "plain"}},
    {"data", Array{Bytes(), Bytes(14, 1), Bytes(15, 2), Bytes(300, 3)}},
    {"dates", Array{PropertyListDate{0.25}, PropertyListDate{-1e15}}},
    {"", Array{Array(), Dictionary()}},
};

// What is read.

TEST(PropertyListBinary, parse_eachKindOfObject_isTheValue)
{
    const std::pair<std::string, PropertyList> rows[] = {
        {raw({0x08}), false},
        {raw({0x09}), true},
        {raw({0x10, 0xFF}), 255},
        {raw({0x11, 0xFF, 0xFE}), 65534},
        {raw({0x12, 0xFF, 0xFF, 0xFF, 0xFF}), std::int64_t(4294967295)},
        {raw({0x13, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE}), -2},
        {raw({0x14, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0, 0, 0, 0, 0, 0, 1}), std::uint64_t(0xFF00000000000001)},
        {raw({0x14, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}), 1},
        {raw({0x14}) + std::string(16, '\xFF'), -1},
        {raw({0x22, 0x3F, 0xC0, 0, 0}), 1.5},
        {raw({0x23, 0xBF, 0xF8, 0, 0, 0, 0, 0, 0}), -1.5},
        {raw({0x33, 0x3F, 0xF8, 0, 0, 0, 0, 0, 0}), PropertyListDate{1.5}},
        {raw({0x40}), Bytes()},
        {raw({0x42, 0, 0xFF}), Bytes{0, 255}},
        {raw({0x4F, 0x10, 1, 7}), Bytes{7}},
        {raw({0x4F, 0x11, 0, 2, 7, 8}), Bytes{7, 8}},
        {raw({0x51, 'a'}), "a"},
        {raw({0x62, 0xD8, 0x3D, 0xDE, 0x00}), "\xF0\x9F\x98\x80"},
        {raw({0xA0}), Array()},
        {raw({0xD0}), Dictionary()},
    };
    for (const auto &[object, value] : rows) {
        const Result<PropertyList> list = parseObject(object);
        ASSERT_TRUE(list) << list.failure().context;
        EXPECT_EQ(*list, value) << int(std::uint8_t(object[0]));
    }
}

TEST(PropertyListBinary, parse_sharedScalars_areReadForEachOwner)
{
    // {"a": "a", and again in an array}: the writers of this form keep equal strings once.
    const Layout layout = {{raw({0xD1, 1, 2}), raw({0x51, 'a'}), raw({0xA2, 1, 1})}};
    const Result<PropertyList> list = PropertyList::parse(layout.bytes());
    ASSERT_TRUE(list) << list.failure().context;
    EXPECT_EQ(*list, PropertyList(Dictionary{{"a", Array{"a", "a"}}}));
}

TEST(PropertyListBinary, parse_anyRootAndWidths_areFollowed)
{
    for (std::uint64_t size = 1; size <= 8; ++size) {
        Layout layout = {{raw({0x09}), raw({0xA1}) + Layout::number(0, size)}, size, size, 1};
        const Result<PropertyList> list = PropertyList::parse(layout.bytes());
        ASSERT_TRUE(list) << list.failure().context;
        EXPECT_EQ(*list, PropertyList(Array{true}));
    }
}

// What is refused.

TEST(PropertyListBinary, parse_malformedObject_isCorrupt)
{
    const std::pair<const char *, std::string> rows[] = {
        {"null", raw({0x00})},
        {"fill", raw({0x0F})},
        {"integer of 32 bytes", raw({0x15}) + std::string(32, '\0')},
        {"integer cut off", raw({0x13, 1})},
        {"integer above 2^64", raw({0x14, 0, 0, 0, 0, 0, 0, 0, 1}) + std::string(8, '\0')},
        {"integer below -2^63", raw({0x14}) + std::string(8, '\xFF') + std::string(8, '\0')},
        {"real of 2 bytes", raw({0x21, 0, 0})},
        {"real cut off", raw({0x23, 0})},
        {"date of 4 bytes", raw({0x32, 0, 0, 0, 0})},
        {"date that is no number", raw({0x33, 0x7F, 0xF8, 0, 0, 0, 0, 0, 0})},
        {"date without end", raw({0x33, 0x7F, 0xF0, 0, 0, 0, 0, 0, 0})},
        {"data cut off", raw({0x42, 0})},
        {"length that is no integer", raw({0x4F, 0x51, 1, 0})},
        {"length cut off", raw({0x4F})},
        {"length cut off in its integer", raw({0x4F, 0x13, 0})},
        {"length of 16 bytes", raw({0x4F, 0x14}) + std::string(16, '\0')},
        {"length that wraps", raw({0x4F, 0x13}) + std::string(8, '\xFF')},
        {"text whose units wrap", raw({0x6F, 0x13, 0x80, 0, 0, 0, 0, 0, 0, 0})},
        {"array whose references wrap", raw({0xAF, 0x13}) + std::string(8, '\xFF')},
        {"dictionary whose references wrap", raw({0xDF, 0x13, 0x80, 0, 0, 0, 0, 0, 0, 0})},
        {"text that is not ASCII", raw({0x51, 0x80})},
        {"first half of a pair", raw({0x61, 0xD8, 0})},
        {"two first halves", raw({0x62, 0xD8, 0, 0xD8, 0})},
        {"second half of a pair", raw({0x62, 0xDC, 0, 0, 'a'})},
        {"UTF-8 text", raw({0x71, 'a'})},
        {"identifier", raw({0x80, 0})},
        {"set", raw({0xC0})},
        {"unknown kinds", raw({0xE0})},
        {"reference to no object", raw({0xA1, 1})},
    };
    for (const auto &[what, object] : rows)
        expectRefused(Layout{{object}}.bytes(), what);
}

TEST(PropertyListBinary, parse_containersWithoutOneOwner_areCorrupt)
{
    expectRefused(Layout{{raw({0xA1, 0})}}.bytes(), "array in itself");
    expectRefused(Layout{{raw({0xA1, 1}), raw({0xA1, 0})}}.bytes(), "two arrays in each other");
    expectRefused(Layout{{raw({0xD1, 1, 0}), raw({0x51, 'a'})}}.bytes(), "dictionary in itself");
    expectRefused(Layout{{raw({0xA2, 1, 1}), raw({0xA0})}}.bytes(), "array with two owners");
    std::vector<std::string> laughs;
    for (int i = 0; i < 40; ++i)
        laughs.push_back(raw({0xA2, i + 1, i + 1}));
    laughs.push_back(raw({0xA0}));
    expectRefused(Layout{laughs}.bytes(), "forty doublings");
}

TEST(PropertyListBinary, parse_malformedDictionary_isCorrupt)
{
    expectRefused(Layout{{raw({0xD1, 1, 1}), raw({0x10, 1})}}.bytes(), "key that is a number");
    expectRefused(Layout{{raw({0xD1, 1, 2}), raw({0xA0}), raw({0x09})}}.bytes(), "key that is an array");
    expectRefused(Layout{{raw({0xD2, 1, 1, 2, 2}), raw({0x51, 'a'}), raw({0x09})}}.bytes(), "one key twice");
    expectRefused(Layout{{raw({0xD2, 1, 3, 2, 2}), raw({0x51, 'a'}), raw({0x09}), raw({0x61, 0, 'a'})}}.bytes(),
                  "equal keys");
}

TEST(PropertyListBinary, parse_offsetsThatMeetOrLeaveTheList_areCorrupt)
{
    const Layout layout = {{raw({0xA2, 1, 2}), raw({0x42, 0x41, 'a'}), raw({0x09})}, 8};
    const std::vector<std::uint64_t> good = layout.offsets();
    ASSERT_TRUE(PropertyList::parse(layout.bytes(good)));
    const std::pair<const char *, std::uint64_t> rows[] = {
        {"inside another", good[1] + 1}, {"at another", good[1]},    {"in the head", 7},   {"zero", 0},
        {"at the table", good[2] + 1},   {"behind the end", 10'000}, {"huge", UINT64_MAX}, {"beyond 2^63", 1ull << 63},
    };
    for (const auto &[what, offset] : rows)
        expectRefused(layout.bytes({good[0], good[1], offset}), what);
}

TEST(PropertyListBinary, parse_malformedTrailer_isCorrupt)
{
    const Bytes good = Layout{{raw({0xA1, 1}), raw({0x09})}}.bytes();
    const std::size_t trailer = good.size() - 32;
    const auto with = [&](std::size_t at, std::uint64_t value, std::size_t size) {
        Bytes bytes = good;
        for (std::size_t i = 0; i < size; ++i)
            bytes[at + i] = std::uint8_t(value >> (8 * (size - 1 - i)));
        return bytes;
    };
    ASSERT_TRUE(PropertyList::parse(with(trailer + 24, 11, 8)));
    expectRefused(with(6, '1', 1), "another version");
    for (const std::uint64_t size : {0, 9, 255}) {
        expectRefused(with(trailer + 6, size, 1), "offset size");
        expectRefused(with(trailer + 7, size, 1), "reference size");
    }
    for (const std::uint64_t count : {std::uint64_t(0), std::uint64_t(1), std::uint64_t(3)})
        expectRefused(with(trailer + 8, count, 8), "object count");
    for (const std::uint64_t count : {std::uint64_t(2'000'001), std::uint64_t(UINT64_MAX), std::uint64_t(1) << 61})
        expectRefused(with(trailer + 8, count, 8), "huge object count", ErrorCode::TooLarge);
    for (const std::uint64_t root : {std::uint64_t(2), std::uint64_t(UINT64_MAX)})
        expectRefused(with(trailer + 16, root, 8), "root");
    for (const std::uint64_t table :
         {std::uint64_t(0), std::uint64_t(10), std::uint64_t(12), std::uint64_t(UINT64_MAX)})
        expectRefused(with(trailer + 24, table, 8), "offset table");
}

TEST(PropertyListBinary, parse_truncatedAnywhere_isRefused)
{
    const Bytes whole = *kEverything.toBinary();
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_FALSE(PropertyList::parse(ByteView(whole).first(length))) << length;
}

TEST(PropertyListBinary, parse_anyByteDamaged_neverFailsOtherThanPolitely)
{
    const Bytes whole = *kEverything.toBinary();
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const int damage : {0x00, 0x01, 0x0F, 0x7F, 0x80, 0xA1, 0xDF, 0xFF}) {
            Bytes damaged = whole;
            damaged[at] = std::uint8_t(damage);
            const Result<PropertyList> list = PropertyList::parse(damaged);
            EXPECT_TRUE(!list || list->toBinary()) << at;
        }
    }
}

// Budgets.

static Layout nested(int levels)
{
    Layout layout;
    for (int level = 1; level < levels; ++level)
        layout.objects.push_back(raw({0xA1, level}));
    layout.objects.push_back(raw({0xA0}));
    layout.offsetSize = 2;
    return layout;
}

TEST(PropertyListBinary, parse_levels_areSixtyFourAtMost)
{
    EXPECT_TRUE(PropertyList::parse(nested(64).bytes()));
    expectRefused(nested(65).bytes(), "65 levels", ErrorCode::TooLarge);
    expectRefused(nested(200).bytes(), "200 levels", ErrorCode::TooLarge);
}

TEST(PropertyListBinary, parse_values_areAMillionAtMost)
{
    const auto arrayOf = [](std::uint64_t count) {
        const std::string references(count, '\1');
        return Layout{{raw({0xAF, 0x12}) + Layout::number(count, 4) + references, raw({0x09})}, 4}.bytes();
    };
    EXPECT_TRUE(PropertyList::parse(arrayOf(999'999)));
    expectRefused(arrayOf(1'000'000), "a million and one", ErrorCode::TooLarge);
}

TEST(PropertyListBinary, parse_sharedData_is64MiBAtMostInAll)
{
    const auto repeated = [](std::uint64_t count) {
        const std::string text = raw({0x4F, 0x12}) + Layout::number(1u << 20, 4) + std::string(1u << 20, 'a');
        const std::string references(count, '\1');
        return Layout{{raw({0xAF, 0x12}) + Layout::number(count, 4) + references, text}, 4}.bytes();
    };
    EXPECT_TRUE(PropertyList::parse(repeated(64)));
    expectRefused(repeated(65), "65 MiB", ErrorCode::TooLarge);
    expectRefused(repeated(900'000), "879 GiB", ErrorCode::TooLarge);
}

// What is written.

TEST(PropertyListBinary, toBinary_smallList_isThePublishedLayout)
{
    const PropertyList list = Dictionary{{"a", Array{true, "a", -1}}};
    const Layout layout = {
        {raw({0xD1, 1, 2}), raw({0x51, 'a'}), raw({0xA3, 3, 1, 4}), raw({0x09}), raw({0x13}) + std::string(8, '\xFF')}};
    EXPECT_EQ(*list.toBinary(), layout.bytes());
}

TEST(PropertyListBinary, toBinary_whatWasWritten_isReadTheSame)
{
    const Result<Bytes> bytes = kEverything.toBinary();
    ASSERT_TRUE(bytes);
    const Result<PropertyList> again = PropertyList::parse(*bytes);
    ASSERT_TRUE(again) << again.failure().context;
    EXPECT_EQ(*again, kEverything);
}

TEST(PropertyListBinary, toBinary_manyObjects_areReadTheSame)
{
    for (const int count : {254, 255, 256, 65'535, 65'536, 70'000}) {
        Array array;
        for (int i = 0; i < count; ++i)
            array.push_back("text " + std::to_string(i));
        const PropertyList list = std::move(array);
        const Result<PropertyList> again = PropertyList::parse(*list.toBinary());
        ASSERT_TRUE(again) << again.failure().context;
        EXPECT_EQ(*again, list);
    }
}

TEST(PropertyListBinary, toBinary_whatIsNotRead_isRefused)
{
    for (const PropertyList &list :
         {PropertyList("\xFF"), PropertyList(Dictionary{{"\xFF", 1}}), PropertyList(Dictionary{{"a", 1}, {"a", 1}}),
          PropertyList(PropertyListDate{std::nan("")})}) {
        const Result<Bytes> bytes = list.toBinary();
        ASSERT_FALSE(bytes);
        EXPECT_EQ(bytes.failure().code, ErrorCode::Corrupt);
    }
    PropertyList deep = Array();
    for (int level = 1; level < 65; ++level)
        deep = Array{deep};
    ASSERT_FALSE(deep.toBinary());
    EXPECT_EQ(deep.toBinary().failure().code, ErrorCode::TooLarge);
}
