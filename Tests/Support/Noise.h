#pragma once

#include <random>
#include <string>

/// A word of 64 letters that no compression makes much smaller, another each time; the same ones in each run.
inline std::string noise()
{
    static std::mt19937 s_random(1);
    std::string word;
    for (int letter = 0; letter < 64; ++letter)
        word += char('a' + s_random() % 16);
    return word;
}
