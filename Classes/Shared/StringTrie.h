#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

/// A set of strings of bytes, arranged so that walking along a text finds those that it starts with in a time that
/// depends on their lengths and not on their number. A string that starts with another of the set is left out: where it
/// is found, the shorter one was found before. So is the empty string. A value that never changes; any thread.
class StringTrie final
{
public:
    using Node = std::uint32_t;
    static constexpr Node kRoot = 0;
    static constexpr Node kNone = Node(-1);

    /// `strings`: in any order; together fewer than 2^32 bytes. They are needed during the call only.
    explicit StringTrie(std::vector<std::string_view> strings = {});

    /// Where `byte` leads from `node`, or `kNone`. Numbers rise with the distance from the root.
    Node child(Node node, std::uint8_t byte) const;

    /// Whether a string of the set ends here. Then nothing leads further.
    bool isEnd(Node node) const { return m_nodes[node].isEnd; }

    /// Nodes, the root included; they are numbered from 0.
    std::size_t size() const { return m_nodes.size(); }

    /// The children of a node are numbered without gaps; the first, and how many there are.
    Node firstChild(Node node) const { return m_nodes[node].firstChild; }
    std::size_t childCount(Node node) const { return m_nodes[node].childCount; }

    /// The byte that leads to a node other than the root.
    std::uint8_t label(Node node) const { return m_labels[node]; }

    /// The length of the string of the set with which the bytes from `at` to `end` start; 0 when there is none.
    template <class Iterator>
    std::size_t lengthOfStart(Iterator at, Iterator end) const
    {
        Node node = kRoot;
        for (std::size_t length = 1; at != end; ++at, ++length) {
            node = child(node, std::uint8_t(*at));
            if (node == kNone)
                return 0;
            if (isEnd(node))
                return length;
        }
        return 0;
    }

private:
    struct Record
    {
        Node firstChild = kNone;
        std::uint16_t childCount = 0; ///< 0 to 256
        bool isEnd = false;
    };
    /// The strings, of the sorted ones, that share the bytes on the way to a node.
    struct Range
    {
        std::size_t first;
        std::size_t last; ///< one behind
    };

    Node addNode(std::uint8_t label);
    void addChildren(Node node, Range range, std::size_t depth, const std::vector<std::string_view> &strings,
                     std::vector<Range> &ranges);

    std::vector<Record> m_nodes;
    std::vector<std::uint8_t> m_labels; ///< apart, so that those of siblings stand side by side
    std::array<Node, 256> m_fromRoot;
};

// Here, because it is asked for every byte of every text.
inline StringTrie::Node StringTrie::child(Node node, std::uint8_t byte) const
{
    if (node == kRoot)
        return m_fromRoot[byte];
    const Record &record = m_nodes[node];
    if (record.childCount == 0)
        return kNone;
    const std::uint8_t *const labels = &m_labels[record.firstChild];
    if (record.childCount == 1)
        return *labels == byte ? record.firstChild : kNone;
    const void *const found = std::memchr(labels, byte, record.childCount);
    return found ? record.firstChild + Node(static_cast<const std::uint8_t *>(found) - labels) : kNone;
}
