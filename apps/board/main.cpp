// Both programs in one file, for boards: they are mostly the same code, and flash is small.
#include <string>

#include "apps/imgctl/Program.h"
#include "apps/imgctld/Program.h"

int main(int argc, char** argv) {
    const std::string path = argc > 0 ? argv[0] : "";
    const std::string name = path.substr(path.rfind('/') + 1);
    return name == "imgctld" ? imgctld::runProgram(argc, argv) : imgctl::runProgram(argc, argv);
}
