#pragma once

#include "Platform/PropertyList.h"

#include <optional>
#include <string_view>

/// Values as the text of an XML element; nothing for what is malformed. No part of the seam: include PropertyList.h.
namespace PropertyListXmlValues {

/// Without XML's white space at both ends.
std::string_view trimmed(std::string_view text);

/// Decimal or, after "0x", hexadecimal, with an optional sign; -2^63 to 2^64-1.
std::optional<PropertyList> integerOf(std::string_view text);

/// Decimal, "inf", "infinity" or "nan", with an optional sign.
std::optional<PropertyList> realOf(std::string_view text);

/// "2001-01-01T00:00:00Z", nothing shorter or longer.
std::optional<PropertyList> dateOf(std::string_view text);

/// Base 64 with white space anywhere; the padding must be there, and the bits that it leaves over must be zero.
std::optional<PropertyList> dataOf(std::string_view text);

} // namespace PropertyListXmlValues
