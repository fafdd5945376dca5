#pragma once

#include "Classes/PrefPane/HistoryPredicate.h"
#include "Platform/PropertyList.h"
#include "Platform/Result.h"
#include "Platform/Types.h"

#include <map>
#include <string>
#include <vector>

/// The data model of the history store, as the resource "History.model.plist" states it: one entity, its attributes and
/// the named fetch requests. Table and column names follow from it (Docs/Formats/HistoryStore.md). A value.
class HistoryModel final
{
public:
    enum class Type { Boolean, Integer16, Integer64, String, Binary };

    struct Attribute
    {
        std::string name;
        Type type = Type::String;

        friend bool operator==(const Attribute &, const Attribute &) = default;
    };

    static constexpr const char *kResourceName = "History.model";
    static constexpr const char *kResourceType = "plist";

    static constexpr const char *kEnabled = "enabled";
    static constexpr const char *kStatus = "status";
    static constexpr const char *kSavings = "savings";
    static constexpr const char *kFolder = "folder";
    static constexpr const char *kFolderAlias = "folderAlias";

    /// Errors: those of `PropertyList::read` and of `from`.
    static Result<HistoryModel> read(const Path &file);

    /// Errors: Corrupt when the list has another form, or lacks one of the five attributes above.
    static Result<HistoryModel> from(const PropertyList &list);

    const std::string &entity() const { return m_entity; }
    const std::vector<Attribute> &attributes() const { return m_attributes; }

    /// The predicate of the fetch request of that name; nullptr when the model has none.
    const HistoryPredicate *fetchRequestTemplate(const std::string &name) const;

    std::string table() const;
    std::string column(const std::string &attribute) const;

private:
    HistoryModel() = default;

    std::string m_entity;
    std::vector<Attribute> m_attributes;
    std::map<std::string, HistoryPredicate> m_templates;
};
