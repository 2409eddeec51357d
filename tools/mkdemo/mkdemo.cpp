// mkdemo DIR [options]: builds a demo shop (see demoshop.h) and puts the
// suite's stand-in programs and norvanke itself in DIR/bin.
#include "demoshop.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {
int usage() {
    std::fprintf(stderr,
                 "gebruik: mkdemo DIR [--size small|large] [--branches N] [--vlag1 N] [--vlag2 N]\n"
                 "                    [--vlag3 N] [--release TEKST] [--user NAAM:RECHT[:PROGRAMMA]]...\n");
    return 2;
}

std::string self_dir() {
    char buf[PATH_MAX];
    ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
    if (n <= 0) return ".";
    buf[n] = 0;
    std::string p = buf;
    return p.substr(0, p.rfind('/'));
}

void link_program(const std::string &from, const std::string &to) {
    unlink(to.c_str());
    if (symlink(from.c_str(), to.c_str()) != 0) std::perror(to.c_str());
}

bool number(const char *s, int lo, int hi, int *out) {
    char *end;
    long v = std::strtol(s, &end, 10);
    if (*s == 0 || *end || v < lo || v > hi) return false;
    *out = (int)v;
    return true;
}
} // namespace

int main(int argc, char **argv) {
    if (argc < 2 || argv[1][0] == '-') return usage();
    std::string dir = argv[1];
    demo::Options opt;
    bool users_given = false;
    for (int i = 2; i < argc; ++i) {
        std::string a = argv[i];
        if (i + 1 >= argc) return usage();
        const char *v = argv[++i];
        int n;
        if (a == "--size" && (std::strcmp(v, "small") == 0 || std::strcmp(v, "large") == 0)) {
            opt.size = v;
        } else if (a == "--branches" && number(v, 1, 99, &n)) {
            opt.branches = n;
        } else if ((a == "--vlag1" || a == "--vlag2" || a == "--vlag3") && number(v, 0, 255, &n)) {
            (a == "--vlag1" ? opt.vlag1 : a == "--vlag2" ? opt.vlag2 : opt.vlag3) = (uint8_t)n;
        } else if (a == "--release") {
            opt.release = v;
        } else if (a == "--user") {
            if (!users_given) opt.users.clear();
            users_given = true;
            std::string s = v;
            size_t c1 = s.find(':');
            if (c1 == std::string::npos || c1 + 1 >= s.size()) return usage();
            demo::User u;
            u.name = s.substr(0, c1);
            u.rechten = s[c1 + 1];
            size_t c2 = s.find(':', c1 + 1);
            if (c2 != std::string::npos) u.programma = s.substr(c2 + 1);
            opt.users.push_back(u);
        } else {
            std::fprintf(stderr, "mkdemo: onbekende of onjuiste optie %s %s\n", a.c_str(), v);
            return usage();
        }
    }
    std::string err = demo::build(dir, opt);
    if (!err.empty()) {
        std::fprintf(stderr, "mkdemo: %s\n", err.c_str());
        return 1;
    }
    // The spooler daemon of the demo's queue; scripts/demo starts it.
    err = demo::cups_config(dir + "/cups");
    if (!err.empty()) std::fprintf(stderr, "mkdemo: %s\n", err.c_str());
    std::string bin = dir + "/bin", here = self_dir();
    mkdir(bin.c_str(), 0775);
    link_program(here + "/suitestub", bin + "/norpot");
    link_program(here + "/suitestub", bin + "/norbilst");
    link_program(here + "/norvanke", bin + "/norvanke");
    std::printf("mkdemo: winkel gemaakt in %s (%d filialen, %zu gebruikers)\n", dir.c_str(), opt.branches,
                opt.users.size());
    return 0;
}
