#pragma once

#include "Platform/PropertyList.h"

#include <optional>

/// What a value of a property list says as a boolean: numbers count by being other than 0, a text by its first telling
/// character, a Y, a T or a digit other than 0. Nothing when there is no value or it is of a kind that has no truth.
std::optional<bool> truthOf(const PropertyList *value);
