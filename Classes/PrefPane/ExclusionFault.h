#pragma once

#include <string>

/// What keeps a text from being an entry of an exclusion list, in words; empty when nothing does. Any thread.
namespace ExclusionFault {

/// All characters of an extension are of these, and the first is no dot.
constexpr const char *kAllowedInExtensions = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-+";

std::string ofPath(const std::string &path);
std::string ofExtension(const std::string &extension);

} // namespace ExclusionFault
