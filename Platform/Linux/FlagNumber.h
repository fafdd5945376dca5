#pragma once

#include "Platform/Result.h"
#include "Platform/Types.h"

#include <optional>

/// BSD file flags as an attribute of the port's own, a decimal number in ASCII; it stays with the file and is never
/// shown or copied. Any thread.
namespace FlagNumber {

inline constexpr char kAttribute[] = "tamsel.st_flags";

/// nullopt where none was ever written. Errors: Corrupt when it is no number.
Result<std::optional<std::uint32_t>> read(const Path &path);

Result<void> write(const Path &path, std::uint32_t flags);
Result<void> write(int descriptor, std::uint32_t flags);

} // namespace FlagNumber
