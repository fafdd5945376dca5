#include "Tools/tamselctl/Verbs.h"

#include "Classes/Shared/KZXattrMetadataStore.h"
#include "Classes/Shared/copyExtendedAttributes.h"
#include "Platform/FileSystem.h"
#include "Tools/tamselctl/Invocation.h"

#include <cstdio>

static bool doesTraverseLink(const Invocation &invocation)
{
    return !invocation.options.contains("--no-follow");
}

ExitCode listAttributes(Invocation &invocation)
{
    const Path path = invocation.operands.front();
    const Links links = doesTraverseLink(invocation) ? Links::Follow : Links::NotFollow;
    // That they cannot be listed is said, and not as if there were none.
    if (const auto names = FileSystem::current().attributeNames(path, links); !names)
        return invocation.fail(names.failure());
    for (const std::string &name : KZXattrMetadataStore::allKeysAtPath(path, doesTraverseLink(invocation)))
        invocation.print(Record().add("name", name), name + "\n");
    return ExitCode::Done;
}

ExitCode getAttribute(Invocation &invocation)
{
    const Path path = invocation.operands[0];
    const std::string &name = invocation.operands[1];
    const auto value = KZXattrMetadataStore::dataForKey(name, path, doesTraverseLink(invocation));
    if (!value)
        return invocation.fail(path.native() + " has no attribute " + name + " that can be read");
    if (invocation.isJson)
        invocation.print(Record().add("name", name).add("value", stringOf(*value)));
    else
        std::fwrite(value->data(), 1, value->size(), stdout);
    return ExitCode::Done;
}

ExitCode setAttribute(Invocation &invocation)
{
    const Path path = invocation.operands[0];
    const std::string &name = invocation.operands[1];
    Error error;
    const bool isSet = KZXattrMetadataStore::setData(bytesOf(invocation.operands[2]), name, path,
                                                     doesTraverseLink(invocation), &error);
    if (!isSet)
        return invocation.fail(error.domain + " " + std::to_string(error.code) + ": " + error.message);
    return ExitCode::Done;
}

ExitCode copyAttributes(Invocation &invocation)
{
    const Path from = invocation.operands[0], to = invocation.operands[1];
    const FileSystem &files = FileSystem::current();
    for (const Path &path : {from, to}) {
        if (const Result<FileStatus> status = files.status(path); !status)
            return invocation.fail(status.failure());
    }
    if (const auto names = files.attributeNames(from, Links::NotFollow); !names)
        return invocation.fail(names.failure());
    const auto skipped = invocation.allArguments.find("--skip");
    if (!copyExtendedAttributesFrom(
            from, to, skipped == invocation.allArguments.end() ? std::vector<std::string>() : skipped->second))
        return invocation.fail("not every attribute could be written to " + to.native());
    return ExitCode::Done;
}
