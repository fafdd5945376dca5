#include "Platform/PropertyList.h"

#include <gtest/gtest.h>

#include <cmath>

using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;

static Result<PropertyList> parse(const std::string &text)
{
    return PropertyList::parse(bytesOf(text));
}

static Result<PropertyList> parseValue(const std::string &value)
{
    return parse("<plist version=\"1.0\">" + value + "</plist>");
}

static std::string xmlOf(const PropertyList &list)
{
    const Result<Bytes> xml = list.toXml();
    return xml ? stringOf(*xml) : "failed: " + xml.failure().context;
}

struct Row
{
    const char *name;
    std::string text;
    PropertyList value;
};

static void PrintTo(const Row &row, std::ostream *stream)
{
    *stream << row.name;
}

static const auto kNameOfRow = [](const auto &row) { return row.param.name; };

// What is read.

class PropertyListXmlValue : public ::testing::TestWithParam<Row>
{
};

TEST_P(PropertyListXmlValue, parse_wellFormed_isTheValue)
{
    const Result<PropertyList> list = parseValue(GetParam().text);
    ASSERT_TRUE(list) << list.failure().context;
    EXPECT_EQ(*list, GetParam().value) << xmlOf(*list);
}

INSTANTIATE_TEST_SUITE_P(
    , PropertyListXmlValue,
    ::testing::Values(
        Row{"yes", "<true/>", true}, Row{"no", "<false></false>", false}, Row{"zero", "<integer>0</integer>", 0},
        Row{"minusZero", "<integer>-0</integer>", 0}, Row{"plus", "<integer>+7</integer>", 7},
        Row{"integerInSpace", "<integer>\n\t7 </integer>", 7}, Row{"hexadecimal", "<integer>0xFf</integer>", 255},
        Row{"lowest", "<integer>-9223372036854775808</integer>", std::int64_t(INT64_MIN)},
        Row{"highest", "<integer>18446744073709551615</integer>", std::uint64_t(UINT64_MAX)},
        Row{"real", "<real>-1.5e3</real>", -1500.0}, Row{"wholeReal", "<real>5</real>", 5.0},
        Row{"infinite", "<real>+infinity</real>", HUGE_VAL}, Row{"emptyString", "<string/>", std::string()},
        Row{"stringKeepsSpace", "<string> a\n b </string>", " a\n b "},
        Row{"entities", "<string>&lt;&amp;&gt;&quot;&apos;&#13;&#x20AC;</string>", "<&>\"'\r\xE2\x82\xAC"},
        Row{"literalSection", "<string>a<![CDATA[<b>]]>c</string>", "a<b>c"},
        Row{"commentInString", "<string>a<!-- x -->b</string>", "ab"}, Row{"emptyData", "<data/>", Bytes()},
        Row{"dataOfOne", "<data>/w==</data>", Bytes{255}}, Row{"dataOfTwo", "<data>+/8=</data>", Bytes{251, 255}},
        Row{"dataInLines", "<data>\n\tAQ\n\tID\n</data>", Bytes{1, 2, 3}},
        Row{"reference", "<date>2001-01-01T00:00:00Z</date>", PropertyListDate{0}},
        Row{"beforeReference", "<date>2000-12-31T23:59:59Z</date>", PropertyListDate{-1}},
        Row{"leapDay", "<date>2004-02-29T12:00:00Z</date>", PropertyListDate{99748800}},
        Row{"emptyArray", "<array/>", Array()},
        Row{"array", "<array><true/> <integer>1</integer></array>", Array{true, 1}},
        Row{"emptyDictionary", "<dict></dict>", Dictionary()},
        Row{"dictionaryInItsOrder", "<dict><key>b</key><true/><key></key><integer>1</integer></dict>",
            Dictionary{{"b", true}, {"", 1}}}),
    kNameOfRow);

TEST(PropertyListXml, parse_negativeZeroReal_keepsItsSign)
{
    const Result<PropertyList> list = parseValue("<real>-0.0</real>");
    ASSERT_TRUE(list);
    EXPECT_TRUE(std::signbit(*list->as<double>()));
}

TEST(PropertyListXml, parse_headOfAnyKind_isTaken)
{
    const std::string body = "<plist version=\"1.0\"><true/></plist>";
    for (const std::string head :
         {"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n", "\xEF\xBB\xBF", "<!DOCTYPE plist>", "<!-- note -->\n",
          "<!DOCTYPE plist PUBLIC \"-//Example//DTD PLIST 1.0//EN\" \"http://example.com/PropertyList-1.0.dtd\">"}) {
        const Result<PropertyList> list = parse(head + body + "\n<!-- end -->\n");
        EXPECT_TRUE(list) << head << (list ? "" : list.failure().context);
    }
    EXPECT_TRUE(parse("<plist><true/></plist>"));
}

