// Shared mode between real processes: counters that several processes
// increment through IXREADL/IXWRITE (changes serialised by the header lock),
// a reader walking while a writer inserts, the lock queue's capacity, a
// writer killed inside a change, and files that shrink under a reader's
// mapping.
#include "base/osfile.h"
#include "store/ix.h"
#include "store/ixhook.h"
#include "support/tmux.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace nv::store;

namespace {

struct Counter {
    uint32_t nr;
    uint32_t count;
    char name[24];
};
static_assert(sizeof(Counter) == 32);

class Shared : public ::testing::Test {
  protected:
    nvt::TempDir dir;
    void TearDown() override {
        set_inuse_hook(nullptr);
        set_eof_hook(nullptr);
        nv::os::reset_calls();
    }
    std::string path(const char *n) { return dir.file(n); }
    // Counters: key 1 the number, key 2 the name with duplicates.
    std::string counters(const char *n) {
        std::string name = path(n);
        ICB *icb = IXCREATE(name.c_str(), 1);
        IXUPDFCB(icb, 0, "tellers,32");
        IXUPDFCB(icb, 1, "nr,I,1,4");
        IXUPDFCB(icb, 2, "naam,C,9,32");
        IXINIT(icb);
        IXCLOSE(icb);
        return name;
    }
};

int wait_exit(pid_t pid) {
    int st = 0;
    if (waitpid(pid, &st, 0) != pid) return -1;
    return WIFEXITED(st) ? WEXITSTATUS(st) : 128 + WTERMSIG(st);
}

int g_waits = 0;
void short_wait(ICB *) {
    ++g_waits;
    ::usleep(1000);
}

uint8_t header_byte(const std::string &inx, long off) {
    uint8_t b = 0xEE;
    int fd = ::open(inx.c_str(), O_RDONLY);
    if (fd >= 0 && ::pread(fd, &b, 1, off) != 1) b = 0xEE;
    ::close(fd);
    return b;
}

// Four processes increment 24 counters, 400 times each, from nothing: the
// first to find a counter absent reserves its key and inserts it, the others
// wait for the record. No increment may be lost, no record made twice, and
// the busy mark and the queue are clear at the end.
TEST_F(Shared, CountersOfSeveralProcessesLoseNoUpdate) {
    std::string name = counters("DTTEL");
    const int procs = 4, rounds = 400, nkeys = 24;
    int go[2];
    ASSERT_EQ(::pipe(go), 0);
    std::vector<pid_t> kids;
    for (int p = 0; p < procs; ++p) {
        pid_t k = fork();
        if (k == 0) {
            set_inuse_hook(short_wait);
            ICB *icb = IXOPEN(name.c_str(), 2);
            char x;
            ::close(go[1]);
            if (::read(go[0], &x, 1) != 0) _exit(3); // all start together

            std::mt19937 rng(1000 + p);
            for (int i = 0; i < rounds; ++i) {
                Counter c{};
                c.nr = 1 + rng() % nkeys;
                int had = IXREADL(icb, &c);
                if (!had) std::snprintf(c.name, sizeof c.name, "teller %02u", c.nr % 5);
                ++c.count;
                if (IXWRITE(icb, &c) != 1) _exit(2);
            }
            IXCLOSE(icb);
            _exit(0);
        }
        kids.push_back(k);
    }
    ::close(go[0]);
    ::close(go[1]);
    for (pid_t k : kids)
        ASSERT_EQ(wait_exit(k), 0);

    ICB *icb = IXOPEN(name.c_str(), 0);
    EXPECT_EQ(icb->hdr.reccount, nkeys) << "each counter made once";
    EXPECT_EQ(icb->hdr.busy, 0);
    long sum = 0;
    int n = 0;
    Counter c{};
    for (int ok = IXFIRST(icb, &c); ok; ok = IXNEXTR(icb, &c), ++n)
        sum += c.count;
    EXPECT_EQ(sum, procs * rounds);
    EXPECT_EQ(n, nkeys);
    IXSWITCH(icb, 2);
    c = Counter{};
    n = 0;
    for (int ok = IXFIRST(icb, &c); ok; ok = IXNEXTR(icb, &c))
        ++n;
    EXPECT_EQ(n, nkeys) << "the second key followed every insert";
    IXCLOSE(icb);
    EXPECT_EQ(header_byte(name + ".INX", 3 * 512 + 4), 0) << "no key left reserved";
}

// A reader in mode 0 walks both keys while a writer in mode 2 changes the
// odd numbers: every even record, there before and after, is seen once in
// each walk, in order, whatever splits or separator changes the writer makes.
Counter named(uint32_t nr) {
    Counter c{};
    c.nr = nr;
    std::snprintf(c.name, sizeof c.name, "k%05u", (nr * 7919u) % 60000u);
    return c;
}

enum class Writer { inserts, deletes };

void walk_beside_a_writer(const std::string &name, Writer how) {
    ICB *icb = IXOPEN(name.c_str(), 1);
    for (uint32_t nr = how == Writer::inserts ? 2 : 1; nr <= 6000;
         nr += how == Writer::inserts ? 2 : 1) {
        Counter c = named(nr);
        IXWRITE(icb, &c);
    }
    IXCLOSE(icb);
    int stop[2];
    ASSERT_EQ(::pipe(stop), 0);
    pid_t kid = fork();
    if (kid == 0) {
        ::close(stop[1]);
        fcntl(stop[0], F_SETFL, O_NONBLOCK);
        ICB *w = IXOPEN(name.c_str(), 2);
        char x;
        // Deleting runs through the odd numbers from the top down, so that
        // blocks lose their highest entries; no slot is used again.
        int32_t nr = how == Writer::inserts ? 1 : 5999;
        while (::read(stop[0], &x, 1) < 0) {
            Counter c = named((uint32_t)nr);
            if (how == Writer::inserts) {
                IXREADL(w, &c);
                ++c.count;
                IXWRITE(w, &c);
                nr = nr % 60000 + 2;
            } else if (nr > 0) {
                if (IXREADL(w, &c)) IXDELETE(w, &c);
                nr -= 2;
            }
        }
        IXCLOSE(w);
        _exit(0);
    }
    ::close(stop[0]);
    ICB *r = IXOPEN(name.c_str(), 0);
    uint32_t odds = 0; // rounds go on until the writer's work was seen
    for (int round = 0; round < 5 || (round < 1000 && (how == Writer::inserts) == (odds == 0));
         ++round) {
        for (int key : {1, 2}) {
            IXSWITCH(r, key);
            Counter c{};
            uint32_t evens = 0;
            std::string last;
            if (how == Writer::deletes) odds = 0;
            for (int ok = IXFIRST(r, &c); ok; ok = IXNEXTR(r, &c)) {
                std::string now = key == 1 ? std::to_string(1e10 + c.nr) : c.name;
                ASSERT_LE(last, now) << "key " << key;
                last = now;
                evens += c.nr % 2 == 0 && c.nr <= 6000;
                odds += c.nr % 2;
            }
            EXPECT_EQ(evens, 3000u) << (how == Writer::inserts ? "inserts" : "deletes") << ", key "
                                    << key << ", round " << round;
        }
    }
    if (how == Writer::inserts)
        EXPECT_GT(odds, 0u);
    else
        EXPECT_LT(odds, 3000u);
    IXCLOSE(r);
    ::close(stop[1]);
    EXPECT_EQ(wait_exit(kid), 0);
}

TEST_F(Shared, ReaderWalksWhileAWriterInsertsOrDeletes) {
    walk_beside_a_writer(counters("DTLOOP"), Writer::inserts);
    walk_beside_a_writer(counters("DTWEG"), Writer::deletes);
}

// An exclusive user whose changes are partly on disk has the busy mark set;
// a reader that opens the file meanwhile waits for him at the header lock of
// the open, with the in-use message, instead of calling the file damaged,
// and then sees it whole.
int g_release = -1; // the pipe that lets the exclusive user close
void release_on_wait(ICB *) {
    if (g_release >= 0 && ::write(g_release, "x", 1) == 1) ::close(g_release);
    g_release = -1;
    ::usleep(20000);
}

TEST_F(Shared, AReaderWaitsForAnExclusiveUserWithChangesUnderWay) {
    std::string name = counters("DTEXCL");
    int busy[2], release[2];
    ASSERT_EQ(::pipe(busy), 0);
    ASSERT_EQ(::pipe(release), 0);
    pid_t kid = fork();
    if (kid == 0) {
        set_exclusive_cache_blocks(8);
        set_exclusive_data_pages(2);
        ICB *w = IXOPEN(name.c_str(), 1);
        for (uint32_t nr = 1; nr <= 3000; ++nr) {
            Counter c = named(nr);
            IXWRITE(w, &c);
        }
        char x;
        if (::write(busy[1], "x", 1) != 1 || ::read(release[0], &x, 1) != 1) _exit(2);
        IXCLOSE(w);
        _exit(0);
    }
    char x;
    ASSERT_EQ(::read(busy[0], &x, 1), 1);
    ASSERT_EQ(header_byte(name + ".INX", 45), 1) << "the mark is on disk while changes are";
    g_release = release[1];
    set_inuse_hook(release_on_wait);
    ICB *r = IXOPEN(name.c_str(), 0);
    EXPECT_EQ(g_release, -1) << "the reader waited";
    Counter c{};
    int n = 0;
    for (int ok = IXFIRST(r, &c); ok; ok = IXNEXTR(r, &c))
        ++n;
    EXPECT_EQ(n, 3000);
    IXCLOSE(r);
    EXPECT_EQ(wait_exit(kid), 0);
}

// With one key of 8 bytes the queue holds 63 reserved keys; the 64th ends
// the program. Releasing empties it again.
TEST_F(Shared, LockQueueHolds63KeysOfEightBytes) {
    std::string name = path("DTRIJ");
    ICB *icb = IXCREATE(name.c_str(), 1);
    IXUPDFCB(icb, 0, "rij,12");
    IXUPDFCB(icb, 1, "sleutel,I,1,4,I,5,8");
    IXINIT(icb);
    IXCLOSE(icb);
    auto reserve = [&](int n) {
        ICB *f = IXOPEN(name.c_str(), 2);
        for (uint32_t i = 1; i <= (uint32_t)n; ++i) {
            uint32_t rec[3] = {i, i * 3, 0};
            if (IXREADL(f, rec) != 0) std::exit(5);
        }
        return f;
    };
    icb = reserve(63);
    EXPECT_EQ(header_byte(name + ".INX", 2 * 512 + 4), 63);
    for (uint32_t i = 1; i <= 63; ++i) {
        uint32_t rec[3] = {i, i * 3, 0};
        IXUNLOCK(icb, rec);
    }
    EXPECT_EQ(header_byte(name + ".INX", 2 * 512 + 4), 0);
    IXCLOSE(icb);
    // Reservations outlive their process: this one leaves 63 behind.
    EXPECT_EXIT(reserve(64), ::testing::ExitedWithCode(1), "Lock queue vol");
}

// A writer killed between the prologue and the epilogue of a change leaves
// the busy mark on disk, and the next open reports the file as damaged at
// its first root read. With COMMIT=YES each write of the change is synced.
int g_data_fd = -1, g_syncs = 0;
TEST_F(Shared, KilledInsideAChangeLeavesTheBusyMark) {
    std::string name = counters("DTKILL");
    pid_t kid = fork();
    if (kid == 0) {
        ICB *icb = IXOPEN(name.c_str(), 2);
        icb->commit = 1;
        g_data_fd = icb->dfd;
        nv::os::calls().fsync = [](int) { return ++g_syncs, 0; };
        nv::os::calls().pwrite = [](int fd, const void *b, size_t n, off_t o) {
            if (fd == g_data_fd && g_syncs >= 2) ::raise(SIGKILL); // after the mark
            return ::pwrite(fd, b, n, o);
        };
        Counter c{};
        c.nr = 1;
        IXREADL(icb, &c);
        IXWRITE(icb, &c);
        _exit(0);
    }
    EXPECT_EQ(wait_exit(kid), 128 + SIGKILL);
    EXPECT_EQ(header_byte(name + ".INX", 45), 1);
    EXPECT_EXIT(IXOPEN(name.c_str(), 0), ::testing::ExitedWithCode(1), "Niet consistent");
}

// Files cut under a reader that reads through its mapping: a slot beyond
// the new end reads as free, an index block beyond it goes the store's
// end-of-file road. Never a SIGBUS.
TEST_F(Shared, FilesCutUnderAReaderGiveTheStoresAnswer) {
    std::string name = counters("DTKORT");
    ICB *w = IXOPEN(name.c_str(), 1);
    for (uint32_t nr = 1; nr <= 3000; ++nr) {
        Counter c{};
        c.nr = nr;
        IXWRITE(w, &c);
    }
    IXCLOSE(w);
    ICB *r = IXOPEN(name.c_str(), 0);
    Counter c{};
    ASSERT_EQ(IXGET(r, &c, 2999), 1);
    ASSERT_EQ(::truncate((name + ".TXT").c_str(), 1000 * 32), 0);
    EXPECT_EQ(IXGET(r, &c, 2999), 0) << "a slot past the end reads as free";
    EXPECT_EQ(IXGET(r, &c, 999), 1);
    c.nr = 3000;
    EXPECT_EQ(IXREAD(r, &c), 0);
    auto cut_index_and_walk = [&] {
        set_eof_hook([](const char *line) {
            std::fprintf(stderr, "%s\n", line);
            return false;
        });
        if (::truncate((name + ".INX").c_str(), 4 * 512) != 0) std::exit(4);
        c = Counter{};
        for (int ok = IXFIRST(r, &c); ok; ok = IXNEXTR(r, &c)) {
        }
        std::exit(0);
    };
    EXPECT_EXIT(cut_index_and_walk(), ::testing::ExitedWithCode(1), "EOF: r=.*Niet consistent");
    IXCLOSE(r);
}

} // namespace
