// Walks that the model run doesn't cover: the bulk load of a work index
// through the 50-slot block cache, the list scroller on a record that went
// away, rewriting a slot in place, reads of an exclusive file through its
// mapping beside small caches (shared mode: ixshared_test.cpp).
#include "base/osfile.h"
#include "store/ix.h"
#include "store/ixhook.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
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

} // namespace
