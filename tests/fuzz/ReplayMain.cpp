// Stands in for libFuzzer in ordinary builds: hands each file of the named folders to the fuzz
// target once. No file at all is a failure, since then nothing would have been tried.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int count, char** arguments) {
    int replayed = 0;
    for (int i = 1; i < count; ++i) {
        std::error_code error;
        for (const auto& entry :
             std::filesystem::recursive_directory_iterator(arguments[i], error)) {
            if (!entry.is_regular_file()) {
                continue;
            }
            std::ifstream file(entry.path(), std::ios::binary);
            const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
            // Named before it is tried: a crash then shows which one it was.
            std::fprintf(stderr, "%s\n", entry.path().c_str());
            const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
            LLVMFuzzerTestOneInput(input.data(), input.size());
            ++replayed;
        }
    }
    std::printf("%d inputs replayed\n", replayed);
    return replayed == 0 ? 1 : 0;
}
