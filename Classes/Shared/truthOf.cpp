#include "Classes/Shared/truthOf.h"

static bool isYes(const std::string &text)
{
    std::size_t at = text.find_first_not_of(" \t\n\r");
    if (at != std::string::npos && (text[at] == '+' || text[at] == '-'))
        ++at;
    at = at == std::string::npos ? at : text.find_first_not_of('0', at);
    return at != std::string::npos && std::string("YyTt123456789").find(text[at]) != std::string::npos;
}

std::optional<bool> truthOf(const PropertyList *value)
{
    if (!value)
        return std::nullopt;
    if (const auto *boolean = value->as<bool>())
        return *boolean;
    if (const auto *integer = value->as<PropertyListInteger>())
        return integer->bits != 0;
    if (const auto *real = value->as<double>())
        return *real != 0;
    if (const auto *text = value->as<std::string>())
        return isYes(*text);
    return std::nullopt;
}
