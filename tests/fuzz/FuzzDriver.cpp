// Stands in for libFuzzer where the compiler has none: runs what is in a folder once, without mutations.
//   fuzz_x FOLDER   or   fuzz_x FILE
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

int main(int argc, char **argv) {
    if (argc != 2)
        return 2;
    std::vector<std::filesystem::path> paths{argv[1]};
    if (std::filesystem::is_directory(paths.front()))
        paths = {std::filesystem::directory_iterator(paths.front()), {}};
    for (const auto &path : paths) {
        std::ifstream file(path, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
        std::printf("%s\n", path.c_str());
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
    }
    return paths.empty() ? 2 : 0;
}
