#pragma once

#include <string>

/// The text with its letters from A to Z made small; every other byte stays, whatever it belongs to.
inline std::string asciiLowercase(std::string text)
{
    for (char &letter : text) {
        if (letter >= 'A' && letter <= 'Z')
            letter = char(letter - 'A' + 'a');
    }
    return text;
}
