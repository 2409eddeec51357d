// ixbench: the record store beside SQLite on one workload, in one run.
//
//   ixbench [N] [--dir DIR] [--seed S] [--cache MB] [--store-only] [--no-map]
//
// N customer records of 312 bytes (the customer file's layout) with three
// keys: the number; 10 bytes of name, the postcode and the number; the
// postcode and the number. Both engines get the same records in the same
// random order, the same memory for blocks/pages, no syncing to disk:
//   insert   N records in random order (store: exclusive mode, IXWRITE;
//            SQLite: one transaction, prepared INSERT, two indexes)
//   lookup   N reads by number in another random order (IXREAD;
//            SELECT ... WHERE nr = ?)
//   walk     every record in name order (IXFIRST/IXNEXTR on key 2;
//            SELECT ... ORDER BY the name index)
// The names compare by the store's code page 850 collation in both: SQLite
// gets it as a collating sequence. The walks are checked to deliver the same
// numbers in the same order. Ratios are SQLite time / store time, so above 1
// means the store is faster.
#include "store/ix.h"
#include "store/ixcoll.h"
#include "store/ixmap.h"

#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int k_reclen = 312;

struct Customer {
    uint8_t rec[k_reclen];
    uint32_t nr() const {
        uint32_t v;
        std::memcpy(&v, rec, 4);
        return v;
    }
};

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

void die(const char *what, sqlite3 *db) {
    std::fprintf(stderr, "ixbench: %s: %s\n", what, db ? sqlite3_errmsg(db) : "");
    std::exit(1);
}

std::vector<Customer> make_data(int n, std::mt19937 &rng) {
    static const char *const syl[] = {"jan", "Van",  "der",   "Berg", "ma",   "\x84l",
                                      "Ko",  "stra", "\x82",  "huis", "Smit", "de",
                                      "Wit", "o",    "\x94r", "Baa"};
    std::vector<Customer> v((size_t)n);
    for (int i = 0; i < n; ++i) {
        Customer &c = v[(size_t)i];
        for (auto &b : c.rec)
            b = (uint8_t)(' ' + rng() % 90);
        uint32_t nr = (uint32_t)i + 1;
        std::memcpy(c.rec, &nr, 4);
        std::string name;
        while (name.size() < 10)
            name += syl[rng() % 16];
        std::memset(c.rec + 4, 0, 10);
        std::memcpy(c.rec + 4, name.data(), 10);
        char pc[8];
        std::snprintf(pc, sizeof pc, "%04u%c%c", 1000 + (unsigned)(rng() % 9000),
                      'A' + (char)(rng() % 26), 'A' + (char)(rng() % 26));
        std::memcpy(c.rec + 89, pc, 7); // bytes 90..96: six characters and a NUL
        c.rec[k_reclen - 1] = 0;
    }
    std::shuffle(v.begin(), v.end(), rng);
    return v;
}

int cp850(void *, int la, const void *a, int lb, const void *b) {
    int w = std::min(la, lb);
    if (int r = nv::store::coll_compare((const uint8_t *)a, (const uint8_t *)b, w)) return r;
    return la - lb;
}

// Reads of a finished file: by number in random order, and all of it in
// name order. For the store one row per mode, for SQLite one per locking
// mode (exclusive beside mode 1; normal, a reader among others, beside
// modes 0 and 2).
struct Reads {
    double lookup = 0, walk = 0;
};

struct Times {
    double insert;
    Reads excl, ro, shared;
    double dump;
    std::vector<uint32_t> order;
    long long bytes;
};

// The records as ixutil dump prints them: hex, one a line.
void print_hex(FILE *out, const uint8_t *rec) {
    static const char digits[] = "0123456789abcdef";
    char line[2 * k_reclen + 2];
    for (int i = 0; i < k_reclen; ++i) {
        line[2 * i] = digits[rec[i] >> 4];
        line[2 * i + 1] = digits[rec[i] & 15];
    }
    line[2 * k_reclen] = '\n';
    line[2 * k_reclen + 1] = 0;
    std::fputs(line, out);
}

