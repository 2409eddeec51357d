// ixwriters: several processes change one file at once, the record store in
// shared mode beside SQLite in WAL mode, in one run.
//
//   ixwriters [--records N] [--updates U] [--procs 2,4,8] [--dir DIR] [--seed S]
//
// A file of N counter records (64 bytes: number, counter, filler; key 1 the
// number). For each number of processes P, P forked processes start
// together and each makes U updates of counters picked at random:
//   store    IXOPEN mode 2; IXREADL, counter + 1, IXWRITE (record lock held
//            from the read to the write; the change under the header lock
//            and the busy mark)
//   SQLite   journal_mode=WAL, one connection per process, busy_timeout;
//            each update one autocommit UPDATE nr SET cnt = cnt + 1
// Neither syncs (COMMIT unset; synchronous=OFF). The figure is updates per
// second of all processes together, from the start signal to the last exit.
// Afterwards the counters must add up to P * U in both, or the run fails:
// a lost update is an error here, not a number.
#include "store/ix.h"
#include "store/ixhook.h"

#include <sqlite3.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

struct Counter {
    uint32_t nr;
    uint32_t count;
    uint8_t filler[56];
};
static_assert(sizeof(Counter) == 64);

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

[[noreturn]] void die(const char *what, sqlite3 *db) {
    std::fprintf(stderr, "ixwriters: %s: %s\n", what, db ? sqlite3_errmsg(db) : "");
    std::exit(1);
}

int g_waits = 0; // in-use waits of this process (after the brief retry)
void count_wait(ICB *) {
    ++g_waits;
    ::usleep(2000); // stands in for the two seconds of a screen
}

void make_store(const std::string &name, int n) {
    std::remove((name + ".INX").c_str());
    std::remove((name + ".TXT").c_str());
    ICB *icb = IXCREATE(name.c_str(), 1);
    IXUPDFCB(icb, 0, "tellers,64");
    IXUPDFCB(icb, 1, "nr,I,1,4");
    IXINIT(icb);
    for (int i = 1; i <= n; ++i) {
        Counter c{};
        c.nr = (uint32_t)i;
        IXWRITE(icb, &c);
    }
    IXCLOSE(icb);
}

long long store_sum(const std::string &name) {
    ICB *icb = IXOPEN(name.c_str(), 0);
    Counter c{};
    long long sum = 0;
    for (int ok = IXFIRST(icb, &c); ok; ok = IXNEXTR(icb, &c))
        sum += c.count;
    IXCLOSE(icb);
    return sum;
}

void make_sqlite(const std::string &path, int n) {
    std::remove(path.c_str());
    std::remove((path + "-wal").c_str());
    std::remove((path + "-shm").c_str());
    sqlite3 *db;
    if (sqlite3_open(path.c_str(), &db) != SQLITE_OK) die("open", db);
    sqlite3_exec(db,
                 "PRAGMA journal_mode=WAL; CREATE TABLE c(nr INTEGER PRIMARY KEY, cnt INTEGER, "
                 "filler BLOB); BEGIN",
                 nullptr, nullptr, nullptr);
    sqlite3_stmt *ins;
    sqlite3_prepare_v2(db, "INSERT INTO c VALUES(?, 0, zeroblob(56))", -1, &ins, nullptr);
    for (int i = 1; i <= n; ++i) {
        sqlite3_bind_int(ins, 1, i);
        if (sqlite3_step(ins) != SQLITE_DONE) die("insert", db);
        sqlite3_reset(ins);
    }
    sqlite3_finalize(ins);
    sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
    sqlite3_close(db);
}

long long sqlite_sum(const std::string &path) {
    sqlite3 *db;
    if (sqlite3_open(path.c_str(), &db) != SQLITE_OK) die("open", db);
    sqlite3_stmt *q;
    sqlite3_prepare_v2(db, "SELECT sum(cnt) FROM c", -1, &q, nullptr);
    long long sum = sqlite3_step(q) == SQLITE_ROW ? sqlite3_column_int64(q, 0) : -1;
    sqlite3_finalize(q);
    sqlite3_close(db);
    return sum;
}

// The work of one process; exits with 0 when all its updates went in.
[[noreturn]] void store_writer(const std::string &name, int n, int updates, unsigned seed, int go) {
    nv::store::set_inuse_hook(count_wait);
    char c;
    if (::read(go, &c, 1) != 1) _exit(3);
    ICB *icb = IXOPEN(name.c_str(), 2);
    std::mt19937 rng(seed);
    for (int i = 0; i < updates; ++i) {
        Counter r{};
        r.nr = 1 + (uint32_t)(rng() % (unsigned)n);
        if (IXREADL(icb, &r) != 1) _exit(4);
        ++r.count;
        if (IXWRITE(icb, &r) != 1) _exit(5);
    }
    IXCLOSE(icb);
    if (g_waits) std::fprintf(stderr, "ixwriters: a store writer waited %d times\n", g_waits);
    _exit(0);
}

