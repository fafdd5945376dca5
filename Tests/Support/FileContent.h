#pragma once

#include "Platform/Types.h"

#include <fstream>
#include <iterator>
#include <string>

/// The bytes of a file; none when it cannot be read.
inline std::string contentOf(const Path &file)
{
    std::ifstream stream(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

/// Makes a file of these bytes, or fills the one that is there anew.
inline void writeFile(const Path &file, const std::string &content)
{
    std::ofstream(file, std::ios::binary) << content;
}