TEST(PropertyListXml, parse_utf16_isRead)
{
    std::string text = "\xFE\xFF";
    for (const char c : std::string("<plist><string>a</string></plist>"))
        text += std::string(1, '\0') + c;
    const Result<PropertyList> list = parse(text);
    ASSERT_TRUE(list) << list.failure().context;
    EXPECT_EQ(*list, PropertyList("a"));
}

// What is refused.

struct Refused
{
    const char *name;
    std::string text;
};

static void PrintTo(const Refused &row, std::ostream *stream)
{
    *stream << row.name;
}

class PropertyListXmlRefused : public ::testing::TestWithParam<Refused>
{
};

TEST_P(PropertyListXmlRefused, parse_malformed_isCorruptAndSaysWhere)
{
    const Result<PropertyList> list = parse(GetParam().text);
    ASSERT_FALSE(list) << xmlOf(*list);
    EXPECT_EQ(list.failure().code, ErrorCode::Corrupt);
    EXPECT_NE(list.failure().context.find(" at offset "), std::string::npos) << list.failure().context;
}

static const std::string kLaughs = "<!DOCTYPE plist [<!ENTITY a \"ha\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;\">"
                                   "<!ENTITY c \"&b;&b;&b;&b;&b;&b;&b;&b;\">]><plist><string>&c;</string></plist>";

INSTANTIATE_TEST_SUITE_P(
    Document, PropertyListXmlRefused,
    ::testing::Values(
        Refused{"nothing", ""}, Refused{"noList", "<dict/>"}, Refused{"emptyList", "<plist/>"},
        Refused{"spaceOnly", "<plist> </plist>"}, Refused{"twoValues", "<plist><true/><true/></plist>"},
        Refused{"twoLists", "<plist><true/></plist><plist><true/></plist>"},
        Refused{"listInList", "<plist><plist><true/></plist></plist>"}, Refused{"text", "hello"},
        Refused{"textInList", "<plist>a<true/></plist>"}, Refused{"notClosed", "<plist><array><true/></plist>"},
        Refused{"version", "<plist version=\"2.0\"><true/></plist>"},
        Refused{"attribute", "<plist><string id=\"1\">a</string></plist>"}, Refused{"billionLaughs", kLaughs},
        Refused{"externalEntity", "<!DOCTYPE plist [<!ENTITY a SYSTEM \"file:///etc/passwd\">]><plist><string>&a;"
                                  "</string></plist>"},
        Refused{"parameterEntity", "<!DOCTYPE plist [<!ENTITY % a SYSTEM \"file:///etc/passwd\"> %a;]><plist><true/>"
                                   "</plist>"},
        Refused{"undeclaredEntity", "<!DOCTYPE plist SYSTEM \"a.dtd\"><plist><string>&a;</string></plist>"},
        Refused{"otherDocument", "<!DOCTYPE html><plist><true/></plist>"},
        Refused{"malformedUtf8", "<plist><string>\xC0\x80</string></plist>"},
        Refused{"unknownEncoding", "<?xml version=\"1.0\" encoding=\"x-none\"?><plist><true/></plist>"},
        Refused{"controlCharacter", "<plist><string>\x01</string></plist>"},
        Refused{"nulReference", "<plist><string>&#0;</string></plist>"}),
    kNameOfRow);

static std::string inList(const std::string &value)
{
    return "<plist>" + value + "</plist>";
}

