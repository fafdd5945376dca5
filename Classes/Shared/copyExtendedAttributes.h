#pragma once

#include "Platform/Types.h"

#include <string>
#include <vector>

/// Copies the extended attributes of `from` to `to`, but those whose names are in `skipping`, in whatever case (that of
/// the letters A to Z). Links themselves are meant, not their targets. Answers whether every one was written; one that
/// was not does not keep the others from being copied. Nothing is copied, and that answered, when the companion of
/// `from` is damaged, so that what is in it cannot be told.
bool copyExtendedAttributesFrom(const Path &from, const Path &to, const std::vector<std::string> &skipping = {});
