// The rules of any file answer for any path as asking each of them does, and any list of paths and extensions can be
// asked. The input's first line is a path, the rest the file.

#include "Classes/PrefPane/ExclusionListFile.h"
#include "Classes/PrefPane/ExclusionRuleSet.h"
#include "Classes/PrefPane/Exclusions.h"
#include "Platform/Fake/FakeFileSystem.h"
#include "Tests/Support/PlainMatching.h"

#include <cstdlib>

static constexpr const char *kFile = "/lists/file.plist";

static void require(bool holds)
{
    if (!holds)
        std::abort();
}

static void compare(const ExclusionRuleSet &rules, const std::string &path)
{
    const bool isExcluded = rules.mustExcludePath(path);
    require(isExcluded == matchesPlainly(rules, path));
    require(isExcluded == rules.matchForPath(path).has_value());
    require(isExcluded || !rules.mustExcludeAllBelow(path) || matchesPlainly(rules, path + "/x"));
}

/// Each is asked for itself and with something around it.
static void compareAll(const ExclusionRuleSet &rules, const ExclusionRuleSet::Strings &strings)
{
    static constexpr int kMost = 20;
    int count = 0;
    for (const std::string &rule : strings) {
        if (++count > kMost)
            return;
        for (const std::string &path : {rule, "/" + rule, rule + "/", "/a" + rule + "b"})
            compare(rules, path);
    }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string input(reinterpret_cast<const char *>(data), size);
    const std::string path = input.substr(0, input.find('\n'));
    FakeFileSystem files;
    const Override<FileSystem> override(files);
    files.addFile(kFile, bytesOf(path.size() < size ? input.substr(path.size() + 1) : std::string()));

    ExclusionRuleSet rules;
    const auto added = rules.addRulesOf(kFile);
    const std::size_t count = rules.suffixRules().size() + rules.prefixRules().size() + rules.componentRules().size() +
                              rules.exactRules().size();
    require(count <= added.valueOr(0));
    compare(rules, path);
    for (const auto *strings :
         {&rules.suffixRules(), &rules.prefixRules(), &rules.componentRules(), &rules.exactRules()})
        compareAll(rules, *strings);

    ExclusionListFile file(kFile);
    const auto strings = file.read();
    if (!strings)
        return 0;
    const Exclusions exclusions(&rules, *strings, *strings);
    require(exclusions.leavesOut(path) ==
            (rules.mustExcludePath(path) || exclusions.leavesOutByPath(path) || exclusions.leavesOutByExtension(path)));
    // What is written is what was read.
    if (file.write(*strings))
        require(ExclusionListFile(kFile).read().valueOr({}) == *strings);
    return 0;
}