[[noreturn]] void sqlite_writer(const std::string &path, int n, int updates, unsigned seed,
                                int go) {
    char c;
    if (::read(go, &c, 1) != 1) _exit(3);
    sqlite3 *db;
    if (sqlite3_open(path.c_str(), &db) != SQLITE_OK) _exit(4);
    sqlite3_busy_timeout(db, 60000);
    sqlite3_exec(db, "PRAGMA synchronous=OFF", nullptr, nullptr, nullptr);
    sqlite3_stmt *up;
    sqlite3_prepare_v2(db, "UPDATE c SET cnt = cnt + 1 WHERE nr = ?", -1, &up, nullptr);
    std::mt19937 rng(seed);
    for (int i = 0; i < updates; ++i) {
        sqlite3_bind_int(up, 1, 1 + (int)(rng() % (unsigned)n));
        if (sqlite3_step(up) != SQLITE_DONE) _exit(5);
        sqlite3_reset(up);
    }
    sqlite3_finalize(up);
    sqlite3_close(db);
    _exit(0);
}

// Forks p writers, lets them go at once, waits for all; the seconds taken,
// or -1 when a writer failed.
template <class Writer> double race(int p, Writer writer) {
    int pipefd[2];
    if (::pipe(pipefd) != 0) return -1;
    std::vector<pid_t> kids;
    for (int i = 0; i < p; ++i) {
        pid_t k = fork();
        if (k == 0) {
            ::close(pipefd[1]);
            writer(i, pipefd[0]);
        }
        kids.push_back(k);
    }
    ::close(pipefd[0]);
    ::usleep(100000); // all of them at the start line
    double t0 = now();
    std::string go((size_t)p, 'g');
    if (::write(pipefd[1], go.data(), go.size()) != (ssize_t)go.size()) return -1;
    bool ok = true;
    for (pid_t k : kids) {
        int st = 0;
        ok = waitpid(k, &st, 0) == k && WIFEXITED(st) && WEXITSTATUS(st) == 0 && ok;
    }
    ::close(pipefd[1]);
    return ok ? now() - t0 : -1;
}

} // namespace

int main(int argc, char **argv) {
    int n = 10000, updates = 5000;
    unsigned seed = 42;
    std::string dir = "/tmp";
    std::vector<int> procs = {2, 4, 8};
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--records" && i + 1 < argc)
            n = std::atoi(argv[++i]);
        else if (a == "--updates" && i + 1 < argc)
            updates = std::atoi(argv[++i]);
        else if (a == "--dir" && i + 1 < argc)
            dir = argv[++i];
        else if (a == "--seed" && i + 1 < argc)
            seed = (unsigned)std::atoi(argv[++i]);
        else if (a == "--procs" && i + 1 < argc) {
            procs.clear();
            for (char *s = argv[++i]; *s;) {
                procs.push_back((int)std::strtol(s, &s, 10));
                if (*s == ',')
                    ++s;
                else if (*s)
                    break;
            }
        } else {
            std::fprintf(stderr, "usage: ixwriters [--records N] [--updates U] [--procs 2,4,8] "
                                 "[--dir DIR] [--seed S]\n");
            return 2;
        }
    }
    std::string name = dir + "/DTTELLER", path = dir + "/tellers.sqlite";
    std::printf("%d records of 64 bytes, %d updates per process, seed %u\n", n, updates, seed);
    std::printf("%-10s %14s %14s %8s\n", "processes", "store upd/s", "sqlite upd/s", "ratio");
    int status = 0;
    for (int p : procs) {
        make_store(name, n);
        double ts = race(p, [&](int i, int go) { store_writer(name, n, updates, seed + i, go); });
        make_sqlite(path, n);
        double tq = race(p, [&](int i, int go) { sqlite_writer(path, n, updates, seed + i, go); });
        long long want = (long long)p * updates, ss = store_sum(name), sq = sqlite_sum(path);
        if (ts < 0 || tq < 0 || ss != want || sq != want) {
            std::fprintf(stderr,
                         "ixwriters: P=%d: a writer failed or updates were lost "
                         "(store %lld, sqlite %lld of %lld)\n",
                         p, ss, sq, want);
            status = 1;
            continue;
        }
        double us = (double)want / ts, uq = (double)want / tq;
        std::printf("%-10d %14.0f %14.0f %8.2f\n", p, us, uq, us / uq);
    }
    return status;
}
