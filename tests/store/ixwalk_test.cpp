// Walks that the model run doesn't cover: the bulk load of a work index
// through the 50-slot block cache, the list scroller on a record that went
// away, rewriting a slot in place, reads of an exclusive file through its
// mapping beside small caches, and two processes changing one file in shared
// mode.
#include "store/ix.h"
#include "base/osfile.h"
#include "store/ixhook.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <map>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace nv::store;

namespace {

class StoreWalk : public ::testing::Test {
  protected:
    std::string dir;
    void SetUp() override {
        char tmpl[] = "/tmp/nvwalkXXXXXX";
        dir = mkdtemp(tmpl);
    }
    void TearDown() override {
        std::string cmd = "rm -rf " + dir;
        if (std::system(cmd.c_str()) != 0) std::perror("rm");
    }
    std::string path(const char *name) { return dir + "/" + name; }
};

struct Line {
    char naam[40];
    uint32_t nr;
};
static_assert(sizeof(Line) == 44);

// A work index of one long key, loaded in random order: the tree needs far
// more than the cache's 50 slots, so blocks are evicted and read back.
TEST_F(StoreWalk, BulkLoadThroughTheBlockCache) {
    std::string name = path("SEL.I01");
    ICB *icb = IXCREATE(name.c_str(), 1);
    Line l{};
    UPDFCB_INX("selectie", &l, sizeof l);
    UPDFCB_END(icb);
    UPDFCB_KEY(1, "naam", 0);
    UPDFCB_FLD('C', l.naam, 40);
    UPDFCB_FLD('I', &l.nr, 4);
    UPDFCB_END(icb);
    IXINITIX(icb);
    ASSERT_EQ(IXBULK(icb, 'O'), 1);
    EXPECT_EQ(icb->cached, 1);
    std::vector<uint32_t> nrs(1500);
    for (uint32_t i = 0; i < nrs.size(); ++i)
        nrs[i] = i;
    std::shuffle(nrs.begin(), nrs.end(), std::mt19937(7));
    for (uint32_t nr : nrs) {
        std::snprintf(l.naam, sizeof l.naam, "Klant %05u", 1499 - nr);
        l.nr = nr;
        icb->cur_rec = (int32_t)nr + 10; // points into another file
        ASSERT_EQ(IXBULK(icb, 'W', &l), 1);
    }
    ASSERT_EQ(IXBULK(icb, 'C'), 1);
    EXPECT_EQ(icb->cached, 0);
    EXPECT_EQ(icb->hdr.reccount, 1510);
    IXCLOSE(icb);

    icb = IXOPEN(name.c_str(), 0);
    std::memset(&l, 0, sizeof l);
    uint32_t n = 0;
    for (int ok = IXFIRSTK(icb, &l, 0); ok; ok = IXNEXTK(icb, &l, 0), ++n) {
        char want[40];
        std::snprintf(want, sizeof want, "Klant %05u", n);
        ASSERT_STREQ(l.naam, want);
        ASSERT_EQ(l.nr, 1499 - n);
        ASSERT_EQ(icb->cur_rec, (int32_t)(1499 - n) + 10);
    }
    EXPECT_EQ(n, 1500u);
    IXCLOSE(icb);
}

TEST_F(StoreWalk, SkipFromAVanishedRecordAndRewriteInPlace) {
    ICB *icb = IXCREATE(path("DTLIJST").c_str(), 1);
    IXUPDFCB(icb, 0, "lijst,8");
    IXUPDFCB(icb, 1, "nr,I,1,4");
    IXUPDFCB(icb, 2, "groep,I,5,6");
    IXINIT(icb);
    uint32_t rec[2];
    for (uint32_t i = 1; i <= 30; ++i) {
        rec[0] = i * 10, rec[1] = i % 3;
        ASSERT_EQ(IXWRITE(icb, rec), 1);
    }
    // Slot 4 holds number 50. Delete it, then skip 0 from it: one key on.
    rec[0] = 50;
    ASSERT_EQ(IXREAD(icb, rec), 1);
    int32_t gone = icb->cur_rec;
    ASSERT_EQ(gone, 4);
    IXDELETE(icb, rec);
    int32_t at = gone;
    rec[0] = 50;
    EXPECT_EQ(IXSKIP(icb, rec, 0, 0, &at), 1);
    EXPECT_EQ(rec[0], 60u);
    EXPECT_EQ(at, 5);
    // Two back from 60: 40, 30.
    EXPECT_EQ(IXSKIP(icb, rec, 0, -2, &at), 1);
    EXPECT_EQ(rec[0], 30u);
    // Past the end: stops on the last, result 0.
    EXPECT_EQ(IXSKIP(icb, rec, 0, 100, &at), 0);
    EXPECT_EQ(at, 29);

    // IXPUTREC rewrites the slot of the current record; no key moves.
    rec[0] = 70;
    ASSERT_EQ(IXREAD(icb, rec), 1);
    rec[1] |= 0x55000000;
    EXPECT_EQ(IXPUTREC(icb, rec), 1);
    uint32_t back[2];
    ASSERT_EQ(IXGET(icb, back, icb->cur_rec), 1);
    EXPECT_EQ(back[1], rec[1]);
    // IXUPDATE needs a current record.
    icb->cur_rec = -1;
    EXPECT_EQ(IXUPDATE(icb, rec), 0);
    IXCLOSE(icb);
}

// A process has one view of a file: a second open beside the exclusive one
// (a lookup "for the moment") finds what the first wrote before its close,
// whether it was opened before or after it.
TEST_F(StoreWalk, SecondOpenInTheProcessSeesTheExclusiveWrites) {
    std::string name = path("DTSTAM");
    ICB *w = IXCREATE(name.c_str(), 1);
    IXUPDFCB(w, 0, "stam,8");
    IXUPDFCB(w, 1, "nr,I,1,4");
    IXINIT(w);
    IXCLOSE(w);
    ICB *early = IXOPEN(name.c_str(), 0);
    w = IXOPEN(name.c_str(), 1);
    uint32_t rec[2];
    for (uint32_t i = 1; i <= 500; ++i) {
        rec[0] = i, rec[1] = i * 3;
        ASSERT_EQ(IXWRITE(w, rec), 1);
    }
    ICB *late = IXOPEN(name.c_str(), 0);
    for (ICB *r : {early, late}) {
        rec[0] = 377, rec[1] = 0;
        ASSERT_EQ(IXREAD(r, rec), 1);
        EXPECT_EQ(rec[1], 377u * 3);
    }
    IXCLOSE(late);
    IXCLOSE(early);
    IXCLOSE(w);
    ICB *r = IXOPEN(name.c_str(), 0);
    rec[0] = 500;
    EXPECT_EQ(IXREAD(r, rec), 1);
    EXPECT_EQ(r->hdr.reccount, 500);
    IXCLOSE(r);
}

int g_maps = 0;
bool g_refuse_maps = false;
void *counted_mmap(void *a, size_t n, int prot, int flags, int fd, off_t off) {
    ++g_maps;
    if (g_refuse_maps) return MAP_FAILED;
    return ::mmap(a, n, prot, flags, fd, off);
}

// An exclusive file reopened with tiny caches: blocks and slots the caches
// don't hold come out of the mapping while changed ones are written back
// underneath it, and the file grows past the first mapping. With the
// mapping refused, the same run goes through reads. Either way every record
// is found by both keys, in the session and after it.
TEST_F(StoreWalk, ExclusiveFileReadsThroughItsMappingOrWithout) {
    for (bool refuse : {false, true}) {
        SCOPED_TRACE(refuse ? "mapping refused" : "mapping");
        std::string name = path(refuse ? "DTMAPN" : "DTMAPJ");
        set_exclusive_cache_blocks(16);
        set_exclusive_data_pages(2);
        nv::os::calls().mmap = counted_mmap;
        g_maps = 0;
        g_refuse_maps = refuse;
        std::map<uint32_t, std::string> model; // number -> name
        std::mt19937 rng(7);
        auto put = [&](ICB *icb, uint32_t nr) {
            Line l{};
            std::snprintf(l.naam, sizeof l.naam, "N%06u-%05u", (unsigned)(rng() % 1000000),
                          (unsigned)nr); // unique, so that the order is the name's
            l.nr = nr;
            model[nr] = l.naam;
            ASSERT_EQ(IXWRITE(icb, &l), 1);
        };
        auto verify = [&](ICB *icb) {
            IXSWITCH(icb, 1);
            Line l{};
            for (uint32_t nr = 1; nr <= 27000; nr += 13) {
                l.nr = nr;
                auto it = model.find(nr);
                ASSERT_EQ(IXREAD(icb, &l), it != model.end() ? 1 : 0) << nr;
                if (it != model.end()) {
                    ASSERT_STREQ(l.naam, it->second.c_str()) << nr;
                }
            }
            std::vector<std::pair<std::string, uint32_t>> want, got;
            for (auto &[nr, n] : model)
                want.emplace_back(n, nr);
            std::sort(want.begin(), want.end());
            IXSWITCH(icb, 2);
            l = Line{};
            for (int ok = IXFIRST(icb, &l); ok; ok = IXNEXTR(icb, &l))
                got.emplace_back(l.naam, l.nr);
            ASSERT_EQ(got, want);
        };
        ICB *icb = IXCREATE(name.c_str(), 1);
        IXUPDFCB(icb, 0, "map,44");
        IXUPDFCB(icb, 1, "nr,I,41,44");
        IXUPDFCB(icb, 2, "naam,C,1,40");
        IXINIT(icb);
        for (uint32_t nr = 1; nr <= 2000; ++nr)
            put(icb, nr);
        IXCLOSE(icb);
        icb = IXOPEN(name.c_str(), 1);
        for (uint32_t nr = 1; nr <= 27000; ++nr) {
            put(icb, nr % 3 ? nr : 2000 + nr); // updates in place and appends
            if (nr % 1000 == 0) {
                Line l{};
                l.nr = nr / 2;
                IXSWITCH(icb, 1);
                if (IXREAD(icb, &l)) {
                    IXDELETE(icb, &l);
                    model.erase(l.nr);
                }
            }
        }
        verify(icb);
        IXCLOSE(icb);
        EXPECT_GE(g_maps, refuse ? 1 : 3) << "index, data, and data again once it has grown";
        nv::os::reset_calls();
        icb = IXOPEN(name.c_str(), 0);
        verify(icb);
        IXCLOSE(icb);
    }
    set_exclusive_cache_blocks(16384);
    set_exclusive_data_pages(1024);
}

// Two processes insert into one file in shared mode at the same time. Each
// change runs under the header lock with the busy mark; afterwards every
// record is there once, in order on both keys, and the mark is off.
TEST_F(StoreWalk, TwoProcessesInsertInSharedMode) {
    std::string name = path("DTSAMEN");
    ICB *icb = IXCREATE(name.c_str(), 1);
    IXUPDFCB(icb, 0, "samen,16");
    IXUPDFCB(icb, 1, "nr,I,1,4");
    IXUPDFCB(icb, 2, "tekst,C,5,16");
    IXINIT(icb);
    IXCLOSE(icb);
    const int per = 300;
    set_inuse_hook([](ICB *) { ::usleep(1000); }); // a lock wait, without the two seconds
    pid_t child = fork();
    ASSERT_GE(child, 0);
    int me = child == 0 ? 1 : 0;
    ICB *f = IXOPEN(name.c_str(), 2);
    uint8_t rec[16];
    for (int i = 0; i < per; ++i) {
        uint32_t nr = (uint32_t)(i * 2 + me);
        std::memset(rec, 0, sizeof rec);
        std::memcpy(rec, &nr, 4);
        std::snprintf((char *)rec + 4, 12, "r%07u", (nr * 7919u) % 100000u);
        if (IXWRITE(f, rec) != 1 && child == 0) _exit(2);
    }
    IXCLOSE(f);
    if (child == 0) _exit(0);
    int st = 0;
    ASSERT_EQ(waitpid(child, &st, 0), child);
    ASSERT_TRUE(WIFEXITED(st));
    ASSERT_EQ(WEXITSTATUS(st), 0);

    set_inuse_hook(nullptr);
    icb = IXOPEN(name.c_str(), 0);
    EXPECT_EQ(icb->hdr.reccount, 2 * per);
    EXPECT_EQ(icb->hdr.busy, 0);
    std::memset(rec, 0, sizeof rec);
    uint32_t expect = 0;
    for (int ok = IXFIRST(icb, rec); ok; ok = IXNEXTR(icb, rec), ++expect) {
        uint32_t nr;
        std::memcpy(&nr, rec, 4);
        ASSERT_EQ(nr, expect);
    }
    EXPECT_EQ(expect, 2u * per);
    IXSWITCH(icb, 2);
    std::memset(rec, 0, sizeof rec);
    std::string prev;
    int n = 0;
    for (int ok = IXFIRST(icb, rec); ok; ok = IXNEXTR(icb, rec), ++n) {
        std::string t((char *)rec + 4);
        ASSERT_LE(prev, t);
        prev = t;
    }
    EXPECT_EQ(n, 2 * per);
    IXCLOSE(icb);
}

// Two processes ask for the same absent key in shared mode: the first
// reserves it in the lock queue, the second waits (in-use hook) until the
// first has inserted the record, and then reads that record.
int g_waiting_fd = -1;
TEST_F(StoreWalk, ReservedKeyMakesTheSecondReaderWait) {
    std::string name = path("DTRES");
    ICB *icb = IXCREATE(name.c_str(), 1);
    IXUPDFCB(icb, 0, "reserve,8");
    IXUPDFCB(icb, 1, "nr,I,1,4");
    IXINIT(icb);
    IXCLOSE(icb);
    ICB *a = IXOPEN(name.c_str(), 2);
    uint32_t rec[2] = {42, 0};
    ASSERT_EQ(IXREADL(a, rec), 0); // absent: now reserved
    int pipefd[2];
    ASSERT_EQ(::pipe(pipefd), 0);
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::close(pipefd[0]);
        g_waiting_fd = pipefd[1];
        set_inuse_hook([](ICB *) {
            if (g_waiting_fd >= 0 && ::write(g_waiting_fd, "w", 1) == 1) {
                ::close(g_waiting_fd);
                g_waiting_fd = -1;
            }
            ::usleep(2000);
        });
        ICB *b = IXOPEN(name.c_str(), 2);
        uint32_t r[2] = {42, 0};
        int ok = IXREADL(b, r);
        IXUNLOCK(b, r);
        IXCLOSE(b);
        _exit(ok == 1 && r[1] == 4242 ? 0 : 3);
    }
    ::close(pipefd[1]);
    char c;
    ASSERT_EQ(::read(pipefd[0], &c, 1), 1); // the child is waiting
    ::close(pipefd[0]);
    rec[1] = 4242;
    ASSERT_EQ(IXWRITE(a, rec), 1);
    int st = 0;
    ASSERT_EQ(waitpid(child, &st, 0), child);
    EXPECT_TRUE(WIFEXITED(st) && WEXITSTATUS(st) == 0);
    IXCLOSE(a);
    // The queue is empty again.
    std::string inx = name + ".INX";
    FILE *f = std::fopen(inx.c_str(), "rb");
    ASSERT_TRUE(f);
    uint8_t q[5] = {};
    ASSERT_EQ(std::fseek(f, 2 * 512, SEEK_SET), 0);
    ASSERT_EQ(std::fread(q, 1, 5, f), 5u);
    std::fclose(f);
    EXPECT_EQ(q[0], 1);
    EXPECT_EQ(q[4], 0);
}

} // namespace
