// Stands for the host: "wait" runs until its standard input ends; otherwise notes how it was started, beside itself.

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <unistd.h>

int main(int argc, char **argv)
{
    if (argc == 2 && std::strcmp(argv[1], "wait") == 0) {
        std::puts("waiting");
        std::fflush(stdout);
        while (std::getchar() != EOF) {
        }
        return 0;
    }
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe");
    const std::filesystem::path note = self.native() + ".started";
    {
        std::ofstream file(note.native() + ".new");
        file << ::getsid(0) << ' ' << std::filesystem::current_path().native();
        for (int index = 1; index < argc; ++index)
            file << '\n' << argv[index];
    }
    std::filesystem::rename(note.native() + ".new", note);
}
