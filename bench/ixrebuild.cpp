// ixrebuild: how fast IXBLDIX makes an index from a data file, beside the
// time the machine takes to read that data file at all, in the same run.
//
//   ixrebuild [N] [--dir DIR] [--seed S] [--free PERMILLE] [--keep]
//
// The data file is N customer records of 312 bytes in the layout of the
// customer file (file 24 of the data dictionary: the number; 10 bytes of
// name, postcode and number; postcode and number), numbered in the order of
// the file as a program that hands out numbers makes them, with names of
// syllables with accented letters and mixed case, and PERMILLE of the slots
// free (default 10). Measured, each the best of three:
//   cat        cat of the warm data file to /dev/null
//   read       the rebuild's own reading: 16 KiB preads front to back
//   key 1      IXBLDIX with only key 1 (in record order: the fast path)
//   keys 1-2   IXBLDIX with the first two keys
//   keys 1-3   IXBLDIX with all three: the figure that counts
// after which the rebuilt file is checked (IXCHECK, and every key walked).
// --keep leaves the files in DIR (for a profiler: ixutil rebuild NAME).
#include "store/dd.h"
#include "store/ix.h"
#include "store/ixcheck.h"
#include "store/ixprogress.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr int k_reclen = 312;

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

template <class F> double best_of_three(F f) {
    double best = 1e30;
    for (int i = 0; i < 3; ++i) {
        double t0 = now();
        f();
        best = std::min(best, now() - t0);
    }
    return best;
}

// The data file, written straight: live records and free slots linked in
// any order (the rebuild links them anew).
long write_data(const std::string &path, long n, int permille, std::mt19937 &rng) {
    static const char *const syl[] = {"jan", "Van",  "der",   "Berg", "ma",   "\x84l",
                                      "Ko",  "stra", "\x82",  "huis", "Smit", "de",
                                      "Wit", "o",    "\x94r", "Baa"};
    FILE *f = std::fopen(path.c_str(), "wb");
    if (!f) {
        std::perror(path.c_str());
        std::exit(1);
    }
    long live = 0;
    uint8_t rec[k_reclen];
    for (long i = 0; i < n; ++i) {
        if ((long)(rng() % 1000) < permille) {
            std::memset(rec, 0xFF, sizeof rec);
        } else {
            for (auto &b : rec)
                b = (uint8_t)(' ' + rng() % 90);
            uint32_t nr = (uint32_t)i + 1;
            std::memcpy(rec, &nr, 4);
            std::string name;
            while (name.size() < 10)
                name += syl[rng() % 16];
            std::memcpy(rec + 4, name.data(), 10);
            char pc[8];
            std::snprintf(pc, sizeof pc, "%04u%c%c", 1000 + (unsigned)(rng() % 9000),
                          'A' + (char)(rng() % 26), 'A' + (char)(rng() % 26));
            std::memcpy(rec + 89, pc, 7);
            ++live;
        }
        if (std::fwrite(rec, sizeof rec, 1, f) != 1) {
            std::perror(path.c_str());
            std::exit(1);
        }
    }
    std::fclose(f);
    return live;
}

void read_chunks(const std::string &path) {
    int fd = ::open(path.c_str(), O_RDONLY);
    std::vector<uint8_t> buf(16384 / k_reclen * k_reclen);
    off_t off = 0;
    ssize_t n;
    while ((n = ::pread(fd, buf.data(), buf.size(), off)) > 0)
        off += n;
    ::close(fd);
}

// A fresh index header with the first `keys` keys of the customer file.
void header_with(const std::string &name, int keys) {
    dd_create(24, name.c_str());
    int fd = ::open((name + ".INX").c_str(), O_RDWR);
    int8_t k = (int8_t)keys;
    if (::pwrite(fd, &k, 1, 11) != 1) std::exit(1);
    ::close(fd);
}

double rebuild(const std::string &name, int keys) {
    return best_of_three([&] {
        header_with(name, keys);
        if (!IXBLDIX(name.c_str())) {
            std::fprintf(stderr, "ixrebuild: IXBLDIX refused\n");
            std::exit(1);
        }
    });
}

} // namespace

int main(int argc, char **argv) {
    long n = 1000000;
    std::string dir = "/tmp";
    unsigned seed = 42;
    int permille = 10;
    bool keep = false;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--dir" && i + 1 < argc)
            dir = argv[++i];
        else if (a == "--seed" && i + 1 < argc)
            seed = (unsigned)std::atol(argv[++i]);
        else if (a == "--keep")
            keep = true;
        else if (a == "--free" && i + 1 < argc)
            permille = std::atoi(argv[++i]);
        else
            n = std::atol(argv[i]);
    }
    nv::store::set_progress_hook([](int, long, long, const char *) {});
    std::mt19937 rng(seed);
    std::string name = dir + "/DTKLTBNC" + std::to_string(::getpid());
    std::string data = name + ".TXT";
    long live = write_data(data, n, permille, rng);
    std::string cat = "cat " + data + " > /dev/null";
    if (std::system(cat.c_str()) != 0) return 1; // warm
    std::printf("N = %ld slots of %d bytes (%ld live), %.1f MB, seed %u\n", n, k_reclen, live,
                (double)n * k_reclen / 1e6, seed);
    double t_cat = best_of_three([&] {
        if (std::system(cat.c_str()) != 0) std::exit(1);
    });
    double t_read = best_of_three([&] { read_chunks(data); });
    double t1 = rebuild(name, 1), t2 = rebuild(name, 2), t3 = rebuild(name, 3);
    auto row = [&](const char *what, double t) {
        std::printf("%-28s %8.3f s %9.2f x cat %12.0f records/s\n", what, t, t / t_cat,
                    (double)n / t);
    };
    row("cat of the warm data file", t_cat);
    row("read in 16 KiB chunks", t_read);
    row("rebuild, key 1", t1);
    row("rebuild, keys 1-2", t2);
    row("rebuild, keys 1-3", t3);

    int free_slots = IXCHECK(name.c_str());
    ICB *icb = IXOPEN(name.c_str(), 0);
    bool ok = free_slots == n - live;
    for (int k = 1; k <= 3; ++k) {
        IXSWITCH(icb, k);
        std::vector<uint8_t> r(k_reclen, 0);
        long count = 0;
        for (int got = IXFIRST(icb, r.data()); got; got = IXNEXTR(icb, r.data()))
            ++count;
        ok = ok && count == live;
    }
    IXCLOSE(icb);
    std::printf("check: %s\n", ok ? "every record under every key, free list whole"
                                  : "WRONG: the rebuilt file does not match");
    if (keep) {
        std::printf("kept: %s\n", name.c_str());
    } else {
        ::unlink(data.c_str());
        ::unlink((name + ".INX").c_str());
    }
    return ok ? 0 : 1;
}