std::string g_ixutil; // beside this program

Reads store_reads(const std::string &name, int mode, const std::vector<uint32_t> &probe,
                  std::vector<uint32_t> *order) {
    Reads r;
    ICB *icb = IXOPEN(name.c_str(), mode);
    uint8_t rec[k_reclen];
    double t0 = now();
    size_t found = 0;
    for (uint32_t nr : probe) {
        std::memcpy(rec, &nr, 4);
        found += (size_t)IXREAD(icb, rec);
    }
    r.lookup = now() - t0;
    if (found != probe.size())
        std::fprintf(stderr, "ixbench: store (mode %d) found %zu of %zu\n", mode, found,
                     probe.size());
    t0 = now();
    IXSWITCH(icb, 2);
    std::memset(rec, 0, sizeof rec);
    std::vector<uint32_t> got;
    got.reserve(probe.size());
    for (int ok = IXFIRST(icb, rec); ok; ok = IXNEXTR(icb, rec)) {
        uint32_t nr;
        std::memcpy(&nr, rec, 4);
        got.push_back(nr);
    }
    r.walk = now() - t0;
    IXCLOSE(icb);
    if (order)
        *order = std::move(got);
    else if (got.size() != probe.size())
        std::fprintf(stderr, "ixbench: store (mode %d) walked %zu\n", mode, got.size());
    return r;
}

long long file_size(const std::string &p) {
    struct stat st;
    return ::stat(p.c_str(), &st) == 0 ? (long long)st.st_size : 0;
}

Times run_store(const std::string &dir, const std::vector<Customer> &data,
                const std::vector<uint32_t> &probe) {
    Times t{};
    std::string name = dir + "/DTKLT";
    std::remove((name + ".INX").c_str());
    std::remove((name + ".TXT").c_str());
    double t0 = now();
    ICB *icb = IXCREATE(name.c_str(), 1);
    IXUPDFCB(icb, 0, "klanten,312");
    IXUPDFCB(icb, 1, "klantnr,I,1,4");
    IXUPDFCB(icb, 2, "naam,NODUPS,C,5,14,C,90,96,I,1,4");
    IXUPDFCB(icb, 3, "postcode,NODUPS,C,90,96,I,1,4");
    IXINIT(icb);
    uint8_t rec[k_reclen];
    for (const Customer &c : data) {
        std::memcpy(rec, c.rec, k_reclen);
        IXWRITE(icb, rec);
    }
    IXCLOSE(icb);
    t.insert = now() - t0;
    t.bytes = file_size(name + ".INX") + file_size(name + ".TXT");

    t.excl = store_reads(name, 1, probe, &t.order);
    t.ro = store_reads(name, 0, probe, nullptr);
    t.shared = store_reads(name, 2, probe, nullptr);
    if (!g_ixutil.empty()) {
        std::string cmd = g_ixutil + " dump " + name + " --key 2 > /dev/null";
        t0 = now();
        if (std::system(cmd.c_str()) != 0)
            std::fprintf(stderr, "ixbench: %s failed\n", cmd.c_str());
        t.dump = now() - t0;
    }
    return t;
}

