// jrnbench: builds the large demo shop and times it, then times the journal
// cursor over the shop's journals: the check, a plain read of every record,
// a processing walk that marks every receipt (header rewritten in place),
// and a purge that drops all of them. See README.md.
//
//   build/bin/jrnbench [--dir DIR] [--size small|large]
#include "demoshop.h"
#include "sale/iojrn.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

double now() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

struct Totals {
    long records = 0, bytes = 0;
};

void report(const char *what, double secs, const Totals &t) {
    std::printf("%-28s %8.3f s  %10.0f records/s  %7.1f MB/s\n", what, secs, t.records / secs,
                t.bytes / secs / 1e6);
}

} // namespace

int main(int argc, char **argv) {
    std::string dir = "/tmp/jrnbench", size = "large";
    for (int i = 1; i + 1 < argc; i += 2) {
        if (!std::strcmp(argv[i], "--dir"))
            dir = argv[i + 1];
        else if (!std::strcmp(argv[i], "--size"))
            size = argv[i + 1];
    }
    std::system(("rm -rf '" + dir + "'").c_str());
    demo::Options opt;
    opt.size = size;
    double t0 = now();
    std::string err = demo::build(dir, opt);
    if (!err.empty()) {
        std::fprintf(stderr, "jrnbench: %s\n", err.c_str());
        return 1;
    }
    std::printf("%-28s %8.3f s\n", ("mkdemo --size " + size).c_str(), now() - t0);

    std::vector<std::string> journals;
    if (DIR *d = opendir(dir.c_str())) {
        while (dirent *e = readdir(d))
            if (std::strstr(e->d_name, ".JRN")) journals.push_back(dir + "/" + e->d_name);
        closedir(d);
    }
    Totals all;
    long receipts = 0;
    t0 = now();
    for (const std::string &j : journals) {
        struct stat st;
        stat(j.c_str(), &st);
        if (iojrn_check(j.c_str()) != st.st_size) std::printf("%s: not consistent\n", j.c_str());
        all.bytes += st.st_size;
    }
    double check = now() - t0;

    t0 = now();
    for (const std::string &j : journals) {
        jrn_cursor *c = iojrn_open(j.c_str(), O_RDONLY);
        while (iojrn_read(c)) {
            ++all.records;
            receipts += c->letter == 'H';
        }
        iojrn_close(c);
    }
    double read = now() - t0;
    std::printf("%zu journals, %ld receipts, %ld records, %.1f MB\n", journals.size(), receipts,
                all.records, all.bytes / 1e6);
    report("iojrn_check", check, all);
    report("iojrn_read", read, all);

    t0 = now();
    for (const std::string &j : journals) {
        jrn_cursor *c = iojrn_open(j.c_str(), O_RDWR);
        while (iojrn_read(c))
            if (c->letter == 'H' && !(c->h.hflags & HF_VERWERKT)) {
                c->h.hflags |= HF_VERWERKT;
                iojrn_rewrite_header(c);
            }
        iojrn_close(c);
    }
    report("read, mark unprocessed", now() - t0, all);

    t0 = now();
    for (const std::string &j : journals)
        iojrn_purge(j.c_str(), 0xFFFF);
    report("iojrn_purge (drops all)", now() - t0, all);
    std::system(("rm -rf '" + dir + "'").c_str());
    return 0;
}
