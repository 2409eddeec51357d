// Writers that fail or die at any moment of a run of changes: the disk full
// or faulty at the Nth write, or the process gone at the Nth write. After
// each, the check either accepts the file, and then every key walks over the
// same live records, each one as the writer wrote it whole, or the rebuild
// makes the file whole. In every mode: exclusive with its caches, exclusive
// with caches so small that blocks go out in the middle of the run, shared.
#include "base/osfile.h"
#include "store/ix.h"
#include "store/ixcheck.h"
#include "support/tmux.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

using namespace nv::store;

namespace {

// A record tells by itself whether it is whole: the check byte is the sum
// of the others.
struct Rec {
    uint32_t nr;
    char name[10];
    uint8_t version;
    uint8_t sum;
};
static_assert(sizeof(Rec) == 16);

Rec make_rec(uint32_t nr, uint8_t version) {
    Rec r{};
    r.nr = nr;
    std::snprintf(r.name, sizeof r.name, "n%05u", (nr * 7919u + version * 31u) % 50000u);
    r.version = version;
    uint8_t s = 0;
    for (size_t i = 0; i < offsetof(Rec, sum); ++i)
        s = (uint8_t)(s + ((const uint8_t *)&r)[i]);
    r.sum = s;
    return r;
}

bool whole(const Rec &r) {
    Rec want = make_rec(r.nr, r.version);
    return std::memcmp(&r, &want, sizeof r) == 0;
}

// The injected fault: the Nth pwrite and, for a full disk, every one after
// it fails; a crash ends the process before the Nth write reaches the file.
enum Fault { k_full, k_eio, k_crash };
long g_writes = 0, g_fail_at = -1;
Fault g_fault = k_full;

ssize_t faulty_pwrite(int fd, const void *b, size_t n, off_t off) {
    ++g_writes;
    if (g_fail_at > 0 && (g_writes == g_fail_at || (g_fault == k_full && g_writes > g_fail_at))) {
        if (g_fault == k_crash) _exit(9);
        errno = g_fault == k_full ? ENOSPC : EIO;
        return -1;
    }
    return ::pwrite(fd, b, n, off);
}

// The run of changes on a file of 400 records: updates that move key 2,
// deletes, inserts into the freed slots. The file doesn't grow, so only the
// busy mark can tell a file that was left half-way.
void changes(const std::string &name, int mode) {
    ICB *icb = IXOPEN(name.c_str(), mode);
    for (uint32_t i = 1; i <= 400; i += 2) {
        Rec r = make_rec(i, 1);
        IXWRITE(icb, &r);
    }
    for (uint32_t i = 2; i <= 400; i += 5) {
        Rec r = make_rec(i, 0);
        IXSWITCH(icb, 1);
        if (IXREAD(icb, &r)) IXDELETE(icb, &r);
    }
    for (uint32_t i = 401; i <= 460; ++i) {
        Rec r = make_rec(i, 2);
        IXWRITE(icb, &r);
    }
    IXCLOSE(icb);
}

class Faults : public ::testing::Test {
  protected:
    nvt::TempDir dir;
    void TearDown() override { nv::os::reset_calls(); }
    std::string fresh(const char *n) {
        std::string name = dir.file(n);
        ICB *icb = IXCREATE(name.c_str(), 1);
        IXUPDFCB(icb, 0, "storing,16");
        IXUPDFCB(icb, 1, "nr,I,1,4");
        IXUPDFCB(icb, 2, "naam,C,5,14");
        IXINIT(icb);
        for (uint32_t i = 1; i <= 400; ++i) {
            Rec r = make_rec(i, 0);
            IXWRITE(icb, &r);
        }
        IXCLOSE(icb);
        return name;
    }
    // Runs the changes in a child with the fault at write n; its exit
    // status, and its message in *said.
    int run_child(const std::string &name, int mode, int cache, Fault f, long n,
                  std::string *said) {
        std::string err = name + ".err";
        pid_t pid = fork();
        if (pid == 0) {
            int fd = ::open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
            ::dup2(fd, 2);
            set_exclusive_cache_blocks(cache);
            set_exclusive_data_pages(cache / 4);
            g_writes = 0, g_fail_at = n, g_fault = f;
            nv::os::calls().pwrite = faulty_pwrite;
            changes(name, mode);
            _exit(0);
        }
        int st = 0;
        waitpid(pid, &st, 0);
        std::ifstream in(err);
        std::stringstream ss;
        ss << in.rdbuf();
        *said = ss.str();
        return WIFEXITED(st) ? WEXITSTATUS(st) : 128 + WTERMSIG(st);
    }
};

// Every key walks over every live slot once, each record whole; the count.
int walk_all(const std::string &name) {
    ICB *icb = IXOPEN(name.c_str(), 0);
    int live = 0;
    Rec r{};
    for (int32_t n = 0; n < icb->hdr.reccount; ++n)
        live += IXGET(icb, &r, n) == 1;
    for (int k = 1; k <= 2; ++k) {
        IXSWITCH(icb, k);
        int count = 0;
        r = Rec{};
        for (int ok = IXFIRST(icb, &r); ok; ok = IXNEXTR(icb, &r)) {
            EXPECT_TRUE(whole(r)) << "record " << r.nr << " under key " << k;
            ++count;
        }
        EXPECT_EQ(count, live) << "key " << k;
    }
    IXCLOSE(icb);
    return live;
}

TEST_F(Faults, EveryFailedOrKilledWriterIsFoundOrLeavesTheFileSound) {
    // How many writes a run makes, per mode.
    struct Mode {
        int mode, cache;
        const char *what;
    } modes[] = {{1, 16384, "exclusive"}, {1, 8, "exclusive, small caches"}, {2, 0, "shared"}};
    const char *given = std::getenv("NV_SEED");
    unsigned seed = given ? (unsigned)std::strtoul(given, nullptr, 10) : std::random_device{}();
    std::printf("seed %u (NV_SEED=%u repeats it)\n", seed, seed);
    std::fflush(stdout); // the children end through exit()
    std::mt19937 rnd(seed);
    int rebuilt = 0, sound = 0;
    for (const Mode &m : modes) {
        std::string probe = fresh("PROBE"), said;
        ASSERT_EQ(run_child(probe, m.mode, m.cache, k_full, -1, &said), 0) << said;
        ASSERT_GE(IXCHECK(probe.c_str()), 0);
        EXPECT_EQ(walk_all(probe), 380);
        // The count of writes of a whole run, from a second child that
        // counts them and reports through its exit status in hundreds.
        pid_t pid = fork();
        if (pid == 0) {
            std::string again = fresh("COUNT");
            set_exclusive_cache_blocks(m.cache);
            set_exclusive_data_pages(m.cache / 4);
            g_writes = 0, g_fail_at = -1;
            nv::os::calls().pwrite = faulty_pwrite;
            changes(again, m.mode);
            _exit((int)std::min(250L, g_writes / 100 + 1));
        }
        int st = 0;
        waitpid(pid, &st, 0);
        const long total = WEXITSTATUS(st) * 100L;
        ASSERT_GT(total, 0);
        for (Fault f : {k_full, k_eio, k_crash}) {
            for (int i = 0; i < 6; ++i) {
                long n = i == 0 ? 1 : i == 1 ? 3 : (long)(rnd() % (unsigned long)total) + 1;
                SCOPED_TRACE(std::string(m.what) + " fault " + std::to_string(f) + " at write " +
                             std::to_string(n));
                std::string name = fresh("DTFOUT");
                int code = run_child(name, m.mode, m.cache, f, n, &said);
                if (code == 0) continue; // the run was over before write n
                EXPECT_EQ(code, f == k_crash ? 9 : 1) << said;
                const char *cause = f == k_full ? "schijf vol" : "fout van de schijf";
                EXPECT_TRUE(f == k_crash || said.find(cause) != std::string::npos) << said;
                if (IXCHECK(name.c_str()) < 0) {
                    ASSERT_EQ(IXBLDIX(name.c_str()), 1);
                    ASSERT_GE(IXCHECK(name.c_str()), 0);
                    ++rebuilt;
                } else {
                    ++sound;
                }
                walk_all(name);
            }
        }
    }
    EXPECT_GT(rebuilt, 0);
    std::printf("rebuilt %d, sound %d\n", rebuilt, sound);
}

} // namespace
