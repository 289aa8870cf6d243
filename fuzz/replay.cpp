#include "fuzz/fuzz.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

// Runs one entry point through every file in the folders that are named. Each input lies in a block of its
// own size, so that the address sanitizer sees a reader go beyond it.

int main(int argc, char **argv)
{
    std::size_t inputs = 0;
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::is_directory(argv[i]))
            continue; // no fault has been found there yet
        for (const auto &entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream stream(entry.path(), std::ios::binary);
            const std::vector<char> bytes(std::istreambuf_iterator<char>(stream), {});
            std::printf("%s\n", entry.path().c_str());
            std::fflush(stdout); // the last line names the culprit
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
            ++inputs;
        }
    }
    return inputs > 0 ? 0 : 1;
}
