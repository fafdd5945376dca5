#include "Tools/tamselctl/Verbs.h"

#include "Classes/Shared/RQAlias.h"
#include "Classes/Shared/inBackground.h"
#include "Platform/FileSystem.h"
#include "Tools/tamselctl/Invocation.h"

#include <cstdio>

static constexpr ByteCount kLongestRecord = 65536; ///< the record's size field has two bytes

static Result<Bytes> readRecord(const std::string &file)
{
    return FileSystem::current().readFile(file, kLongestRecord);
}

static std::string notARecord(const std::string &file)
{
    return "no alias record: " + file;
}

ExitCode makeAlias(Invocation &invocation)
{
    if (invocation.isJson)
        return invocation.refuse("an alias record is bytes, not JSON");
    std::error_code error;
    const Path path = std::filesystem::absolute(invocation.operands.front(), error);
    Error reason;
    const auto alias = error ? std::nullopt : RQAlias::aliasWithPath(path, &reason);
    if (!alias || !alias->aliasData())
        return invocation.fail(error ? error.message() : reason.message);
    const Bytes &record = *alias->aliasData();
    std::fwrite(record.data(), 1, record.size(), stdout);
    return ExitCode::Done;
}

/// The dictionary with its keys as they are.
static Record recordOf(const PropertyList::Dictionary &dictionary)
{
    Record record;
    for (const auto &[key, value] : dictionary) {
        if (const auto *text = value.as<std::string>())
            record.add(key, *text);
        else if (const auto *truth = value.as<bool>())
            record.add(key, *truth);
        else if (const auto *number = value.as<PropertyListInteger>())
            record.add(key, number->bits);
    }
    return record;
}

ExitCode showAlias(Invocation &invocation)
{
    const std::string &file = invocation.operands.front();
    const auto bytes = readRecord(file);
    if (!bytes)
        return invocation.fail(bytes.failure());
    const auto info = RQAlias::aliasInfoForAliasData(*bytes);
    const auto *dictionary = info ? info->as<PropertyList::Dictionary>() : nullptr;
    if (!dictionary)
        return invocation.fail(notARecord(file));
    invocation.print(recordOf(*dictionary));
    return ExitCode::Done;
}

ExitCode resolveAlias(Invocation &invocation)
{
    const std::string &file = invocation.operands.front();
    const auto bytes = readRecord(file);
    if (!bytes)
        return invocation.fail(bytes.failure());
    const RQAlias alias = RQAlias::aliasWithData(*bytes);
    if (!alias.originalAliasInfo())
        return invocation.fail(notARecord(file));
    const auto path = inBackground([&alias] { return alias.fullPath(); });
    if (!path)
        return invocation.fail("the target is not there: " + alias.originalAliasInfo()->string("pathString"));
    invocation.print(Record().add("path", path->native()), path->native() + "\n");
    return ExitCode::Done;
}