INSTANTIATE_TEST_SUITE_P(
    Value, PropertyListXmlRefused,
    ::testing::Values(
        Refused{"unknownElement", inList("<set/>")}, Refused{"textInArray", inList("<array>a</array>")},
        Refused{"textInTrue", inList("<true>1</true>")}, Refused{"elementInString", inList("<string><true/></string>")},
        Refused{"elementInTrue", inList("<true><true/></true>")},
        Refused{"keyInArray", inList("<array><key>a</key></array>")}, Refused{"keyAtTop", inList("<key>a</key>")},
        Refused{"valueWithoutKey", inList("<dict><true/></dict>")},
        Refused{"keyWithoutValue", inList("<dict><key>a</key></dict>")},
        Refused{"keyAfterKey", inList("<dict><key>a</key><key>b</key><true/></dict>")},
        Refused{"equalKeys", inList("<dict><key>a</key><true/><key>a</key><true/></dict>")},
        Refused{"emptyInteger", inList("<integer/>")}, Refused{"integerWithText", inList("<integer>1a</integer>")},
        Refused{"integerWithFraction", inList("<integer>1.0</integer>")},
        Refused{"twoSigns", inList("<integer>+-1</integer>")}, Refused{"digitsApart", inList("<integer>1 2</integer>")},
        Refused{"bareHexadecimal", inList("<integer>0x</integer>")},
        Refused{"integerTooHigh", inList("<integer>18446744073709551616</integer>")},
        Refused{"integerTooLow", inList("<integer>-9223372036854775809</integer>")},
        Refused{"emptyReal", inList("<real></real>")}, Refused{"realWithText", inList("<real>1.5x</real>")},
        Refused{"realTwoSigns", inList("<real>--1</real>")}, Refused{"realTooHigh", inList("<real>1e999</real>")},
        Refused{"nanWithText", inList("<real>nan(1)</real>")}, Refused{"dataUnpadded", inList("<data>AQ</data>")},
        Refused{"dataOverpadded", inList("<data>A===</data>")},
        Refused{"dataAfterPadding", inList("<data>AQ==AQID</data>")},
        Refused{"dataPaddedTwice", inList("<data>AQ==AQ==</data>")}, Refused{"dataStray", inList("<data>A*ID</data>")},
        Refused{"dataLeftOverBits", inList("<data>AR==</data>")},
        Refused{"monthZero", inList("<date>2001-00-01T00:00:00Z</date>")},
        Refused{"monthThirteen", inList("<date>2001-13-01T00:00:00Z</date>")},
        Refused{"dayZero", inList("<date>2001-01-00T00:00:00Z</date>")},
        Refused{"noLeapDay", inList("<date>2001-02-29T00:00:00Z</date>")},
        Refused{"hour", inList("<date>2001-01-01T24:00:00Z</date>")},
        Refused{"minute", inList("<date>2001-01-01T00:60:00Z</date>")},
        Refused{"second", inList("<date>2001-01-01T00:00:60Z</date>")},
        Refused{"shortDate", inList("<date>2001-01-01</date>")},
        Refused{"noZone", inList("<date>2001-01-01T00:00:00</date>")},
        Refused{"signInDate", inList("<date>2001-+1-01T00:00:00Z</date>")}),
    kNameOfRow);

TEST(PropertyListXml, parse_failure_namesTheOffset)
{
    const Result<PropertyList> list = parse("<plist><array><set/></array></plist>");
    ASSERT_FALSE(list);
    EXPECT_EQ(list.failure().context, "property list: unknown element set at offset 14");
}

TEST(PropertyListXml, parse_truncatedAnywhere_isRefused)
{
    const std::string whole = xmlOf(Dictionary{{"text", "a&b"}, {"data", Bytes{1, 2}}, {"list", Array{1, 2.5, true}}});
    ASSERT_TRUE(parse(whole));
    const std::size_t end = whole.rfind('>');
    for (std::size_t length = 0; length < end + 1; ++length)
        EXPECT_FALSE(parse(whole.substr(0, length))) << length;
}

TEST(PropertyListXml, parse_anyByteDamaged_neverFailsOtherThanPolitely)
{
    const std::string whole = xmlOf(Dictionary{{"text", "a&b"}, {"data", Bytes{1, 2}}, {"list", Array{1, 2.5, true}}});
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const char damage : {'\0', '<', '&', '\xFF', ' '}) {
            std::string damaged = whole;
            damaged[at] = damage;
            const Result<PropertyList> list = parse(damaged);
            EXPECT_TRUE(!list || list->toXml()) << at;
        }
    }
}

// Budgets.

static std::string repeated(const std::string &text, std::size_t count)
{
    std::string result;
    for (std::size_t i = 0; i < count; ++i)
        result += text;
    return result;
}

