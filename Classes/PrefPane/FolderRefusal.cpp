#include "Classes/PrefPane/FolderRefusal.h"

#include <utility>

static constexpr std::pair<FolderRefusal::Reason, const char *> kNames[] = {
    {FolderRefusal::Reason::Missing, "missing"},       {FolderRefusal::Reason::WholeDisk, "wholeDisk"},
    {FolderRefusal::Reason::System, "system"},         {FolderRefusal::Reason::OwnFiles, "ownFiles"},
    {FolderRefusal::Reason::Unreadable, "unreadable"},
};

const char *FolderRefusal::nameOf(Reason reason)
{
    for (const auto &[each, name] : kNames) {
        if (each == reason)
            return name;
    }
    return "";
}

std::optional<FolderRefusal::Reason> FolderRefusal::reasonNamed(const std::string &name)
{
    for (const auto &[reason, each] : kNames) {
        if (name == each)
            return reason;
    }
    return std::nullopt;
}
