// Takes each file that is named once, where nothing makes up more.
#include <fstream>
#include <iterator>
#include <string>

#include "fuzz/Fuzz.h"

int main(int count, char** arguments) {
    for (int i = 1; i < count; ++i) {
        std::ifstream file(arguments[i], std::ios::binary);
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        if (!file.is_open()) return EXIT_FAILURE;
        (void)LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    }
    return count > 1 ? EXIT_SUCCESS : EXIT_FAILURE;
}
