// The bytes on disk against bytes worked out by hand, the key builder, the
// collation, and what the readers make of damaged files.
#include "base/osfile.h"
#include "store/ix.h"
#include "store/ixcoll.h"
#include "store/ixhook.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace nv::store;
using Bytes = std::vector<uint8_t>;

namespace {

Bytes read_file(const std::string &path) {
    Bytes b;
    FILE *f = std::fopen(path.c_str(), "rb");
    if (!f) return b;
    int c;
    while ((c = std::fgetc(f)) != EOF)
        b.push_back((uint8_t)c);
    std::fclose(f);
    return b;
}

void patch_file(const std::string &path, long off, const Bytes &bytes) {
    int fd = ::open(path.c_str(), O_RDWR);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::pwrite(fd, bytes.data(), bytes.size(), off), (ssize_t)bytes.size());
    ::close(fd);
}

Bytes le32(int32_t v) {
    uint32_t u = (uint32_t)v;
    return {(uint8_t)u, (uint8_t)(u >> 8), (uint8_t)(u >> 16), (uint8_t)(u >> 24)};
}
Bytes be32(uint32_t u) {
    return {(uint8_t)(u >> 24), (uint8_t)(u >> 16), (uint8_t)(u >> 8), (uint8_t)u};
}
Bytes cat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes &p : parts)
        out.insert(out.end(), p.begin(), p.end());
    return out;
}
Bytes slice(const Bytes &b, size_t off, size_t n) {
    return Bytes(b.begin() + (long)off, b.begin() + (long)(off + n));
}

class StoreFile : public ::testing::Test {
  protected:
    std::string dir;
    void SetUp() override {
        char tmpl[] = "/tmp/nvformatXXXXXX";
        dir = mkdtemp(tmpl);
    }
    void TearDown() override {
        nv::os::reset_calls();
        set_flash_hook(nullptr);
        set_eof_hook(nullptr);
        std::string cmd = "rm -rf " + dir;
        if (std::system(cmd.c_str()) != 0) std::perror("rm");
    }
    std::string path(const char *name) { return dir + "/" + name; }

    ICB *make(const char *name, const char *head, std::initializer_list<const char *> keys) {
        ICB *icb = IXCREATE(path(name).c_str(), 1);
        IXUPDFCB(icb, 0, head);
        int k = 1;
        for (const char *d : keys)
            IXUPDFCB(icb, k++, d);
        IXINIT(icb);
        return icb;
    }
};

// ---- the file format