TEST(PropertyListXml, parse_levels_areSixtyFourAtMost)
{
    EXPECT_TRUE(parseValue(repeated("<array>", 64) + "<true/>" + repeated("</array>", 64)));
    for (const std::size_t levels : {65u, 100'000u}) {
        const Result<PropertyList> list = parseValue(repeated("<array>", levels) + repeated("</array>", levels));
        ASSERT_FALSE(list);
        EXPECT_EQ(list.failure().code, ErrorCode::TooLarge);
    }
}

TEST(PropertyListXml, parse_values_areAMillionAtMost)
{
    EXPECT_TRUE(parseValue("<array>" + repeated("<true/>", 999'999) + "</array>"));
    const Result<PropertyList> list = parseValue("<array>" + repeated("<true/>", 1'000'000) + "</array>");
    ASSERT_FALSE(list);
    EXPECT_EQ(list.failure().code, ErrorCode::TooLarge);
}

TEST(PropertyListXml, parse_bytes_are64MiBAtMost)
{
    const std::string head = "<plist><string>";
    const std::string tail = "</string></plist>";
    const std::string middle((64u << 20) - head.size() - tail.size(), 'a');
    EXPECT_TRUE(parse(head + middle + tail));
    const Result<PropertyList> list = parse(head + middle + "a" + tail);
    ASSERT_FALSE(list);
    EXPECT_EQ(list.failure().code, ErrorCode::TooLarge);
}

// What is written.

TEST(PropertyListXml, toXml_everyType_isThePublishedForm)
{
    const PropertyList list = Dictionary{{"z", true},
                                         {"a", Array{-1, std::uint64_t(UINT64_MAX), 0.1, "<&>\r",
                                                     PropertyListDate{0.75}, Bytes{1}, Array(), Dictionary()}}};
    EXPECT_EQ(xmlOf(list), R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
	<key>z</key>
	<true/>
	<key>a</key>
	<array>
		<integer>-1</integer>
		<integer>18446744073709551615</integer>
		<real>0.1</real>
		<string>&lt;&amp;&gt;&#13;</string>
		<date>2001-01-01T00:00:00Z</date>
		<data>
		AQ==
		</data>
		<array/>
		<dict/>
	</array>
</dict>
</plist>
)");
}

TEST(PropertyListXml, toXml_whatWasWritten_isReadTheSame)
{
    Bytes everyByte;
    std::string everyCharacter = "\t\n\r";
    for (int i = 0; i < 256; ++i)
        everyByte.push_back(std::uint8_t(i));
    for (int i = 0x20; i < 0x7F; ++i)
        everyCharacter += char(i);
    everyCharacter += "\x7F\xC2\x80\xEF\xBF\xBD\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF";
    const PropertyList list =
        Dictionary{{"", ""},
                   {everyCharacter, everyCharacter},
                   {" padded ", "  "},
                   {"data", everyByte},
                   {"lowest", std::int64_t(INT64_MIN)},
                   {"reals", Array{1e300, -1e-300, 5e-324, 0.1, 1.0 / 3, -0.0, HUGE_VAL, -HUGE_VAL}},
                   {"dates", Array{PropertyListDate{-63113904000}, PropertyListDate{252423993599}}}};
    const Result<Bytes> xml = list.toXml();
    ASSERT_TRUE(xml) << xml.failure().context;
    const Result<PropertyList> again = PropertyList::parse(*xml);
    ASSERT_TRUE(again) << again.failure().context;
    EXPECT_EQ(*again, list);
}

TEST(PropertyListXml, toXml_notANumber_isReadAsOne)
{
    const Result<PropertyList> again = PropertyList::parse(*PropertyList(std::nan("")).toXml());
    ASSERT_TRUE(again);
    EXPECT_TRUE(std::isnan(*again->as<double>()));
}

TEST(PropertyListXml, toXml_whatXmlCannotHold_isCorrupt)
{
    for (const PropertyList &list :
         {PropertyList("\x01"), PropertyList(std::string(1, '\0')), PropertyList("\xEF\xBF\xBE"),
          PropertyList("\xEF\xBF\xBF"), PropertyList("\xFF"), PropertyList("\xED\xA0\x80"), PropertyList("\xC1\xBF"),
          PropertyList("\xE2\x82"), PropertyList(Dictionary{{"\x1F", true}}), PropertyList(Dictionary{{"\xFF", true}}),
          PropertyList(Dictionary{{"a", 1}, {"b", 1}, {"a", 2}}), PropertyList(PropertyListDate{-63113904001}),
          PropertyList(PropertyListDate{252423993600}), PropertyList(PropertyListDate{std::nan("")}),
          PropertyList(PropertyListDate{HUGE_VAL})}) {
        const Result<Bytes> xml = list.toXml();
        ASSERT_FALSE(xml) << stringOf(*xml);
        EXPECT_EQ(xml.failure().code, ErrorCode::Corrupt);
    }
}

TEST(PropertyListXml, toXml_moreThanIsRead_isTooLarge)
{
    PropertyList deep = Array();
    for (int level = 1; level < 64; ++level)
        deep = Array{deep};
    EXPECT_TRUE(deep.toXml());
    const PropertyList tooDeep = Array{deep};
    const PropertyList tooMany = Array(1'000'000, true);
    const PropertyList tooLong = std::string(64u << 20, 'a');
    for (const PropertyList *const list : {&tooDeep, &tooMany, &tooLong}) {
        const Result<Bytes> xml = list->toXml();
        ASSERT_FALSE(xml);
        EXPECT_EQ(xml.failure().code, ErrorCode::TooLarge);
    }
}
