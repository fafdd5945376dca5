#pragma once

#include "Classes/Shared/StringTrie.h"

#include <string_view>
#include <vector>

/// Finds out whether any string of a set occurs in a text, in one pass over the text whatever the size of the set
/// (the automaton of Aho and Corasick). The empty string occurs nowhere. A value that never changes; any thread.
class SubstringSearch final
{
public:
    /// As for a `StringTrie`.
    explicit SubstringSearch(std::vector<std::string_view> strings = {});

    /// The part of `text` that is a string of the set, of several the one that ends first; empty when there is none.
    std::string_view firstIn(std::string_view text) const;

private:
    void linkChildren(StringTrie::Node node);
    /// Where `byte` leads from `node` or from the longest end of the way to it that leads anywhere.
    StringTrie::Node step(StringTrie::Node node, std::uint8_t byte) const;

    StringTrie m_trie;
    /// For each node, the one for the longest end of the way to it that is the start of a string too.
    std::vector<StringTrie::Node> m_shorter;
    /// For each node, the length of a string of the set with which the way to it ends; 0 for none.
    std::vector<std::uint32_t> m_found;
    std::vector<std::uint32_t> m_depths; ///< empty once all nodes are linked
};
