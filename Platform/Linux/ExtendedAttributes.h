#pragma once

#include "Platform/Result.h"
#include "Platform/Types.h"

#include <string>
#include <vector>

/// The kernel's extended attributes of a file, by the names that the platform's own have: without the prefix that the
/// volume asks for. A final link is never followed. Any thread.
namespace ExtendedAttributes {

/// The largest value that any of the calls handles.
inline constexpr std::size_t kLargestValue = std::size_t{64} << 10;

/// In the order of the file system. Empty too where the volume has no attributes.
Result<std::vector<std::string>> names(const Path &path);

/// Errors: NotFound when the file or the attribute is missing, or the volume has none.
Result<Bytes> value(const Path &path, const std::string &name);

Result<void> set(const Path &path, const std::string &name, ByteView value);
Result<void> set(int descriptor, const std::string &name, ByteView value);
Result<void> remove(const Path &path, const std::string &name);

} // namespace ExtendedAttributes
