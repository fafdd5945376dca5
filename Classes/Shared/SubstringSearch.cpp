#include "Classes/Shared/SubstringSearch.h"

#include <algorithm>
#include <cstring>
#include <utility>

SubstringSearch::SubstringSearch(std::vector<std::string_view> strings)
    : m_common(commonBytes(strings))
    , m_starts(startsOf(strings, m_common))
    , m_trie(std::move(strings))
    , m_shorter(m_trie.size(), StringTrie::kRoot)
    , m_found(m_trie.size(), 0)
    , m_depths(m_trie.size(), 0)
{
    // In the order of the numbers: what a node is linked to lies nearer to the root.
    for (StringTrie::Node node = StringTrie::kRoot; node < m_trie.size(); ++node)
        linkChildren(node);
    m_depths = {};
}

/// Up to four bytes of a text, in the order of memory.
static std::uint32_t wordAt(std::string_view text, std::size_t at)
{
    std::uint32_t word = 0;
    std::memcpy(&word, text.data() + at, std::min(sizeof word, text.size() - at));
    return word;
}

/// Where a start has its bit. Scattered by a multiplication: 2^32 by the golden ratio.
static std::size_t placeOf(std::uint32_t start)
{
    return start * 2654435769u >> 16;
}

std::uint32_t SubstringSearch::commonBytes(const std::vector<std::string_view> &strings)
{
    std::uint32_t common = 0;
    std::size_t count = sizeof common;
    for (const std::string_view string : strings)
        count = string.empty() ? count : std::min(count, string.size());
    std::memset(&common, 0xFF, count);
    return common;
}

SubstringSearch::Starts SubstringSearch::startsOf(const std::vector<std::string_view> &strings, std::uint32_t common)
{
    Starts starts;
    for (const std::string_view string : strings) {
        if (!string.empty())
            starts.set(placeOf(wordAt(string, 0) & common));
    }
    return starts;
}

std::size_t SubstringSearch::nextStart(std::string_view text, std::size_t at) const
{
    for (; at + sizeof m_common <= text.size(); ++at) {
        std::uint32_t word;
        std::memcpy(&word, text.data() + at, sizeof word);
        if (m_starts[placeOf(word & m_common)])
            return at;
    }
    while (at < text.size() && !m_starts[placeOf(wordAt(text, at) & m_common)])
        ++at;
    return at;
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

std::string_view SubstringSearch::firstIn(std::string_view text) const
{
    StringTrie::Node node = StringTrie::kRoot;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (node == StringTrie::kRoot && (at = nextStart(text, at)) == text.size())
            break;
        node = step(node, std::uint8_t(text[at]));
        if (const std::size_t length = m_found[node])
            return text.substr(at + 1 - length, length);
    }
    return {};
}
