#include "Benchmarks/Timing.h"
#include "Classes/PrefPane/PXPathUncompressor.h"
#include "Platform/Services.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

// What it takes to walk over files of which none is to be expanded, beside find with the same question.
// "WalkBenchmark [FILES [ROUNDS]]" below TMPDIR.

static void makeFiles(const std::filesystem::path &folder, int files)
{
    std::filesystem::path below;
    for (int number = 0; number < files; ++number) {
        if (number % 500 == 0) {
            below = folder / std::to_string(number / 50000) / std::to_string(number / 500);
            std::filesystem::create_directories(below);
        }
        std::ofstream(below / ("document-" + std::to_string(number) + ".txt")) << "content";
    }
}

int main(int argc, char **argv)
{
    const auto argument = [&](int at, int otherwise) { return argc > at ? std::atoi(argv[at]) : otherwise; };
    const int files = argument(1, 500000), rounds = argument(2, 7);
    std::string folder = std::filesystem::temp_directory_path() / "walk-benchmark.XXXXXX";
    if (!::mkdtemp(folder.data())) {
        std::perror("mkdtemp");
        return 1;
    }
    installEngineServices();
    makeFiles(folder, files);
    bool isFindThere = true;
    Timing timing;
    timing.add("walk of an expansion", [&] { PXPathUncompressor::runUncompressorWithPath(folder, nullptr); });
    timing.add("find -type f -size +4095c", [&] {
        isFindThere = std::system(("find " + folder + " -type f -size +4095c").c_str()) == 0 && isFindThere;
    });
    timing.warmUp();
    timing.measure(rounds);
    timing.print(std::to_string(files) + " small files" + (isFindThere ? "" : " (find failed)"));
    std::filesystem::remove_all(folder);
    return 0;
}
