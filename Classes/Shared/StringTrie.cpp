#include "Classes/Shared/StringTrie.h"

#include <algorithm>

StringTrie::StringTrie(std::vector<std::string_view> strings)
{
    std::erase(strings, std::string_view());
    std::sort(strings.begin(), strings.end());
    strings.erase(std::unique(strings.begin(), strings.end()), strings.end());
    addNode(0);
    // Level by level, so that the children of a node get neighbouring numbers.
    std::vector<Range> level{{0, strings.size()}};
    Node node = kRoot;
    for (std::size_t depth = 0; !level.empty(); ++depth) {
        std::vector<Range> next;
        for (const Range &range : level)
            addChildren(node++, range, depth, strings, next);
        level = std::move(next);
    }
    m_fromRoot.fill(kNone);
    for (std::size_t index = 0; index < childCount(kRoot); ++index) {
        const Node child = firstChild(kRoot) + Node(index);
        m_fromRoot[label(child)] = child;
    }
}

StringTrie::Node StringTrie::addNode(std::uint8_t label)
{
    m_nodes.emplace_back();
    m_labels.push_back(label);
    return Node(m_nodes.size() - 1);
}

void StringTrie::addChildren(Node node, Range range, std::size_t depth, const std::vector<std::string_view> &strings,
                             std::vector<Range> &ranges)
{
    // Sorted, so the one that ends here comes first.
    if (range.first < range.last && strings[range.first].size() == depth) {
        m_nodes[node].isEnd = true;
        return;
    }
    while (range.first < range.last) {
        const char byte = strings[range.first][depth];
        std::size_t last = range.first + 1;
        while (last < range.last && strings[last][depth] == byte)
            ++last;
        const Node child = addNode(std::uint8_t(byte));
        if (m_nodes[node].childCount++ == 0)
            m_nodes[node].firstChild = child;
        ranges.push_back({range.first, last});
        range.first = last;
    }
}
