#pragma once

#include "Classes/Shared/StringTrie.h"

#include <bitset>
#include <cstdint>
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
    using Starts = std::bitset<1u << 16>;

    /// The bits of a word of four bytes that all strings fill.
    static std::uint32_t commonBytes(const std::vector<std::string_view> &strings);
    static Starts startsOf(const std::vector<std::string_view> &strings, std::uint32_t common);
    /// The first place from `at` on where a string of the set may start; the size of the text when there is none.
    std::size_t nextStart(std::string_view text, std::size_t at) const;
    void linkChildren(StringTrie::Node node);
    /// Where `byte` leads from `node` or from the longest end of the way to it that leads anywhere.
    StringTrie::Node step(StringTrie::Node node, std::uint8_t byte) const;

    std::uint32_t m_common;
    /// The first bytes of the strings. Most places of a text are passed over by this alone, which stays in the nearest
    /// cache, where a large trie does not.
    Starts m_starts;
    StringTrie m_trie;
    /// For each node, the one for the longest end of the way to it that is the start of a string too.
    std::vector<StringTrie::Node> m_shorter;
    /// For each node, the length of a string of the set with which the way to it ends; 0 for none.
    std::vector<std::uint32_t> m_found;
    std::vector<std::uint32_t> m_depths; ///< empty once all nodes are linked
};

// Here, where the compiler may put it into its callers: it is asked for many bytes of every text.
inline StringTrie::Node SubstringSearch::step(StringTrie::Node node, std::uint8_t byte) const
{
    StringTrie::Node next = m_trie.child(node, byte);
    while (next == StringTrie::kNone && node != StringTrie::kRoot) {
        node = m_shorter[node];
        next = m_trie.child(node, byte);
    }
    return next == StringTrie::kNone ? StringTrie::kRoot : next;
}
