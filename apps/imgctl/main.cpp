#include "Program.h"

int main(int argc, char** argv) {
    return imgctl::runProgram(argc, argv);
}
