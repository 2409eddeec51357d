// salebench: line entry without the terminal on a demo shop. For label
// numbers of stock in branch 0 it times the decoding and validation of the
// number (what happens between <ENTER> and the painted line), and the
// closing of the line with all its bookings (label, series counters, refill
// list, BON file); then the same for small articles. See README.md.
//
//   build/bin/salebench [--dir DIR] [--size small|large] [--lines N] [--keep]
//
// --keep uses the shop already in DIR instead of building it anew.
#include "base/datum.h"
#include "demomerch.h"
#include "demoshop.h"
#include "frame/iosys.h"
#include "merch/ioeti.h"
#include "merch/stam.h"
#include "sale/iojrn.h"
#include "sale/regel.h"
#include "sale/vrkbon.h"
#include "sale/vrkstat.h"
#include "store/ix.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

double now() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

void report(const char *what, std::vector<double> &t) {
    if (t.empty()) return;
    std::sort(t.begin(), t.end());
    double sum = 0;
    for (double x : t)
        sum += x;
    std::printf("%-30s %6zu  mean %7.1f us  median %7.1f us  p99 %7.1f us  max %7.1f us\n", what,
                t.size(), sum / (double)t.size() * 1e6, t[t.size() / 2] * 1e6,
                t[t.size() * 99 / 100] * 1e6, t.back() * 1e6);
}

jrn_cursor *new_receipt() {
    jrn_cursor *c = vrkbon_open(0);
    c->h.filnr = 0;
    c->h.datum = datum_vandaag();
    c->h.vkpnr = 1;
    vrk_bon_nieuw();
    return c;
}

// Enters and closes each text as a sale line; times the two halves.
void sell(const std::vector<std::string> &texts, const char *what) {
    std::vector<double> enter, close;
    int refused = 0;
    jrn_cursor *c = new_receipt();
    for (const std::string &t : texts) {
        if (vrkbon_count() > 400) { // a receipt holds at most 500 lines
            vrkbon_close(c, false);
            c = new_receipt();
        }
        double t0 = now();
        regel_leeg(c, 'V');
        plu_invoer p;
        regel_uitslag u;
        regel_fout f = plu_decodeer(t.c_str(), &p, &u);
        if (f == RF_GOED) f = regel_valideer(c, p, &u);
        double t1 = now();
        if (f != RF_GOED) { // a size without stock in the branch
            ++refused;
            continue;
        }
        regel_sluiten(c, 'V');
        double t2 = now();
        enter.push_back(t1 - t0);
        close.push_back(t2 - t1);
    }
    vrkbon_close(c, false);
    std::string a = std::string(what) + ": enter", b = std::string(what) + ": close";
    report(a.c_str(), enter);
    report(b.c_str(), close);
    if (refused)
        std::printf("%-30s %6d  (not timed)\n", (std::string(what) + ": refused").c_str(), refused);
}

} // namespace

int main(int argc, char **argv) {
    std::string dir = "/tmp/salebench", size = "large";
    size_t lines = 2000;
    bool keep = false;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--keep"))
            keep = true;
        else if (i + 1 < argc && !std::strcmp(argv[i], "--dir"))
            dir = argv[++i];
        else if (i + 1 < argc && !std::strcmp(argv[i], "--size"))
            size = argv[++i];
        else if (i + 1 < argc && !std::strcmp(argv[i], "--lines"))
            lines = std::strtoul(argv[++i], nullptr, 10);
    }
    if (!keep) {
        std::system(("rm -rf '" + dir + "'").c_str());
        demo::Options opt;
        opt.size = size;
        double t0 = now();
        std::string err = demo::build(dir, opt);
        if (!err.empty()) {
            std::fprintf(stderr, "salebench: %s\n", err.c_str());
            return 1;
        }
        std::printf("%-30s %8.3f s\n", ("mkdemo --size " + size).c_str(), now() - t0);
    }
    if (chdir(dir.c_str()) != 0) {
        std::perror(dir.c_str());
        return 1;
    }
    long nr = 1;
    iosys('O', &nr, nullptr, sysmap::FIXED);
    int32_t l = 0;
    ioeti('O', &l, nullptr);
    stam_open();

    // Labels in stock in branch 0, spread over the file.
    std::vector<std::string> labels;
    etiket_rec e{};
    int misses = 0; // the file ends where a long run of numbers reads nothing
    for (int32_t n = 1; n <= max_label_no() && labels.size() < lines && misses < 10000; ++n) {
        int32_t m = n;
        if (!ioeti('R', &m, &e)) {
            ++misses;
            continue;
        }
        misses = 0;
        if (e.status == ETI_VOORRAAD && e.filiaal == 0 && !e.onderweg)
            labels.push_back(std::to_string(n));
    }
    std::vector<std::string> articles;
    for (size_t i = 0; i < std::min<size_t>(lines, 2000); ++i)
        articles.push_back("A" + std::to_string(1 + i % 20));
    // Series/size lines: the first series of the shop are sold by size from
    // here on, one piece of each size with stock in branch 0.
    std::vector<std::string> sizes;
    std::vector<demo::Series> all = demo::series(demo::Options{.size = size});
    for (uint32_t i = 0; i < all.size() && sizes.size() < std::min<size_t>(lines, 500); ++i) {
        ser_rec s{};
        s.art_nr = all[i].art_nr, s.kleur = all[i].kleur, s.volgnr = all[i].volgnr;
        if (IXREADL(dtser, &s) != 1) {
            IXUNLOCK(dtser, &s);
            continue;
        }
        s.ser_maatreg = 1;
        IXWRITE(dtser, &s);
        for (int m = 1; m <= 6; ++m)
            sizes.push_back(demo::supplier_ean_of(i, m));
    }
    std::printf("%zu labels in stock in branch 0, %zu article lines, %zu series/size lines\n",
                labels.size(), articles.size(), sizes.size());
    sell(labels, "label");
    sell(articles, "article");
    sell(sizes, "series/size");

    stam_close();
    ioeti('C', &l, nullptr);
    iosys('C', &nr, nullptr, sysmap::FIXED);
    return 0;
}
