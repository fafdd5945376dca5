#pragma once

#include <QString>

#include <memory>
#include <vector>

/// An entry of an exclusion list. Its text may be edited; it stays the same entry, and which one it is matters.
using ExclusionEntry = std::shared_ptr<QString>;
using ExclusionEntries = std::vector<ExclusionEntry>;
