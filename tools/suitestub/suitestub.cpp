// Stand-in for the suite's menu program (norpot) and refill-list program
// (norbilst) in a demo shop. It logs the arguments it was started with to
// suite.log in the current directory, offers to start norvanke, and does
// what the real suite does before it starts a program: it writes the name
// of that program into the user's record.
//
//   norpot|norbilst PROGRAM USER NUMBER CALLER
#include "demoshop.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

int main(int argc, char **argv) {
    std::string self = argc > 1 ? argv[1] : "norpot";
    FILE *log = std::fopen("suite.log", "a");
    if (log) {
        for (int i = 1; i < argc; ++i) std::fprintf(log, "%s%s", i > 1 ? " " : "", argv[i]);
        std::fprintf(log, "\n");
        std::fclose(log);
    }
    if (argc != 5) {
        std::fprintf(stderr, "%s: gebruik: %s PROGRAMMA GEBRUIKER NUMMER AANROEPER\n", self.c_str(), self.c_str());
        return 2;
    }
    const char *user = argv[2], *nr = argv[3];
    bool refill = self == "norbilst";
    for (;;) {
        std::printf("\n  %s\n\n", refill ? "BIJVULLIJST (demo)" : "SUITE MENU (demo)");
        std::printf("  Gebruiker %s (%s), terug van %s\n\n", user, nr, argv[4]);
        std::printf("  1  Verkoopregistratie\n  0  Stoppen\n\n  Uw keuze: ");
        std::fflush(stdout);
        char line[64];
        if (!std::fgets(line, sizeof line, stdin) || line[0] == '0') return 0;
        if (line[0] != '1') continue;
        if (!demo::set_program(".", std::atol(nr), "norvanke")) {
            std::printf("  Gebruiker %s niet gevonden\n", nr);
            continue;
        }
        std::string dir;
        if (const char *b = std::getenv("BIN")) dir = b;
        if (!dir.empty() && dir.back() != '/') dir += '/';
        std::string path = dir + "norvanke";
        execl(path.c_str(), path.c_str(), "norvanke", user, nr, self.c_str(), (char *)nullptr);
        execlp("norvanke", "norvanke", "norvanke", user, nr, self.c_str(), (char *)nullptr);
        std::printf("  norvanke niet gevonden\n");
    }
}
