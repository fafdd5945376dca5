#pragma once

#include "Classes/PrefPane/ExpansionRun.h"
#include "Classes/PrefPane/PXPathUncompressor.h"
#include "Classes/Shared/Log.h"
#include "Platform/Fake/FakeProcesses.h"
#include "Tests/Support/CompressedSample.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

#include <unistd.h>

/// Passes on what a run is told, as the drop zone does, and may do something of its own in between.
class ExpansionDelegate final : public PXPathUncompressorDelegate
{
public:
    void uncompressorWillExpandFile(PXPathUncompressor &, const Path &path) override
    {
        run->willExpandFile(path);
        if (onWill)
            onWill(path);
    }
    void uncompressorDidExpandFile(PXPathUncompressor &, const Path &path) override { run->didExpandFile(path); }

    ExpansionRun *run = nullptr;
    std::function<void(const Path &)> onWill;
};

/// A run over real files in a folder, by a process that belongs to their groups.
class ExpansionRunFixture : public ::testing::Test
{
protected:
    ExpansionRunFixture()
    {
        setLogSink([](const std::string &) {});
        processes.groups = {::getegid()};
    }
    ~ExpansionRunFixture() override
    {
        setLogSink(nullptr);
        std::filesystem::remove_all(folder);
    }

    void make(const std::string &name, std::size_t size = 5000)
    {
        std::filesystem::create_directories((folder / name).parent_path());
        CompressedSample::make(folder / name, CompressedSample::text(size));
    }
    bool isExpanded(const std::string &name) const { return std::filesystem::file_size(folder / name) > 0; }

    ExpansionRun &made(std::vector<Path> paths)
    {
        run = std::make_unique<ExpansionRun>(std::move(paths), [](const ExpansionEntry &entry) {
            return std::to_string(entry.reason.index()) + ' ' + entry.path.filename().native();
        });
        delegate.run = run.get();
        return *run;
    }
    ExpansionRun &performed()
    {
        made({folder}).perform(&delegate);
        return *run;
    }
    std::string journal() const
    {
        std::string text;
        const auto take = [&](std::string_view piece) {
            text += piece;
            return true;
        };
        EXPECT_TRUE(run->journal().read(take));
        return text;
    }

    Path folder = PrivateHome::current().makeFolder("dropped");
    FakeProcesses processes;
    Override<Processes> processesInPlace{processes};
    ExpansionDelegate delegate;
    std::unique_ptr<ExpansionRun> run;
};
