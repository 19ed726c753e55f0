#include <filesystem>
#include <fstream>
#include <iostream>

#include "FuzzCamera.h"

/// Tries every file of the folder named as argument, without a fuzzer.
int main(int argc, char** argv) {
    int status = 1;
    for (const auto& entry : std::filesystem::directory_iterator(argc > 1 ? argv[1] : ".")) {
        std::cerr << entry.path() << std::endl;
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string input(std::istreambuf_iterator<char>(file), {});
        LLVMFuzzerTestOneInput(reinterpret_cast<const unsigned char*>(input.data()), input.size());
        status = 0;
    }
    return status;
}
