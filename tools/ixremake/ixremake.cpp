// ixremake: the conversion tool that the store's messages name. A file of
// the previous format (version 350) can't be opened or checked; ixremake
// rebuilds the index of each file it is given from the data file, which
// takes it to the current format on the way. It serves as well for any file
// whose check asks for a rebuild.
//
//   ixremake NAME...     names without extension; exit status 0 when every
//                        file was rebuilt and checks sound afterwards
#include "store/ixcheck.h"

#include <cstdio>

int main(int argc, char **argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: ixremake NAME...\n");
        return 2;
    }
    int status = 0;
    for (int i = 1; i < argc; ++i) {
        if (!IXBLDIX(argv[i])) {
            std::fprintf(stderr,
                         "ixremake: %s: not rebuilt: no usable index header, or a data file "
                         "that is not whole records\n",
                         argv[i]);
            status = 1;
            continue;
        }
        int free_slots = IXCHECK(argv[i]);
        if (free_slots < 0) {
            std::fprintf(stderr, "ixremake: %s: still unsound after the rebuild\n", argv[i]);
            status = 1;
            continue;
        }
        std::printf("%s: rebuilt, %d free slots\n", argv[i], free_slots);
    }
    return status;
}
