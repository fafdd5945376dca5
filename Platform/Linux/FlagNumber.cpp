#include "Platform/Linux/FlagNumber.h"

#include "Platform/Linux/ExtendedAttributes.h"

#include <charconv>

Result<std::optional<std::uint32_t>> FlagNumber::read(const Path &path)
{
    const Result<Bytes> value = ExtendedAttributes::value(path, kAttribute);
    if (!value && value.failure().code == ErrorCode::NotFound)
        return std::optional<std::uint32_t>();
    if (!value)
        return value.failure();
    const std::string text = stringOf(*value);
    std::uint32_t flags = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), flags);
    if (parsed.ec != std::errc() || parsed.ptr != text.data() + text.size())
        return Failure{ErrorCode::Corrupt, 0, path.native() + ": the flags are no number"};
    return std::optional(flags);
}

Result<void> FlagNumber::write(const Path &path, std::uint32_t flags)
{
    return ExtendedAttributes::set(path, kAttribute, bytesOf(std::to_string(flags)));
}

Result<void> FlagNumber::write(int descriptor, std::uint32_t flags)
{
    return ExtendedAttributes::set(descriptor, kAttribute, bytesOf(std::to_string(flags)));
}
