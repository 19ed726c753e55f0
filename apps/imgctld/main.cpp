#include "Program.h"

int main(int argc, char** argv) {
    return imgctld::runProgram(argc, argv);
}
