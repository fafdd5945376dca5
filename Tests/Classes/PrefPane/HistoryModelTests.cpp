#include "Classes/PrefPane/HistoryModel.h"

#include "Tests/Support/HistoryFixture.h"

#include <gmock/gmock.h>

using Type = HistoryModel::Type;

static PropertyList attribute(const std::string &name, const std::string &type)
{
    PropertyList list;
    list.set("name", name);
    list.set("type", type);
    return list;
}

static PropertyList wholeModel()
{
    PropertyList request;
    request.set("entity", "History");
    request.set("predicate", "enabled == YES");
    PropertyList requests;
    requests.set("some", request);
    PropertyList list;
    list.set("entity", "History");
    list.set("attributes", PropertyList::Array{attribute("enabled", "Boolean"), attribute("status", "Integer 16"),
                                               attribute("savings", "Integer 64"), attribute("folder", "String"),
                                               attribute("folderAlias", "Binary")});
    list.set("fetchRequestTemplates", requests);
    return list;
}

static ErrorCode codeOf(const PropertyList &list)
{
    const Result<HistoryModel> model = HistoryModel::from(list);
    EXPECT_FALSE(model);
    return model ? ErrorCode::Io : model.failure().code;
}

TEST(HistoryModel, resource_holdsTheEntityAndItsAttributes)
{
    const HistoryModel model = HistoryFixture::model();

    EXPECT_EQ(model.entity(), "History");
    EXPECT_THAT(model.attributes(),
                ::testing::UnorderedElementsAre(HistoryModel::Attribute{"folder", Type::String},
                                                HistoryModel::Attribute{"folderAlias", Type::Binary},
                                                HistoryModel::Attribute{"savings", Type::Integer64},
                                                HistoryModel::Attribute{"status", Type::Integer16},
                                                HistoryModel::Attribute{"enabled", Type::Boolean}));
}

TEST(HistoryModel, resource_templateForEnabledFolders_selectsThem)
{
    const HistoryModel model = HistoryFixture::model();

    const HistoryPredicate *predicate = model.fetchRequestTemplate("historyForEnabledFolders");
    ASSERT_TRUE(predicate);
    EXPECT_EQ(*predicate, (HistoryPredicate{"enabled", true}));
    EXPECT_FALSE(model.fetchRequestTemplate("historyForNobody"));
}

TEST(HistoryModel, names_followFromTheModel)
{
    const HistoryModel model = HistoryFixture::model();

    EXPECT_EQ(model.table(), "ZHISTORY");
    EXPECT_EQ(model.column(HistoryModel::kFolderAlias), "ZFOLDERALIAS");
}

TEST(HistoryModel, from_wholeList_isAccepted)
{
    EXPECT_TRUE(HistoryModel::from(wholeModel()));
}

TEST(HistoryModel, from_otherForms_areCorrupt)
{
    EXPECT_EQ(codeOf(PropertyList("text")), ErrorCode::Corrupt);
    for (const char *key : {"entity", "attributes", "fetchRequestTemplates"}) {
        PropertyList list = wholeModel();
        list.remove(key);
        EXPECT_EQ(codeOf(list), ErrorCode::Corrupt) << "without " << key;
        list.set(key, 7);
        EXPECT_EQ(codeOf(list), ErrorCode::Corrupt) << key << " is a number";
    }
}

TEST(HistoryModel, from_nameThatIsNoName_isCorrupt)
{
    for (const char *name : {"", "History\"; DROP", "a b", "\xc3\xa9"}) {
        PropertyList list = wholeModel();
        list.set("entity", name);
        EXPECT_EQ(codeOf(list), ErrorCode::Corrupt) << name;
    }
}

TEST(HistoryModel, from_attributeMissingOrOfAnotherType_isCorrupt)
{
    for (std::size_t place = 0; place < 5; ++place) {
        PropertyList list = wholeModel();
        auto &attributes = *const_cast<PropertyList *>(list.find("attributes"))->as<PropertyList::Array>();
        const std::string name = attributes[place].string("name");
        attributes[place].set("type", name == "folder" ? "Binary" : "String");
        EXPECT_EQ(codeOf(list), ErrorCode::Corrupt) << name << " of another type";
        attributes[place].set("type", "Float");
        EXPECT_EQ(codeOf(list), ErrorCode::Corrupt) << name << " of an unknown type";
        attributes.erase(attributes.begin() + static_cast<std::ptrdiff_t>(place));
        EXPECT_EQ(codeOf(list), ErrorCode::Corrupt) << "without " << name;
    }
}

TEST(HistoryModel, from_templateOfAnotherEntityOrAttribute_isCorrupt)
{
    for (const auto &[entity, predicate] : {std::pair("Other", "enabled == YES"), std::pair("History", "folder == YES"),
                                            std::pair("History", "enabled"), std::pair("History", "unknown == NO")}) {
        PropertyList list = wholeModel();
        PropertyList request;
        request.set("entity", entity);
        request.set("predicate", predicate);
        PropertyList requests;
        requests.set("some", request);
        list.set("fetchRequestTemplates", requests);
        EXPECT_EQ(codeOf(list), ErrorCode::Corrupt) << entity << ": " << predicate;
    }
}

TEST(HistoryModel, read_missingFile_isNotFound)
{
    const Result<HistoryModel> model = HistoryModel::read("/nowhere/History.model.plist");
    ASSERT_FALSE(model);
    EXPECT_EQ(model.failure().code, ErrorCode::NotFound);
}

TEST(HistoryPredicate, parse_bothValues)
{
    EXPECT_EQ(*HistoryPredicate::parse("enabled == YES"), (HistoryPredicate{"enabled", true}));
    EXPECT_EQ(*HistoryPredicate::parse("enabled == NO"), (HistoryPredicate{"enabled", false}));
}

TEST(HistoryPredicate, parse_anythingElse_isCorrupt)
{
    for (const char *text : {"", "enabled", "enabled == MAYBE", "== YES", " == YES", "enabled = YES", "enabled != YES",
                             "enabled == YES OR 1", "1 == YES", "enabled == yes"}) {
        const Result<HistoryPredicate> predicate = HistoryPredicate::parse(text);
        ASSERT_FALSE(predicate) << text;
        EXPECT_EQ(predicate.failure().code, ErrorCode::Corrupt);
    }
}
