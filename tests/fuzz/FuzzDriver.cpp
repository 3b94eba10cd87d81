// Stands in for libFuzzer where the compiler has none: runs the seeds, then mutations of them, the same ones
// each time.   fuzz_x SECONDS SEED-FOLDER   or   fuzz_x FILE
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace {

using Bytes = std::vector<std::uint8_t>;
constexpr std::size_t kLongest = 8192;
constexpr const char *kLastInput = "fuzz-last-input";

Bytes contentOf(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class Mutator {
public:
    explicit Mutator(std::vector<Bytes> seeds) : m_seeds(std::move(seeds)) {}

    Bytes next() {
        Bytes bytes = seed();
        for (std::size_t n = 1 + below(6); n > 0; --n)
            mutate(bytes);
        bytes.resize(std::min(bytes.size(), kLongest));
        return bytes;
    }

private:
    std::size_t below(std::size_t end) { return m_random() % end; }
    const Bytes &seed() { return m_seeds[below(m_seeds.size())]; }
    Bytes::iterator place(Bytes &bytes) {
        return bytes.begin() + static_cast<std::ptrdiff_t>(below(bytes.size() + 1));
    }

    void mutate(Bytes &bytes) {
        static constexpr std::uint8_t kTelling[] = {0, '\n', '\r', ' ', '=', '"', '-', '9', 0x7F, 0x80, 0xFF};
        const auto at = place(bytes);
        switch (below(6)) {
        case 0: // Change.
            if (at != bytes.end())
                *at = static_cast<std::uint8_t>(m_random());
            break;
        case 1: // Flip.
            if (at != bytes.end())
                *at = static_cast<std::uint8_t>(*at ^ (1U << below(8)));
            break;
        case 2: // Insert.
            bytes.insert(at, 1 + below(below(50) == 0 ? 5000 : 4), kTelling[below(std::size(kTelling))]);
            break;
        case 3: // Cut.
            bytes.erase(at, bytes.begin() +
                                std::min<std::ptrdiff_t>(at - bytes.begin() + 1 + std::ptrdiff_t(below(8)),
                                                         std::ssize(bytes)));
            break;
        case 4: { // Splice.
            const Bytes &other = seed();
            bytes.insert(at, other.begin(), other.end());
            break;
        }
        default: // Repeat.
            bytes.insert(bytes.end(), bytes.begin(), bytes.begin() + std::ptrdiff_t(below(bytes.size() + 1)));
            break;
        }
    }

    std::vector<Bytes> m_seeds;
    std::minstd_rand m_random{1};
};

} // namespace

int main(int argc, char **argv) {
    if (argc == 2) {
        const Bytes bytes = contentOf(argv[1]);
        return LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    if (argc != 3)
        return 2;
    std::vector<Bytes> seeds;
    for (const auto &file : std::filesystem::directory_iterator(argv[2]))
        seeds.push_back(contentOf(file.path()));
    std::sort(seeds.begin(), seeds.end()); // Folders list their files in any order.
    if (seeds.empty())
        return 2;
    for (const Bytes &bytes : seeds)
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    Mutator mutator(std::move(seeds));
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(std::atoi(argv[1]));
    long runs = 0;
    for (; std::chrono::steady_clock::now() < end; ++runs) {
        const Bytes bytes = mutator.next();
        // Written before, since what fails ends the process.
        std::ofstream(kLastInput, std::ios::binary)
            .write(reinterpret_cast<const char *>(bytes.data()), std::ssize(bytes));
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    std::filesystem::remove(kLastInput);
    std::printf("%ld inputs\n", runs);
    return 0;
}