// Lookups and the ordered walk on a closed database; with out, the walk
// prints every record as ixutil dump does (and the lookups are skipped).
Reads sqlite_reads(const std::string &path, const std::string &pragmas,
                   const std::vector<uint32_t> &probe, std::vector<uint32_t> *order, FILE *out) {
    Reads r;
    sqlite3 *db;
    if (sqlite3_open(path.c_str(), &db) != SQLITE_OK) die("open", db);
    sqlite3_create_collation(db, "CP850", SQLITE_UTF8, nullptr, cp850);
    sqlite3_exec(db, pragmas.c_str(), nullptr, nullptr, nullptr);
    sqlite3_stmt *sel;
    sqlite3_prepare_v2(db, "SELECT rec FROM klant WHERE nr = ?", -1, &sel, nullptr);
    uint8_t rec[k_reclen];
    double t0 = now();
    size_t found = 0;
    for (uint32_t nr : probe) {
        sqlite3_bind_int64(sel, 1, nr);
        if (sqlite3_step(sel) == SQLITE_ROW) {
            std::memcpy(rec, sqlite3_column_blob(sel, 0), k_reclen);
            ++found;
        }
        sqlite3_reset(sel);
    }
    r.lookup = now() - t0;
    sqlite3_finalize(sel);
    if (found != probe.size()) std::fprintf(stderr, "ixbench: sqlite found %zu\n", found);

    t0 = now();
    sqlite3_prepare_v2(db, "SELECT rec FROM klant INDEXED BY klant_naam ORDER BY naam, pc, nr", -1,
                       &sel, nullptr);
    while (sqlite3_step(sel) == SQLITE_ROW) {
        std::memcpy(rec, sqlite3_column_blob(sel, 0), k_reclen);
        if (out) print_hex(out, rec);
        uint32_t nr;
        std::memcpy(&nr, rec, 4);
        if (order) order->push_back(nr);
    }
    r.walk = now() - t0;
    sqlite3_finalize(sel);
    sqlite3_close(db);
    return r;
}

