#pragma once

#include "Platform/Linux/DescriptorFork.h"

#include <sys/stat.h>

/// A fork that was read from a companion, and what the companion was then.
class CompanionFork final : public ReadableFork
{
public:
    CompanionFork(DescriptorFork fork, const struct stat &companion)
        : m_fork(std::move(fork))
        , m_companion(companion)
    {
    }

    const struct stat &companion() const { return m_companion; }

    ByteCount size() const override { return m_fork.size(); }
    Result<std::size_t> readAt(ByteCount offset, std::span<std::uint8_t> buffer) const override
    {
        return m_fork.readAt(offset, buffer);
    }

    bool isBeside() const override { return true; }

private:
    DescriptorFork m_fork;
    struct stat m_companion;
};
