// Damaged store files through the readers: a sound pair of 2,000 records
// with a number key and a text key with duplicates, then, case after case,
// one to sixteen random bytes of the index or the data file changed. Each
// case walks both keys forwards and one backwards in a child process; it
// must end (with the records, or with the store's fatal stop) within a
// bounded number of steps, never crash. The alarm is a safety net that
// turns a hang into a failure, not a measurement.
#include "base/fatal.h"
#include "store/ix.h"
#include "store/ixhook.h"
#include "support/tmux.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace nv::store;

namespace {

using Bytes = std::vector<char>;

Bytes slurp(const std::string &p) {
    std::ifstream in(p, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}
void spill(const std::string &p, const Bytes &b) {
    std::ofstream(p, std::ios::binary | std::ios::trunc).write(b.data(), (long)b.size());
}

constexpr int k_records = 2000;

// The walks of one damaged pair; exit 0 when they ended, 3 when one gave
// more records than the file has slots.
[[noreturn]] void walk_child(const std::string &name) {
    ::alarm(20);
    set_eof_hook([](const char *) { return false; });
    ICB *icb = IXOPEN(name.c_str(), 0);
    std::vector<uint8_t> rec((size_t)icb->hdr.reclen);
    const long most = (long)icb->hdr.reccount + 1;
    for (int k = 1; k <= icb->hdr.nkeys; ++k) {
        IXSWITCH(icb, k);
        std::fill(rec.begin(), rec.end(), 0);
        long n = 0;
        for (int ok = IXFIRST(icb, rec.data()); ok; ok = IXNEXTR(icb, rec.data()))
            if (++n > most) _exit(3);
        std::fill(rec.begin(), rec.end(), 0xFE);
        n = 0;
        for (int ok = IXPREVR(icb, rec.data()); ok; ok = IXPREVR(icb, rec.data()))
            if (++n > most) _exit(3);
    }
    _exit(0);
}

TEST(Fuzz, DamagedStoreFilesNeverHangOrCrashAReader) {
    nvt::TempDir dir;
    std::string sound = dir.file("DTGOED"), name = dir.file("DTFUZZ");
    ICB *icb = IXCREATE(sound.c_str(), 1);
    IXUPDFCB(icb, 0, "fuzz,16");
    IXUPDFCB(icb, 1, "nr,I,1,4");
    IXUPDFCB(icb, 2, "naam,C,5,12,I,1,4");
    IXINIT(icb);
    std::mt19937 make(7);
    for (uint32_t i = 0; i < k_records; ++i) {
        uint8_t r[16] = {};
        uint32_t nr = (uint32_t)make();
        std::memcpy(r, &nr, 4);
        for (int j = 4; j < 12; ++j)
            r[j] = (uint8_t)('a' + make() % 4);
        IXWRITE(icb, r);
    }
    IXCLOSE(icb);
    const Bytes inx = slurp(sound + ".INX"), txt = slurp(sound + ".TXT");

    unsigned seed = std::random_device{}();
    if (const char *s = std::getenv("NV_SEED")) seed = (unsigned)std::strtoul(s, nullptr, 10);
    std::printf("seed %u (NV_SEED=%u repeats it)\n", seed, seed);
    std::fflush(stdout);
    std::mt19937 rnd(seed);
    int ended = 0, stopped = 0;
    for (int c = 0; c < 1000; ++c) {
        bool index = c % 4 != 3;
        Bytes i = inx, t = txt;
        Bytes &b = index ? i : t;
        size_t from = index ? 512 : 0; // a damaged header is refused at open
        for (int n = 1 + (int)(rnd() % 16); n > 0; --n)
            b[from + rnd() % (b.size() - from)] = (char)rnd();
        spill(name + ".INX", i);
        spill(name + ".TXT", t);
        pid_t pid = fork();
        if (pid == 0) {
            int null = ::open("/dev/null", O_WRONLY);
            ::dup2(null, 2);
            walk_child(name);
        }
        int st = 0;
        waitpid(pid, &st, 0);
        ASSERT_TRUE(WIFEXITED(st)) << "case " << c << ": signal " << WTERMSIG(st);
        ASSERT_TRUE(WEXITSTATUS(st) == 0 || WEXITSTATUS(st) == 1)
            << "case " << c << ": exit " << WEXITSTATUS(st);
        (WEXITSTATUS(st) == 0 ? ended : stopped)++;
    }
    std::printf("walks ended %d, stopped as damaged %d\n", ended, stopped);
    EXPECT_GT(stopped, 0);
}

} // namespace