Times run_sqlite(const std::string &dir, const std::vector<Customer> &data,
                 const std::vector<uint32_t> &probe, int cache_mb) {
    Times t{};
    std::string path = dir + "/klanten.sqlite";
    std::remove(path.c_str());
    sqlite3 *db;
    double t0 = now();
    if (sqlite3_open(path.c_str(), &db) != SQLITE_OK) die("open", db);
    sqlite3_create_collation(db, "CP850", SQLITE_UTF8, nullptr, cp850);
    std::string pragmas =
        "PRAGMA locking_mode=EXCLUSIVE; PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF; "
        "PRAGMA cache_size=-" +
        std::to_string(cache_mb * 1024) + ";";
    if (sqlite3_exec(db, pragmas.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        die("pragma", db);
    const char *schema = "CREATE TABLE klant(nr INTEGER PRIMARY KEY, naam TEXT COLLATE CP850, "
                         "pc TEXT COLLATE CP850, rec BLOB);"
                         "CREATE INDEX klant_naam ON klant(naam, pc, nr);"
                         "CREATE INDEX klant_pc ON klant(pc, nr);";
    if (sqlite3_exec(db, schema, nullptr, nullptr, nullptr) != SQLITE_OK) die("schema", db);
    sqlite3_stmt *ins;
    if (sqlite3_prepare_v2(db, "INSERT INTO klant VALUES(?,?,?,?)", -1, &ins, nullptr) != SQLITE_OK)
        die("prepare", db);
    sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
    for (const Customer &c : data) {
        sqlite3_bind_int64(ins, 1, c.nr());
        sqlite3_bind_text(ins, 2, (const char *)c.rec + 4, 10, SQLITE_STATIC);
        sqlite3_bind_text(ins, 3, (const char *)c.rec + 89, 7, SQLITE_STATIC);
        sqlite3_bind_blob(ins, 4, c.rec, k_reclen, SQLITE_STATIC);
        if (sqlite3_step(ins) != SQLITE_DONE) die("insert", db);
        sqlite3_reset(ins);
    }
    sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
    sqlite3_finalize(ins);
    sqlite3_close(db);
    t.insert = now() - t0;
    t.bytes = file_size(path);

    t.excl = sqlite_reads(path, pragmas, probe, &t.order, nullptr);
    std::string normal =
        "PRAGMA locking_mode=NORMAL; PRAGMA cache_size=-" + std::to_string(cache_mb * 1024) + ";";
    t.ro = sqlite_reads(path, normal, probe, nullptr, nullptr);
    FILE *null = std::fopen("/dev/null", "w");
    double t0d = now();
    sqlite_reads(path, normal, {}, nullptr, null);
    t.dump = now() - t0d;
    std::fclose(null);
    return t;
}

} // namespace

int main(int argc, char **argv) {
    int n = 100000, cache_mb = 64;
    unsigned seed = 42;
    std::string dir = "/tmp";
    bool store_only = false; // for profiling the store alone
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--dir" && i + 1 < argc)
            dir = argv[++i];
        else if (a == "--seed" && i + 1 < argc)
            seed = (unsigned)std::atoi(argv[++i]);
        else if (a == "--cache" && i + 1 < argc)
            cache_mb = std::atoi(argv[++i]);
        else if (a == "--store-only")
            store_only = true;
        else if (a == "--no-map")
            nv::store::set_fast_reads(false); // every read a pread, as before the mappings
        else if (a[0] != '-')
            n = std::atoi(a.c_str());
        else {
            std::fprintf(stderr, "usage: ixbench [N] [--dir DIR] [--seed S] [--cache MB] "
                                 "[--store-only] [--no-map]\n");
            return 2;
        }
    }
    // The store's share of the memory: half for index blocks, half for data pages.
    nv::store::set_exclusive_cache_blocks(cache_mb * 1024);
    nv::store::set_exclusive_data_pages(cache_mb * 128);
    std::mt19937 rng(seed);
    std::vector<Customer> data = make_data(n, rng);
    std::vector<uint32_t> probe((size_t)n);
    for (int i = 0; i < n; ++i)
        probe[(size_t)i] = (uint32_t)i + 1;
    std::shuffle(probe.begin(), probe.end(), rng);

    std::string self = argv[0];
    if (size_t slash = self.rfind('/'); slash != std::string::npos) {
        g_ixutil = self.substr(0, slash + 1) + "ixutil";
        if (::access(g_ixutil.c_str(), X_OK) != 0) g_ixutil.clear();
    }
    if (store_only) {
        Times s = run_store(dir, data, probe);
        std::printf("store: insert %.3f s, lookup %.3f/%.3f/%.3f s, walk %.3f/%.3f/%.3f s "
                    "(modes 1/0/2)\n",
                    s.insert, s.excl.lookup, s.ro.lookup, s.shared.lookup, s.excl.walk, s.ro.walk,
                    s.shared.walk);
        return 0;
    }
    Times s = run_store(dir, data, probe);
    Times q = run_sqlite(dir, data, probe, cache_mb);
    if (s.order != q.order || (int)s.order.size() != n) {
        std::fprintf(stderr, "ixbench: the walks differ (%zu / %zu records)\n", s.order.size(),
                     q.order.size());
        return 1;
    }
    std::printf("N = %d, record 312 bytes, 3 keys, cache %d MB each, seed %u\n", n, cache_mb, seed);
    std::printf("%-28s %10s %10s %8s\n", "", "store s", "sqlite s", "ratio");
    auto row = [&](const char *what, double a, double b) {
        std::printf("%-28s %10.3f %10.3f %8.2f   (%.0f / %.0f ops/s)\n", what, a, b, b / a, n / a,
                    n / b);
    };
    row("insert, random order", s.insert, q.insert);
    row("lookup, mode 1 / excl.", s.excl.lookup, q.excl.lookup);
    row("walk, mode 1 / excl.", s.excl.walk, q.excl.walk);
    row("lookup, mode 0 / normal", s.ro.lookup, q.ro.lookup);
    row("walk, mode 0 / normal", s.ro.walk, q.ro.walk);
    row("lookup, mode 2 / normal", s.shared.lookup, q.ro.lookup);
    row("walk, mode 2 / normal", s.shared.walk, q.ro.walk);
    if (!g_ixutil.empty()) row("dump --key 2 / hex SELECT", s.dump, q.dump);
    std::printf("%-28s %10.1f %10.1f %8.2f\n", "file size MB", s.bytes / 1e6, q.bytes / 1e6,
                (double)q.bytes / (double)s.bytes);
    return 0;
}
