#include "Classes/PrefPane/HistoryModel.h"

#include <algorithm>

namespace {

Failure corrupt(const std::string &what)
{
    return {ErrorCode::Corrupt, 0, "history model: " + what};
}

/// Names become table and column names; only letters keep them apart in upper case and out of SQL's way.
bool isName(const std::string &text)
{
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    return !text.empty() && std::all_of(text.begin(), text.end(), isLetter);
}

std::string sqlName(const std::string &name)
{
    std::string upper = "Z";
    for (const char c : name)
        upper += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    return upper;
}

const std::map<std::string, HistoryModel::Type> &types()
{
    using Type = HistoryModel::Type;
    static const std::map<std::string, Type> kTypes = {{"Boolean", Type::Boolean},
                                                       {"Integer 16", Type::Integer16},
                                                       {"Integer 64", Type::Integer64},
                                                       {"String", Type::String},
                                                       {"Binary", Type::Binary}};
    return kTypes;
}

const std::vector<HistoryModel::Attribute> &requiredAttributes()
{
    using Type = HistoryModel::Type;
    static const std::vector<HistoryModel::Attribute> kRequired = {{HistoryModel::kEnabled, Type::Boolean},
                                                                   {HistoryModel::kStatus, Type::Integer16},
                                                                   {HistoryModel::kSavings, Type::Integer64},
                                                                   {HistoryModel::kFolder, Type::String},
                                                                   {HistoryModel::kFolderAlias, Type::Binary}};
    return kRequired;
}

Result<HistoryModel::Attribute> attributeFrom(const PropertyList &list)
{
    const std::string name = list.string("name");
    const auto type = types().find(list.string("type"));
    if (!isName(name))
        return corrupt("an attribute without a name");
    if (type == types().end())
        return corrupt("the attribute " + name + " has no known type");
    return HistoryModel::Attribute{name, type->second};
}

} // namespace

Result<HistoryModel> HistoryModel::read(const Path &file)
{
    const Result<PropertyList> list = PropertyList::read(file);
    if (!list)
        return list.failure();
    return from(*list);
}

Result<HistoryModel> HistoryModel::from(const PropertyList &list)
{
    HistoryModel model;
    model.m_entity = list.string("entity");
    if (!isName(model.m_entity))
        return corrupt("no entity");

    const PropertyList *attributes = list.find("attributes");
    const auto *attributeList = attributes ? attributes->as<PropertyList::Array>() : nullptr;
    if (!attributeList)
        return corrupt("no attributes");
    for (const PropertyList &each : *attributeList) {
        const Result<Attribute> attribute = attributeFrom(each);
        if (!attribute)
            return attribute.failure();
        model.m_attributes.push_back(*attribute);
    }
    for (const Attribute &required : requiredAttributes()) {
        if (std::count(model.m_attributes.begin(), model.m_attributes.end(), required) != 1)
            return corrupt("the attribute " + required.name + " is missing or of another type");
    }

    const PropertyList *templates = list.find("fetchRequestTemplates");
    const auto *templateList = templates ? templates->as<PropertyList::Dictionary>() : nullptr;
    if (!templateList)
        return corrupt("no fetch-request templates");
    for (const auto &[name, request] : *templateList) {
        const Result<HistoryPredicate> predicate = HistoryPredicate::parse(request.string("predicate"));
        if (!predicate)
            return predicate.failure();
        if (request.string("entity") != model.m_entity)
            return corrupt("the fetch-request template " + name + " is of another entity");
        const Attribute asked{predicate->attribute, Type::Boolean};
        if (std::count(model.m_attributes.begin(), model.m_attributes.end(), asked) == 0)
            return corrupt("the fetch-request template " + name + " asks for no truth value of the entity");
        model.m_templates.emplace(name, *predicate);
    }
    return model;
}

const HistoryPredicate *HistoryModel::fetchRequestTemplate(const std::string &name) const
{
    const auto found = m_templates.find(name);
    return found == m_templates.end() ? nullptr : &found->second;
}

std::string HistoryModel::table() const
{
    return sqlName(m_entity);
}

std::string HistoryModel::column(const std::string &attribute) const
{
    return sqlName(attribute);
}
