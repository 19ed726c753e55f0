// Prints each performance goal beside its floor: imgctl_bench [--memory | --work NAME].

#include <cstdio>
#include <cstring>

#include "Table.h"

int main(int argc, char** argv) {
    if (argc == 3 && strcmp(argv[1], "--work") == 0)
        return doWork(argv[2]) ? 0 : 1;
    if (argc == 2 && strcmp(argv[1], "--memory") == 0) {
        printf("%ld\n", keptMemory());
        return 0;
    }
    heading();
    measureApplying();
    measureText();
    measureStarting();
    measureFlushing();
    return allHold() ? 0 : 1;
}
