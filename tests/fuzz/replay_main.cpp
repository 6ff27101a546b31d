// Feeds every file of the given folders (or the given files) to the fuzz target once, so the
// corpora run as ordinary tests under the normal compiler and the sanitizers. A crash or a
// sanitizer report fails the test; the input being read is printed first.
#include "fuzz_target.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

int main(int argc, char** argv)
{
    namespace fs = std::filesystem;
    std::vector<fs::path> inputs;
    for (int i = 1; i < argc; ++i) {
        if (fs::is_regular_file(argv[i]))
            inputs.push_back(argv[i]);
        else if (fs::is_directory(argv[i]))
            for (const auto& entry : fs::recursive_directory_iterator(argv[i]))
                if (entry.is_regular_file())
                    inputs.push_back(entry.path());
    }
    if (inputs.empty()) {
        std::fprintf(stderr, "no corpus\n");
        return 2;
    }
    std::sort(inputs.begin(), inputs.end());
    for (const fs::path& path : inputs) {
        std::printf("%s\n", path.c_str());
        std::fflush(stdout);
        std::ifstream file(path, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    }
    std::printf("%zu inputs replayed\n", inputs.size());
    return 0;
}
