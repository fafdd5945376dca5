#include "Platform/Fake/FakeApplicationName.h"

#include <algorithm>

FakeApplicationName::FakeApplicationName(Registry &registry)
    : m_registry(registry)
{
    registry.m_processes.push_back(this);
}

FakeApplicationName::~FakeApplicationName()
{
    std::erase(m_registry.m_processes, this);
    for (auto &[identifier, queue] : m_registry.m_queues)
        std::erase(queue, this);
    m_registry.tellAll();
}

void FakeApplicationName::claim(const std::string &identifier, std::function<void(Claim)> answered)
{
    m_claims[identifier] = {std::move(answered), std::nullopt};
    if (m_registry.m_isConnected)
        m_registry.queue(identifier, this);
    m_registry.tellAll();
}

void FakeApplicationName::release(const std::string &identifier)
{
    m_claims.erase(identifier);
    m_registry.leave(identifier, this);
    m_registry.tellAll();
}

void FakeApplicationName::activateOwner(const std::string &identifier, const std::vector<std::string> &arguments,
                                        std::function<void(bool)> done)
{
    m_registry.m_pending.push_back([this, &registry = m_registry, identifier, arguments, done = std::move(done)] {
        FakeApplicationName *const owner = registry.m_isConnected ? registry.ownerOf(identifier) : nullptr;
        const bool isAnswered = owner && owner != this && owner->m_activated;
        if (isAnswered)
            owner->m_activated(arguments);
        done(isAnswered);
    });
}

void FakeApplicationName::setActivationHandler(std::function<void(const std::vector<std::string> &)> activated)
{
    m_activated = std::move(activated);
}

void FakeApplicationName::tell()
{
    for (auto &[identifier, entry] : m_claims) {
        const Claim claim = !m_registry.m_isConnected                ? Claim::NoBus
                            : m_registry.ownerOf(identifier) == this ? Claim::Claimed
                                                                     : Claim::OwnedByOther;
        if (entry.told == claim)
            continue;
        entry.told = claim;
        const auto answered = entry.answered; // it may release the claim, and with it the others
        answered(claim);
        m_registry.tellAll();
        return;
    }
}

void FakeApplicationName::Registry::deliver()
{
    while (!m_pending.empty()) {
        const auto next = std::move(m_pending.front());
        m_pending.pop_front();
        next();
    }
}

void FakeApplicationName::Registry::setConnected(bool isConnected)
{
    m_isConnected = isConnected;
    m_queues.clear();
    for (FakeApplicationName *const process : m_processes)
        for (const auto &[identifier, entry] : process->m_claims)
            if (isConnected)
                queue(identifier, process);
    tellAll();
}

void FakeApplicationName::Registry::queue(const std::string &identifier, FakeApplicationName *process)
{
    auto &waiting = m_queues[identifier];
    if (std::find(waiting.begin(), waiting.end(), process) == waiting.end())
        waiting.push_back(process);
}

void FakeApplicationName::Registry::leave(const std::string &identifier, FakeApplicationName *process)
{
    std::erase(m_queues[identifier], process);
}

void FakeApplicationName::Registry::tellAll()
{
    for (FakeApplicationName *const process : m_processes)
        m_pending.push_back([this, process] {
            if (std::find(m_processes.begin(), m_processes.end(), process) != m_processes.end())
                process->tell();
        });
}

FakeApplicationName *FakeApplicationName::Registry::ownerOf(const std::string &identifier) const
{
    const auto found = m_queues.find(identifier);
    return found == m_queues.end() || found->second.empty() ? nullptr : found->second.front();
}
