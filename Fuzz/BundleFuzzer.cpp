// Whatever the information of a bundle says, its program and its resources lie within it.

#include "Platform/Bundle.h"
#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/Linux/LinuxBundles.h"

#include <cstdlib>

static constexpr const char *kBundle = "/bundles/Some.app";

static void require(bool holds)
{
    if (!holds)
        std::abort();
}

static bool isPlainName(const std::string &name)
{
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FakeFileSystem files;
    const Override<FileSystem> override(files);
    const Path contents = Path(kBundle) / "Contents";
    files.addFile(contents / "Info.plist", ByteView(data, size));
    LinuxBundles bundles;
    const Result<Bundle> bundle = bundles.open(kBundle);
    if (!bundle)
        return 0;
    require(bundle->path() == kBundle);
    const Path executable = bundle->executable();
    require(executable.empty() ||
            (executable.parent_path() == contents / "MacOS" && isPlainName(executable.filename().native())));
    require(!bundle->name().empty() || !bundle->information().string("CFBundleName").empty());
    for (const std::string &name : {bundle->name(), bundle->identifier(), bundle->version()}) {
        const auto resource = bundle->resource(name);
        require(!resource || (resource->parent_path() == contents / "Resources" && isPlainName(resource->filename())));
    }
    bundles.remember(*bundle);
    require(bundle->identifier().empty() || bundles.withIdentifier(bundle->identifier()).has_value());
    return 0;
}
