#pragma once

#include "Platform/ApplicationName.h"

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// Names without a bus: every instance made over one `Registry` is a process of its own. Answers come from
/// `Registry::deliver`.
class FakeApplicationName final : public ApplicationName
{
public:
    /// What stands for the bus. Must outlive the instances.
    class Registry final
    {
    public:
        /// Answers everything that was asked, in order, until nothing is left.
        void deliver();
        void setConnected(bool isConnected);

    private:
        friend class FakeApplicationName;

        void queue(const std::string &identifier, FakeApplicationName *process);
        void leave(const std::string &identifier, FakeApplicationName *process);
        void tellAll();
        FakeApplicationName *ownerOf(const std::string &identifier) const;

        std::vector<FakeApplicationName *> m_processes;
        std::map<std::string, std::deque<FakeApplicationName *>> m_queues; ///< the first of each is the owner
        std::deque<std::function<void()>> m_pending;
        bool m_isConnected = true;
    };

    explicit FakeApplicationName(Registry &registry);
    ~FakeApplicationName() override;

    void claim(const std::string &identifier, std::function<void(Claim)> answered) override;
    void release(const std::string &identifier) override;
    void activateOwner(const std::string &identifier, const std::vector<std::string> &arguments,
                       std::function<void(bool)> done) override;
    void setActivationHandler(std::function<void(const std::vector<std::string> &)> activated) override;

private:
    struct Entry
    {
        std::function<void(Claim)> answered;
        std::optional<Claim> told;
    };

    void tell();

    Registry &m_registry;
    std::map<std::string, Entry> m_claims;
    std::function<void(const std::vector<std::string> &)> m_activated;
};
