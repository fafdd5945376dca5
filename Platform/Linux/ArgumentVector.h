#pragma once

#include "Platform/Types.h"

#include <string>
#include <vector>

/// The words of a command line as the system's calls take them.
class ArgumentVector final
{
public:
    ArgumentVector(const Path &program, const std::vector<std::string> &arguments)
        : m_words{program.native()}
    {
        m_words.insert(m_words.end(), arguments.begin(), arguments.end());
        for (std::string &word : m_words)
            m_pointers.push_back(word.data());
        m_pointers.push_back(nullptr);
    }
    ArgumentVector(const ArgumentVector &) = delete;
    ArgumentVector &operator=(const ArgumentVector &) = delete;

    /// Ends with nullptr; valid as long as this lives.
    char *const *data() const { return m_pointers.data(); }

private:
    std::vector<std::string> m_words;
    std::vector<char *> m_pointers;
};
