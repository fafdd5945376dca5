#include "Platform/Utf8.h"

#include "Platform/Formats/Unicode.h"

bool isUtf8(std::string_view text)
{
    for (std::size_t at = 0; at < text.size();) {
        if (Unicode::nextCharacter(text, at) == Unicode::kNoCharacter)
            return false;
    }
    return true;
}
