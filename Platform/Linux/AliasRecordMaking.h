#pragma once

#include "Platform/Formats/AliasRecord.h"
#include "Platform/Linux/AliasTarget.h"
#include "Platform/Linux/MountTable.h"

/// Everything that the published layout has room for and Linux can tell, and the identity tag.
AliasRecord newRecord(const AliasTarget &target, const MountTable &mounts);

/// A new record that keeps the tags of `old` that are not rewritten, and what belongs to its application.
AliasRecord broughtUpToDate(const AliasRecord &old, const AliasTarget &target, const MountTable &mounts);

/// Notes how far `from` and `to` are from the folder that holds both.
void setLevels(AliasRecord &record, const Path &from, const Path &to);
