#include "Tests/Support/CompressedSample.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <string>
#include <sys/xattr.h>
#include <zlib.h>

static void appendLittle(Bytes &bytes, std::uint64_t number, int size)
{
    for (int index = 0; index < size; ++index)
        bytes.push_back(std::uint8_t(number >> (8 * index)));
}

static void appendBig(Bytes &bytes, std::uint32_t number)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(std::uint8_t(number >> shift));
}

Bytes CompressedSample::text(std::size_t size)
{
    std::string text;
    for (std::uint32_t line = 0; text.size() < size; ++line)
        text += "line " + std::to_string(line * 7919U) + " of a sample that can be made smaller\n";
    return Bytes(text.begin(), text.begin() + std::ptrdiff_t(size));
}

Bytes CompressedSample::decmpfs(std::uint64_t size, std::uint32_t type)
{
    Bytes value = {'f', 'p', 'm', 'c'};
    appendLittle(value, type, 4);
    appendLittle(value, size, 8);
    return value;
}

Bytes CompressedSample::fork(ByteView content)
{
    constexpr std::size_t kBlock = 65536;
    Bytes table;
    Bytes blocks;
    const std::size_t count = (content.size() + kBlock - 1) / kBlock;
    for (std::size_t index = 0; index < count; ++index) {
        const ByteView block = content.subspan(index * kBlock, std::min(kBlock, content.size() - index * kBlock));
        Bytes packed(::compressBound(uLong(block.size())));
        uLongf length = uLongf(packed.size());
        if (::compress2(packed.data(), &length, block.data(), uLong(block.size()), 9) != Z_OK)
            throw std::runtime_error("compress2");
        appendLittle(table, 4 + count * 8 + blocks.size(), 4);
        appendLittle(table, length, 4);
        blocks.insert(blocks.end(), packed.begin(), packed.begin() + std::ptrdiff_t(length));
    }
    const std::uint32_t dataSize = std::uint32_t(4 + table.size() + blocks.size());
    Bytes fork;
    for (const std::uint32_t number : {256u, 256 + 4 + dataSize, 4 + dataSize, 50u})
        appendBig(fork, number);
    fork.resize(256);
    appendBig(fork, dataSize);
    appendLittle(fork, count, 4);
    fork.insert(fork.end(), table.begin(), table.end());
    fork.insert(fork.end(), blocks.begin(), blocks.end());
    fork.resize(fork.size() + 24);
    const Bytes map = {0,  0x1C, 0, 0x32, 0,    0, 'c', 'm', 'p', 'f', 0, 0, 0,
                       10, 0,    1, 0xFF, 0xFF, 0, 0,   0,   0,   0,   0, 0, 0};
    fork.insert(fork.end(), map.begin(), map.end());
    return fork;
}

Bytes CompressedSample::companion(ByteView fork)
{
    Bytes file;
    appendBig(file, 0x00051607);
    appendBig(file, 0x00020000);
    file.resize(24);
    file.insert(file.end(), {0, 1});
    appendBig(file, 2);
    appendBig(file, 38);
    appendBig(file, std::uint32_t(fork.size()));
    file.insert(file.end(), fork.begin(), fork.end());
    return file;
}

static void setAttribute(const Path &path, const char *name, ByteView value)
{
    if (::setxattr(path.c_str(), name, value.data(), value.size(), 0) != 0)
        throw std::runtime_error("setxattr");
}

void CompressedSample::make(const Path &path, ByteView content)
{
    make(std::vector<Path>{path}, content);
}

void CompressedSample::make(const std::vector<Path> &paths, ByteView content)
{
    const Bytes companionBytes = companion(fork(content));
    for (const Path &path : paths) {
        std::ofstream(path.parent_path() / ("._" + path.filename().native()), std::ios::binary)
            .write(reinterpret_cast<const char *>(companionBytes.data()), std::streamsize(companionBytes.size()));
        std::ofstream(path, std::ios::binary).close();
        setAttribute(path, "user.com.apple.decmpfs", decmpfs(content.size()));
        setAttribute(path, "user.tamsel.st_flags", bytesOf("32"));
    }
}
