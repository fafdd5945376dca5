#pragma once

#include "Platform/AliasManager.h"
#include "Platform/Fake/FailureSchedule.h"
#include "Platform/Formats/AliasIdentity.h"
#include "Platform/Formats/AliasRecord.h"

#include <map>
#include <mutex>
#include <string>

/// Aliases of files in memory. Starts with the volume "Disk" at "/" and nothing on it. Gives the number of a removed
/// file to the next one made, as ext4 does. Any thread.
class FakeAliasManager final : public AliasManager
{
public:
    FakeAliasManager();

    // Making things; none of these count as calls. Missing parents are made too.
    void addFolder(const Path &path) { add(path, true); }
    void addFile(const Path &path) { add(path, false); }
    void addVolume(const std::string &name, const Path &mountPoint);
    /// With all that lies below.
    void move(const Path &from, const Path &to);
    void remove(const Path &path);
    /// An empty mount point takes the volume away.
    void mount(const std::string &volume, const Path &mountPoint);
    void rename(const std::string &volume, const std::string &name);

    /// The call with that number, counted from 0 from now on, fails with `code`; a negative number fails none.
    void failCall(int number, ErrorCode code) { m_schedule.failCall(number, code); }
    int calls() const { return m_schedule.calls(); }

    Result<Bytes> newAlias(const Path &target, const Path &relativeTo = {}) const override;
    Result<Resolution> resolve(ByteView record, const Path &relativeTo = {}) const override;
    Result<AliasInfo> copyInfo(ByteView record) const override;

private:
    struct Node
    {
        std::uint64_t number = 0;
        std::uint32_t generation = 0;
        bool isFolder = true;
    };
    struct Volume
    {
        std::string name;
        Path mountPoint;
        std::map<Path, Node> nodes; ///< by path from the top, which is "."
    };
    struct Place
    {
        std::size_t volume = 0;
        Path path;
    };

    void add(const Path &path, bool isFolder);
    Node newNode(bool isFolder);
    std::optional<Place> placeOf(const Path &path) const;
    const Node *find(const Path &path) const;
    AliasIdentity identityOf(std::size_t volume, const Node &node) const;
    AliasRecord recordFor(const Path &path) const;
    std::optional<Path> pathOf(const AliasIdentity &identity) const;

    mutable std::mutex m_mutex;
    mutable FailureSchedule m_schedule;
    std::vector<Volume> m_volumes;
    std::vector<std::uint64_t> m_freeNumbers;
    std::uint64_t m_lastNumber = 0x100000000; // more than a node ID has room for
    std::uint32_t m_lastGeneration = 0;
};
