#include "Classes/Shared/SubstringSearch.h"

#include <utility>

SubstringSearch::SubstringSearch(std::vector<std::string_view> strings)
    : m_trie(std::move(strings))
    , m_shorter(m_trie.size(), StringTrie::kRoot)
    , m_found(m_trie.size(), 0)
    , m_depths(m_trie.size(), 0)
{
    // In the order of the numbers: what a node is linked to lies nearer to the root.
    for (StringTrie::Node node = StringTrie::kRoot; node < m_trie.size(); ++node)
        linkChildren(node);
    m_depths = {};
}

void SubstringSearch::linkChildren(StringTrie::Node node)
{
    for (std::size_t index = 0; index < m_trie.childCount(node); ++index) {
        const StringTrie::Node child = m_trie.firstChild(node) + StringTrie::Node(index);
        m_depths[child] = m_depths[node] + 1;
        if (node != StringTrie::kRoot)
            m_shorter[child] = step(m_shorter[node], m_trie.label(child));
        m_found[child] = m_trie.isEnd(child) ? m_depths[child] : m_found[m_shorter[child]];
    }
}

StringTrie::Node SubstringSearch::step(StringTrie::Node node, std::uint8_t byte) const
{
    StringTrie::Node next = m_trie.child(node, byte);
    while (next == StringTrie::kNone && node != StringTrie::kRoot) {
        node = m_shorter[node];
        next = m_trie.child(node, byte);
    }
    return next == StringTrie::kNone ? StringTrie::kRoot : next;
}

std::string_view SubstringSearch::firstIn(std::string_view text) const
{
    StringTrie::Node node = StringTrie::kRoot;
    for (std::size_t at = 0; at < text.size(); ++at) {
        node = step(node, std::uint8_t(text[at]));
        if (const std::size_t length = m_found[node])
            return text.substr(at + 1 - length, length);
    }
    return {};
}
