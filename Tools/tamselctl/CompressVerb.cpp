#include "Tools/tamselctl/Verbs.h"

#include "Classes/Shared/CompressedFileWriter.h"
#include "Tools/tamselctl/Invocation.h"

ExitCode compressFiles(Invocation &invocation)
{
    const Path folder = invocation.options.at("--to");
    const auto status = FileSystem::current().status(folder, Links::Follow);
    if (!status)
        return invocation.fail(status.failure());
    if (status->type != FileType::Directory)
        return invocation.fail("no folder: " + folder.native());
    const CompressedFileWriter writer(folder);
    ExitCode exitCode = ExitCode::Done;
    for (const std::string &file : invocation.operands) {
        const auto copy = writer.write(file);
        if (!copy) {
            exitCode = invocation.fail(copy.failure());
            continue;
        }
        invocation.print(Record()
                             .add("path", copy->path.native())
                             .add("logicalSize", copy->logicalSize)
                             .add("occupiedSize", copy->occupiedSize)
                             .add("savings", copy->logicalSize - copy->occupiedSize),
                         copy->path.native() + "\n");
    }
    return exitCode;
}
