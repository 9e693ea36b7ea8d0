// Runs a target once for each file of the directories that are named: the seeds as a test, where
// libFuzzer is not at hand.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "target.h"

int main(int argc, char** argv) {
    size_t inputs = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream file{entry.path(), std::ios::binary};
            const std::vector<char> bytes{std::istreambuf_iterator<char>{file}, {}};
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
            ++inputs;
        }
    }
    std::printf("%zu inputs\n", inputs);
    return inputs == 0 ? 1 : 0;
}