TEST_F(StoreFile, EmptyFileOfTwoKeysIsHeaderRootsAndQueue) {
    IXCLOSE(make("DTLEVERANC", "leveranciers,332", {"lev-nr,I,1,2", "naam,C,3,12,I,1,2"}));
    Bytes inx = read_file(path("DTLEVERANC.INX"));
    ASSERT_EQ(inx.size(), 4u * 512);
    EXPECT_EQ(read_file(path("DTLEVERANC.TXT")).size(), 0u);

    Bytes h(512, 0);
    std::memcpy(&h[0], "DTLEVERANC", 10);       // name, NUL-padded to 11
    h[11] = 2;                                  // keys
    std::memcpy(&h[12], "\xFF\xFF\xFF\xFF", 4); // free list -1
    h[20] = 4;                                  // next free block K + 2
    h[24] = 332 & 0xFF, h[25] = 332 >> 8;       // record length
    std::memcpy(&h[26], "leveranciers", 12);
    // key 1 at 48: name, 'N', length 2, limit 505 / 6 = 84, I 1..2
    std::memcpy(&h[48], "lev-nr", 6);
    h[56] = 'N', h[57] = 2, h[58] = 84, h[59] = 'I', h[69] = 1, h[79] = 2;
    // key 2 at 90: 'J', 10 + 2 + 4 = 16, limit 505 / 20 = 25, C 3..12, I 1..2
    std::memcpy(&h[90], "naam", 4);
    h[98] = 'J', h[99] = 16, h[100] = 25, h[101] = 'C', h[102] = 'I';
    h[111] = 3, h[112] = 1, h[121] = 12, h[122] = 2;
    h[258] = 351 & 0xFF, h[259] = 351 >> 8;
    EXPECT_EQ(slice(inx, 0, 512), h);

    // Root of key 1: key 1, level 1, one entry: sentinel of 2 x 0xFF, pointer -1.
    Bytes r1(512, 0);
    r1[0] = 1, r1[1] = 1, r1[4] = 1;
    std::memset(&r1[5], 0xFF, 2 + 4);
    EXPECT_EQ(slice(inx, 512, 512), r1);
    Bytes r2(512, 0);
    r2[0] = 2, r2[1] = 1, r2[4] = 1;
    std::memset(&r2[5], 0xFF, 16 + 4);
    EXPECT_EQ(slice(inx, 1024, 512), r2);
    Bytes q(512, 0);
    q[0] = 1; // empty lock queue
    EXPECT_EQ(slice(inx, 1536, 512), q);

    struct stat st;
    ASSERT_EQ(::stat(path("DTLEVERANC.INX").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0660u);
    ASSERT_EQ(::stat(path("DTLEVERANC.TXT").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0660u);
}

TEST_F(StoreFile, DescriptionStrings) {
    ICB *icb = IXCREATE(path("DTCODE").c_str(), 1);
    IXUPDFCB(icb, 0, "codetabel-met-een-lange-titel,48");
    IXUPDFCB(icb, 1, "key_1,I,1,2,I,3,4"); // key 1 never has duplicates
    IXUPDFCB(icb, 2, "code-devices,I,1,2,C,5,44");
    IXUPDFCB(icb, 3, "  I , 5 , 5 ,  NODUPS , wie  ");
    IXUPDFCB(icb, 4, "tien,I,1,1,I,2,2,I,3,3,I,4,4,I,5,5,I,6,6,I,7,7,I,8,8,I,9,9,I,10,10,I,11,11");
    const IxHeader &h = icb->hdr;
    EXPECT_EQ(std::string(h.title, 19), "codetabel-met-een-l");
    EXPECT_EQ(h.reclen, 48);
    EXPECT_EQ(h.nkeys, 4);
    EXPECT_EQ(h.key[0].dups, 'N');
    EXPECT_EQ(h.key[0].keylen, 4);
    EXPECT_EQ(h.key[0].limit, 63);

    Bytes d2((const uint8_t *)&h.key[1], (const uint8_t *)&h.key[1] + 42);
    Bytes want(42, 0);
    std::memcpy(&want[0], "code-dev", 8); // cut at 8, no terminator
    want[8] = 'J', want[9] = 2 + 40 + 4, want[10] = 505 / 50;
    want[11] = 'I', want[12] = 'C', want[21] = 1, want[22] = 5, want[31] = 2, want[32] = 44;
    EXPECT_EQ(d2, want);

    EXPECT_EQ(std::string(h.key[2].name), "wie");
    EXPECT_EQ(h.key[2].dups, 'N');
    EXPECT_EQ(h.key[2].keylen, 1);
    // Ten fields at most: the eleventh is not read.
    EXPECT_EQ(h.key[3].type[9], 'I');
    EXPECT_EQ(h.key[3].keylen, 10 + 4);
    IXCLOSE(icb);
}

TEST_F(StoreFile, BuilderMakesTheSameDescriptors) {
    struct Rec {
        uint16_t nr;
        uint8_t soort;
        char pad;
        char naam[40];
    } r{};
    static_assert(sizeof(Rec) == 44);
    ICB *icb = IXCREATE(path("WORK.I01").c_str(), 1);
    UPDFCB_INX("werkbestand", &r, sizeof r);
    UPDFCB_END(icb);
    UPDFCB_KEY(1, "code-id", 0);
    UPDFCB_FLD('I', &r.nr, 2);
    UPDFCB_FLD('I', &r.soort, 1);
    UPDFCB_END(icb);
    UPDFCB_KEY(2, "naam", 1);
    UPDFCB_FLD('C', r.naam, 40);
    UPDFCB_END(icb);
    ICB *ref = IXCREATE(path("WORK.I02").c_str(), 1);
    IXUPDFCB(ref, 0, "werkbestand,44");
    IXUPDFCB(ref, 1, "code-id,NODUPS,I,1,2,I,3,3");
    IXUPDFCB(ref, 2, "naam,C,5,44");
    EXPECT_EQ(0, std::memcmp(&icb->hdr.key, &ref->hdr.key, sizeof icb->hdr.key));
    EXPECT_EQ(0, std::memcmp(icb->hdr.title, ref->hdr.title, sizeof icb->hdr.title));
    EXPECT_EQ(icb->hdr.reclen, 44);
    // A dotted name is a temporary file: index as named, data before the dot.
    IXINITIX(icb);
    IXCLOSE(icb);
    IXINITIX(ref);
    IXCLOSE(ref);
    EXPECT_EQ(read_file(path("WORK.I01")).size(), 4u * 512);
    EXPECT_EQ(std::string((const char *)read_file(path("WORK.I01")).data(), 8), "WORK.I01");
    struct stat st;
    EXPECT_EQ(::stat(path("WORK.TXT").c_str(), &st), 0);
}

TEST_F(StoreFile, FileNames) {
    IxPaths p;
    ASSERT_TRUE(derive_paths("data/DTKLT", &p));
    EXPECT_STREQ(p.index, "data/DTKLT.INX");
    EXPECT_STREQ(p.data, "data/DTKLT.TXT");
    EXPECT_FALSE(p.temporary);
    ASSERT_TRUE(derive_paths("./x.y/SEL.I03.tmp", &p));
    EXPECT_STREQ(p.index, "./x.y/SEL.I03.tmp");
    EXPECT_STREQ(p.data, "./x.y/SEL.TXT");
    EXPECT_TRUE(p.temporary);
    EXPECT_FALSE(derive_paths(std::string(300, 'A').c_str(), &p));
}

// One key of 8 bytes without duplicates: entries of 12 bytes, limit 42. The
// 41st key fills the root to 42 entries (with the sentinel): it splits into
// 29 on the left (a new block) and 13 on the right, and the root, which
// never moves, becomes their parent.
TEST_F(StoreFile, RootSplitOf42EntriesInto29And13) {
    ICB *icb = make("DTSPLIT", "split,12", {"k,I,1,4,I,5,8"});
    EXPECT_EQ(icb->hdr.key[0].limit, 42);
    uint8_t rec[12] = {};
    for (int i = 1; i <= 41; ++i) {
        rec[0] = (uint8_t)i;
        ASSERT_EQ(IXWRITE(icb, rec), 1);
    }
    IXCLOSE(icb);
    Bytes inx = read_file(path("DTSPLIT.INX"));
    ASSERT_EQ(inx.size(), 5u * 512); // header, root, queue, left, right
    EXPECT_EQ(slice(inx, 20, 4), le32(5));
    EXPECT_EQ(slice(inx, 16, 4), le32(41));

    auto entry = [](int i) { return cat({be32((uint32_t)i), be32(0), le32(i - 1)}); };
    Bytes left(512, 0);
    left[0] = 1, left[1] = 1, left[4] = 29;
    for (int i = 1; i <= 29; ++i) {
        Bytes e = entry(i);
        std::copy(e.begin(), e.end(), left.begin() + 5 + (i - 1) * 12);
    }
    EXPECT_EQ(slice(inx, 3 * 512, 512), left);

    Bytes right(512, 0);
    right[0] = 1, right[1] = 1, right[4] = 13;
    for (int i = 30; i <= 41; ++i) {
        Bytes e = entry(i);
        std::copy(e.begin(), e.end(), right.begin() + 5 + (i - 30) * 12);
    }
    std::memset(&right[5 + 12 * 12], 0xFF, 12); // the sentinel, pointer -1
    EXPECT_EQ(slice(inx, 4 * 512, 512), right);

    Bytes root(512, 0);
    root[0] = 1, root[1] = 2, root[4] = 2;
    Bytes sep = cat({be32(29), be32(0), le32(3)});
    std::copy(sep.begin(), sep.end(), root.begin() + 5);
    std::memset(&root[17], 0xFF, 8);
    Bytes p4 = le32(4);
    std::copy(p4.begin(), p4.end(), root.begin() + 25);
    EXPECT_EQ(slice(inx, 512, 512), root);
}

TEST_F(StoreFile, FreeSlotsFormAStackAndALeadingFFIsStillLive) {
    ICB *icb = make("DTVRIJ", "vrij,8", {"nr,I,2,3"});
    uint8_t rec[8];
    for (int i = 0; i < 4; ++i) {
        std::memset(rec, 0xFF, 8);
        rec[1] = (uint8_t)i, rec[2] = 0; // key i; byte 0 is 0xFF, byte 6 is not
        rec[6] = 0x41;
        ASSERT_EQ(IXWRITE(icb, rec), 1);
    }
    // Delete slot 2, then slot 0: the list is 0 -> 2 -> end.
    for (int i : {2, 0}) {
        std::memset(rec, 0, 8);
        rec[1] = (uint8_t)i;
        ASSERT_EQ(IXREAD(icb, rec), 1);
        uint8_t keep[8];
        std::memcpy(keep, rec, 8);
        IXDELETE(icb, rec);
        EXPECT_EQ(0, std::memcmp(keep, rec, 8));
    }
    IXCLOSE(icb);
    Bytes dat = read_file(path("DTVRIJ.TXT"));
    ASSERT_EQ(dat.size(), 32u);
    EXPECT_EQ(slice(dat, 0, 8), Bytes({0xFF, 2, 0, 0, 0, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(slice(dat, 16, 8), Bytes(8, 0xFF));
    EXPECT_EQ(slice(dat, 8, 8), Bytes({0xFF, 1, 0, 0xFF, 0xFF, 0xFF, 0x41, 0xFF}));
    Bytes inx = read_file(path("DTVRIJ.INX"));
    EXPECT_EQ(slice(inx, 12, 4), le32(0)); // head
    EXPECT_EQ(slice(inx, 16, 4), le32(4)); // count

    icb = IXOPEN(path("DTVRIJ").c_str(), 1);
    uint8_t got[8];
    EXPECT_EQ(IXGET(icb, got, 1), 1); // begins with 0xFF, byte 6 is 0x41: live
    EXPECT_EQ(IXGET(icb, got, 0), 0);
    EXPECT_EQ(IXGET(icb, got, 4), -1);
    EXPECT_EQ(IXGET(icb, got, -1), -1);
    // Re-inserts pop the stack: slot 0, then slot 2, then the end.
    for (int i : {10, 11, 12}) {
        std::memset(rec, 0, 8);
        rec[1] = (uint8_t)i;
        ASSERT_EQ(IXWRITE(icb, rec), 1);
    }
    IXSWITCH(icb, 1);
    int32_t slots[3];
    for (int i : {10, 11, 12}) {
        std::memset(rec, 0, 8);
        rec[1] = (uint8_t)i;
        ASSERT_EQ(IXREAD(icb, rec), 1);
        slots[i - 10] = icb->cur_rec;
    }
    EXPECT_EQ(slots[0], 0);
    EXPECT_EQ(slots[1], 2);
    EXPECT_EQ(slots[2], 4);
    EXPECT_EQ(icb->hdr.freelist, -1);
    IXCLOSE(icb);

    uint8_t s[8];
    std::memset(s, 0xFF, 8);
    EXPECT_TRUE(slot_is_free(s, 8));
    s[2] = 0; // bytes 1 to 4 are not looked at
    EXPECT_TRUE(slot_is_free(s, 8));
    s[7] = 0xFE;
    EXPECT_FALSE(slot_is_free(s, 8));
}

// An exclusive file keeps its header in memory: a delete in between must not
// bring back the counters of the disk.
TEST_F(StoreFile, DeleteInExclusiveModeKeepsTheSessionsCounters) {
    ICB *icb = make("DTTEL", "tel,4", {"nr,I,1,4"});
    uint32_t n;
    for (n = 1; n <= 100; ++n)
        ASSERT_EQ(IXWRITE(icb, &n), 1);
    n = 50;
    ASSERT_EQ(IXREAD(icb, &n), 1);
    IXDELETE(icb, &n);
    for (n = 101; n <= 200; ++n)
        ASSERT_EQ(IXWRITE(icb, &n), 1);
    int32_t blocks = icb->hdr.nextblk;
    IXCLOSE(icb);
    icb = IXOPEN(path("DTTEL").c_str(), 0);
    EXPECT_EQ(icb->hdr.reccount, 199); // 200 written, one slot reused
    EXPECT_EQ(icb->hdr.freelist, -1);
    EXPECT_EQ(icb->hdr.nextblk, blocks);
    int live = 0;
    n = 0;
    for (int ok = IXFIRST(icb, &n); ok; ok = IXNEXTR(icb, &n))
        ++live;
    EXPECT_EQ(live, 199);
    IXCLOSE(icb);
}

// ---- keys

TEST_F(StoreFile, KeyBytesFromARecordAndBack) {
    ICB *icb = make("DTKEY", "key,16", {"nr,I,1,4", "mix,C,5,10,I,11,12,I,13,15"});
    uint8_t rec[16] = {0x04, 0x03, 0x02, 0x01, 'a', 'b', 0, 'x', 'y', 'z', 0x34, 0x12, 9, 9, 9, 0};
    IXSWITCH(icb, 2);
    icb->cur_rec = 0x0A0B0C0D;
    EXPECT_EQ(IXKEYLEN(icb, 0), 6 + 2 + 3 + 4);
    EXPECT_EQ(IXKEYLEN(icb, 1), 6);
    EXPECT_EQ(IXKEYLEN(icb, 2), 8);
    IXBLDKEY(icb, rec, IXKEYLEN(icb, 0));
    // Text up to the NUL, the rest cleared; integer reversed; width 3 gives
    // zeros; the record number most significant first.
    Bytes want = {'a', 'b', 0, 0, 0, 0, 0x12, 0x34, 0, 0, 0, 0x0A, 0x0B, 0x0C, 0x0D};
    EXPECT_EQ(Bytes(icb->key, icb->key + 15), want);
    // A partial length takes whole fields and clears the rest.
    std::memset(icb->key, 0xEE, sizeof icb->key);
    IXBLDKEY(icb, rec, 6);
    EXPECT_EQ(Bytes(icb->key, icb->key + 15),
              Bytes({'a', 'b', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));

    IXSWITCH(icb, 1);
    ASSERT_EQ(IXWRITE(icb, rec), 1);
    IXSWITCH(icb, 2);
    uint8_t back[16] = {};
    ASSERT_EQ(IXFIRSTK(icb, back, 1), 1);
    EXPECT_EQ(Bytes(back + 4, back + 12), Bytes({'a', 'b', 0, 0, 0, 0, 0x34, 0x12}));
    EXPECT_EQ(Bytes(back, back + 4), Bytes(4, 0)); // not a field of this key
    IXCLOSE(icb);
}

TEST_F(StoreFile, EqualUniqueKeysGoInNewestFirst) {
    ICB *icb = make("DTDUB", "dub,8", {"nr,I,1,4"});
    uint8_t a[8] = {7, 0, 0, 0, 'a'}, b[8] = {7, 0, 0, 0, 'b'};
    ASSERT_EQ(IXINSERT(icb, a), 1);
    ASSERT_EQ(IXINSERT(icb, b), 1);
    uint8_t r[8] = {7};
    ASSERT_EQ(IXFOUND(icb, r), 1);
    EXPECT_EQ(icb->cur_rec, 1);
    ASSERT_EQ(IXREAD(icb, r), 1);
    EXPECT_EQ(r[4], 'b');
    IXCLOSE(icb);
}

// ---- collation

int coll(const char *a, const char *b, int w = 8) {
    uint8_t x[16] = {}, y[16] = {};
    std::memcpy(x, a, std::strlen(a));
    std::memcpy(y, b, std::strlen(b));
    int r = coll_compare(x, y, w);
    return r < 0 ? -1 : r > 0;
}

TEST(Collation, CaseAccentsControlsAndLigatures) {
    EXPECT_EQ(coll("Jansen", "JANSEN"), 0);
    EXPECT_EQ(coll("jansen", "Jansen"), 0);
    // Accents are equal in the first pass and break ties by their mark.
    EXPECT_EQ(coll("m\x84ller", "muller"), -1); // a-umlaut is an A
    EXPECT_EQ(coll("m\x84ller", "maller"), 1);  // same letters: mark 0x22 above 0x01
    EXPECT_EQ(coll("m\x84ller", "mbller"), -1); // the letter decides before the mark
    EXPECT_EQ(coll("\x82t\x82", "ete"), 1);     // e-acute
    EXPECT_EQ(coll("\x90", "B"), -1);           // 0x90 is an A by the table
    EXPECT_EQ(coll("\x90", "A"), 1);
    EXPECT_EQ(coll("\xA4", "n"), 1);
    EXPECT_EQ(coll("\xA4", "o"), -1);
    // A control character does not count in the first pass.
    EXPECT_EQ(coll("a\x01z", "ab"), 1);
    EXPECT_EQ(coll("a\x01"
                   "b",
                   "ac"),
              -1);
    // Ligatures expand to two letters: equal first pass, shorter second.
    EXPECT_EQ(coll("\x91sop", "aesop"), -1);
    EXPECT_EQ(coll("\x91sop", "aesoq"), -1);
    EXPECT_EQ(coll("\x91t", "aes"), 1);
    EXPECT_EQ(coll("stra\xE1"
                   "e",
                   "strasse"),
              -1);
    EXPECT_EQ(coll("stra\xE1"
                   "e",
                   "strassf"),
              -1);
    EXPECT_EQ(coll("stra\xE1"
                   "f",
                   "strasse"),
              1);
    // Characters outside the letters keep their own place.
    EXPECT_EQ(coll("\x9C", "Z"), 1);
    EXPECT_EQ(coll("a", "a\xFF"), -1);
    // Lower-case letters are the upper-case ones: '[' (0x5B) sorts after 'z'.
    EXPECT_EQ(coll("z", "["), -1);
}

// A change of case only compares equal: the index stays as it was.
TEST_F(StoreFile, CaseOnlyUpdateLeavesTheIndexAlone) {
    ICB *icb = make("DTNAAM", "naam,12", {"nr,I,1,2", "naam,C,3,12"});
    uint8_t rec[12] = {1, 0, 'j', 'a', 'n'};
    ASSERT_EQ(IXWRITE(icb, rec), 1);
    IXCLOSE(icb);
    Bytes before = read_file(path("DTNAAM.INX"));
    icb = IXOPEN(path("DTNAAM").c_str(), 1);
    rec[2] = 'J', rec[3] = 'A', rec[4] = 'N';
    ASSERT_EQ(IXWRITE(icb, rec), 1);
    IXCLOSE(icb);
    EXPECT_EQ(read_file(path("DTNAAM.INX")), before);
    EXPECT_EQ(read_file(path("DTNAAM.TXT"))[2], 'J');
}

// ---- modes, versions, hooks

int g_flashes;
std::string g_flash_text;
int count_flash(int, const char *, const char *text) {
    ++g_flashes;
    g_flash_text = text;
    return 1;
}

TEST_F(StoreFile, WriteOnReadOnlyWarnsAndWritesNothing) {
    IXCLOSE(make("DTRO", "ro,4", {"nr,I,1,4"}));
    Bytes before = read_file(path("DTRO.INX"));
    set_flash_hook(count_flash);
    g_flashes = 0;
    ICB *icb = IXOPEN(path("DTRO").c_str(), 0);
    uint32_t v = 5;
    EXPECT_EQ(IXWRITE(icb, &v), 1);
    EXPECT_EQ(g_flashes, 1);
    EXPECT_EQ(g_flash_text, "IXWRITE op een bestand dat READ-ONLY geopend is");
    IXCLOSE(icb);
    EXPECT_EQ(read_file(path("DTRO.INX")), before);
    EXPECT_EQ(read_file(path("DTRO.TXT")).size(), 0u);
}

TEST_F(StoreFile, UnknownVersionIsRewrittenAndOldVersionRefused) {
    IXCLOSE(make("DTVER", "ver,4", {"nr,I,1,4"}));
    patch_file(path("DTVER.INX"), 258, {0x07, 0x00});
    IXCLOSE(IXOPEN(path("DTVER").c_str(), 0));
    EXPECT_EQ(slice(read_file(path("DTVER.INX")), 258, 2), Bytes({351 & 0xFF, 351 >> 8}));
    patch_file(path("DTVER.INX"), 258, {350 & 0xFF, 350 >> 8});
    set_flash_hook(count_flash);
    EXPECT_EXIT(IXOPEN(path("DTVER").c_str(), 0), ::testing::ExitedWithCode(1),
                "U kunt het bestand converteren met ixremake");
}

// ---- damaged files

TEST_F(StoreFile, DamagedFilesGiveAClearEnd) {
    IXCLOSE(make("DTDEF", "defect,4", {"nr,I,1,4"}));
    ICB *icb = IXOPEN(path("DTDEF").c_str(), 1);
    for (uint32_t v = 1; v <= 200; ++v)
        ASSERT_EQ(IXWRITE(icb, &v), 1); // root at level 2
    IXCLOSE(icb);
    Bytes good = read_file(path("DTDEF.INX"));
    auto restore = [&] { patch_file(path("DTDEF.INX"), 0, good); };
    auto walk = [&](int mode) {
        ICB *f = IXOPEN(path("DTDEF").c_str(), mode);
        uint32_t v = 0;
        int n = 0;
        for (int ok = IXFIRST(f, &v); ok; ok = IXNEXTR(f, &v))
            ++n;
        IXCLOSE(f);
        std::exit(n == 200 ? 0 : 3);
    };
    ASSERT_EXIT(walk(0), ::testing::ExitedWithCode(0), "");

    patch_file(path("DTDEF.INX"), 11, {9}); // nine keys
    EXPECT_EXIT(walk(0), ::testing::ExitedWithCode(1), "geen geldig indexbestand");
    restore();
    patch_file(path("DTDEF.INX"), 45, {1}); // busy mark
    EXPECT_EXIT(walk(0), ::testing::ExitedWithCode(1), "Niet consistent");
    restore();
    patch_file(path("DTDEF.INX"), 512 + 4, {100}); // root count beyond the limit
    EXPECT_EXIT(walk(1), ::testing::ExitedWithCode(1), "Niet consistent");
    restore();
    patch_file(path("DTDEF.INX"), 512 + 5 + 4, le32(0)); // root points at the header
    EXPECT_EXIT(walk(1), ::testing::ExitedWithCode(1), "Niet consistent");
    restore();
    patch_file(path("DTDEF.INX"), 512 + 5 + 4, le32(1000)); // beyond the end
    EXPECT_EXIT(walk(1), ::testing::ExitedWithCode(1), "Niet consistent");
    set_eof_hook([](const char *) { return false; }); // read-only: a tool gives up
    EXPECT_EXIT(walk(0), ::testing::ExitedWithCode(1), "Niet consistent");
    restore();
    patch_file(path("DTDEF.INX"), 3 * 512 + 1, {2}); // a leaf that claims level 2
    EXPECT_EXIT(walk(1), ::testing::ExitedWithCode(1), "Niet consistent");
    restore();

    // An index cut below one block can't be opened.
    ASSERT_EQ(::truncate(path("DTDEF.INX").c_str(), 300), 0);
    EXPECT_EXIT(IXOPEN(path("DTDEF").c_str(), 0), ::testing::ExitedWithCode(1), "RDISAM");
    EXPECT_EXIT(IXOPEN(path("NIETER").c_str(), 0), ::testing::ExitedWithCode(1), "RDISAM");
}

TEST_F(StoreFile, CutDataFileReadsAsFreeAndDamagedFreeListLosesNothing) {
    ICB *icb = make("DTCUT", "cut,8", {"nr,I,1,4"});
    uint8_t rec[8] = {};
    for (int i = 1; i <= 10; ++i) {
        rec[0] = (uint8_t)i, rec[4] = 'v';
        ASSERT_EQ(IXWRITE(icb, rec), 1);
    }
    IXCLOSE(icb);
    ASSERT_EQ(::truncate(path("DTCUT.TXT").c_str(), 8 * 8 + 3), 0); // slot 8 cut, 9 gone
    icb = IXOPEN(path("DTCUT").c_str(), 1);
    EXPECT_EQ(IXGET(icb, rec, 8), 0);
    EXPECT_EQ(IXGET(icb, rec, 9), 0);
    std::memset(rec, 0, 8);
    int n = 0;
    for (int ok = IXFIRST(icb, rec); ok; ok = IXNEXTR(icb, rec))
        ++n;
    EXPECT_EQ(n, 8); // the walk steps over entries of missing records
    // A free-list head that points at a live record: the insert appends.
    icb->hdr.freelist = 3;
    rec[0] = 50;
    ASSERT_EQ(IXWRITE(icb, rec), 1);
    EXPECT_EQ(icb->cur_rec, 10);
    EXPECT_EQ(IXGET(icb, rec, 3), 1);
    EXPECT_EQ(rec[0], 4);
    // Deleting a slot twice does not put it on the list twice.
    rec[0] = 2;
    ASSERT_EQ(IXREAD(icb, rec), 1);
    IXDELETE(icb, rec);
    IXDELETE(icb, rec);
    EXPECT_EQ(icb->hdr.freelist, 1);
    uint8_t slot[8];
    ASSERT_EQ(IXGET(icb, slot, 1), 0);
    EXPECT_EQ(get_le32(slot + 1), -1);
    IXCLOSE(icb);
}

// Failures of the disk underneath end the program with the file and errno,
// instead of going on as if the write had happened.
ssize_t full_disk(int, const void *, size_t, off_t) {
    errno = ENOSPC;
    return -1;
}

TEST_F(StoreFile, FailedWritesAreFatal) {
    ICB *icb = make("DTVOL", "vol,4", {"nr,I,1,4"});
    auto write_one = [&] {
        nv::os::calls().pwrite = full_disk;
        uint32_t v = 1;
        IXWRITE(icb, &v);
        IXCLOSE(icb); // an exclusive file writes back at the latest here
        std::exit(0);
    };
    EXPECT_EXIT(write_one(), ::testing::ExitedWithCode(1), "RDISAM\\(28\\)");
    IXCLOSE(icb);
}

// ---- the tool

std::string run(const std::string &cmd) {
    std::string out;
    FILE *p = ::popen((cmd + " 2>&1").c_str(), "r");
    if (!p) return out;
    char buf[512];
    while (std::fgets(buf, sizeof buf, p))
        out += buf;
    int st = ::pclose(p);
    out += "exit " + std::to_string(WEXITSTATUS(st));
    return out;
}

TEST_F(StoreFile, IxutilRoundTrip) {
    std::string ix = std::string(NV_BIN_DIR) + "/ixutil";
    if (::access(ix.c_str(), X_OK) != 0) GTEST_SKIP() << "ixutil not built";
    std::string f = path("DTKLT");
    EXPECT_EQ(run(ix + " create " + f + " 'klanten,8' 'nr,I,1,2' 'naam,C,3,8,I,1,2'"), "exit 0");
    EXPECT_NE(run(ix + " create " + f + " 'klanten,8' 'nr,I,1,2'").find("exists"),
              std::string::npos);
    EXPECT_NE(
        run(ix + " create " + path("DTX") + " 'x,8' 'nr,I,1,2' 'lang,C,3,9'").find("wrong layout"),
        std::string::npos);
    EXPECT_EQ(run("printf 'write 02006a616e000000\nwrite 01004a414e000000\nwrite 0300616e6e610000\n"
                  "delete 0100000000000000\n' | " +
                  ix + " apply " + f),
              "exit 0");
    EXPECT_EQ(run(ix + " dump " + f), "02006a616e000000\n0300616e6e610000\nexit 0");
    EXPECT_EQ(run(ix + " dump " + f + " --key 2"), "0300616e6e610000\n02006a616e000000\nexit 0");
    std::string info = run(ix + " info " + f);
    EXPECT_NE(info.find("record count: 3\n"), std::string::npos) << info;
    EXPECT_NE(info.find("free list: 1\n"), std::string::npos) << info;
    EXPECT_NE(info.find("key 2: naam dups=J length=12 limit=31 fields=C,3,8,I,1,2\n"),
              std::string::npos)
        << info;
    // A bad line stops the run; what went before it is kept.
    std::string bad = run("printf 'write 0400787878000000\nwrite 12\n' | " + ix + " apply " + f);
    EXPECT_NE(bad.find("line 2"), std::string::npos) << bad;
    EXPECT_NE(bad.find("exit 1"), std::string::npos);
    EXPECT_NE(run(ix + " dump " + f).find("0400787878000000"), std::string::npos);
    // Not a store file at all: a message, the file untouched.
    std::string junk = path("JUNK");
    ASSERT_EQ(std::system(
                  ("head -c 2048 /dev/urandom > " + junk + ".INX; touch " + junk + ".TXT").c_str()),
              0);
    Bytes before = read_file(junk + ".INX");
    std::string out = run(ix + " dump " + junk);
    EXPECT_NE(out.find("not a store index file"), std::string::npos) << out;
    EXPECT_NE(out.find("exit 1"), std::string::npos);
    EXPECT_EQ(read_file(junk + ".INX"), before);
    EXPECT_NE(run(ix + " dump " + f + " --key 7").find("keys 1 to 2"), std::string::npos);
}

} // namespace
