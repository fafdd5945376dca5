// Gives a fuzz target every file of the folders that are named. What it minds, it minds by ending the process.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

int main(int count, char **arguments)
{
    for (int index = 1; index < count; ++index) {
        int inputs = 0;
        for (const auto &entry : std::filesystem::directory_iterator(arguments[index])) {
            std::cout << entry.path() << std::endl; // before it is tried: the last one is to blame
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string content{std::istreambuf_iterator<char>(file), {}};
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(content.data()), content.size());
            ++inputs;
        }
        if (inputs == 0) {
            std::cerr << arguments[index] << " holds no input\n";
            return 1;
        }
    }
    return count > 1 ? 0 : 1;
}
