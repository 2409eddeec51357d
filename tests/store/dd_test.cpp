// The data dictionary: every file of it made, opened, written and checked;
// the statuses of dd_verify; and the size tables: the four orders of mtread
// and the changes, read back through the files.
#include "store/dd.h"
#include "store/iomaat.h"
#include "store/ix.h"
#include "store/ixcheck.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

using namespace nv::store;

namespace {

class Dict : public ::testing::Test {
  protected:
    std::string dir;
    void SetUp() override {
        char tmpl[] = "/tmp/nvddXXXXXX";
        dir = mkdtemp(tmpl);
    }
    void TearDown() override {
        set_iomaat_error_hook(nullptr);
        iomaat_files(nullptr, nullptr);
        iomaat_own_brand(0);
        std::string cmd = "rm -rf " + dir;
        if (std::system(cmd.c_str()) != 0) std::perror("rm");
    }
    std::string path(const std::string &n) { return dir + "/" + n; }
};

// Each file is made from its rows, compares equal, verifies sound, and takes
// a record whose key fields all differ from a second one: both are found
// under every key, which fails if a key lies outside the record or the rows
// of a file disagree.
TEST_F(Dict, EveryFileCanBeMadeUsedAndVerified) {
    EXPECT_EQ(dd_rows(), 126);
    int n;
    const uint8_t *files = dd_files(&n);
    ASSERT_EQ(n, 66);
    for (int i = 0; i < n; ++i) {
        int nr = files[i];
        SCOPED_TRACE("file " + std::to_string(nr));
        std::string name = path("F" + std::to_string(nr));
        ASSERT_TRUE(dd_create_pair(nr, name.c_str()));
        EXPECT_EQ(dd_compare(nr, name.c_str()), 0);
        ICB *icb = IXOPEN(name.c_str(), 1);
        char title[19];
        std::string want = *dd_title(nr, title) ? title : "F" + std::to_string(nr);
        EXPECT_EQ(std::string(icb->hdr.title, strnlen(icb->hdr.title, 19)), want.substr(0, 19));
        std::vector<uint8_t> a(icb->hdr.reclen, 0x11), b(icb->hdr.reclen, 0x22);
        IXWRITE(icb, a.data());
        IXWRITE(icb, b.data());
        for (int k = 1; k <= icb->hdr.nkeys; ++k) {
            IXSWITCH(icb, k);
            std::vector<uint8_t> r(a.size(), 0);
            int found = 0;
            for (int ok = IXFIRST(icb, r.data()); ok; ok = IXNEXTR(icb, r.data()))
                found += r == a || r == b;
            EXPECT_EQ(found, 2) << "key " << k;
        }
        IXCLOSE(icb);
        dd_result res{};
        EXPECT_TRUE(dd_verify(nr, name.c_str(), &res));
        EXPECT_EQ(res.status, 0);
    }
    dd_row row;
    EXPECT_FALSE(dd_lookup(46, 1, &row));
    EXPECT_EQ(row.file, 250);
    char t[19];
    EXPECT_STREQ(dd_title(25, t), "klanten_extern");
    EXPECT_STREQ(dd_title(5, t), "");
    EXPECT_EQ(dd_number("/x/DTKLT"), 24);
    EXPECT_STREQ(dd_name(32), "DTMAAT");
}

// Each result as "result status index-created data-created rebuilt layout
// option-after".
TEST_F(Dict, VerifyTellsWhatIsWrongAndRepairsWhatItMay) {
    auto verify = [&](int nr, const char *name, int repair) {
        dd_result r{};
        r.repair = repair;
        bool ok = dd_verify(nr, path(name).c_str(), &r);
        char s[40];
        std::snprintf(s, sizeof s, "%d %d %d%d%d %d %d", ok, r.status, r.index_created,
                      r.data_created, r.rebuilt, r.layout_diff, r.repair);
        return std::string(s);
    };
    EXPECT_EQ(verify(24, "DTKLT", 0), "0 1 000 0 0");
    EXPECT_EQ(verify(24, "DTKLT", 1), "1 0 110 0 0");
    ::unlink(path("DTKLT.TXT").c_str());
    EXPECT_EQ(verify(24, "DTKLT", 0), "0 2 000 0 0");
    EXPECT_EQ(verify(13, "DTDD", 1), "0 4 110 0 0") << "delivered with data: empty is wrong";
    EXPECT_EQ(verify(25, "DTKLT", 1), "0 3 010 2 0")
        << "the missing data made, the record length told";

    // Layout codes from patched headers of DTKLT.
    ASSERT_TRUE(dd_create_pair(24, path("DTKLT").c_str()));
    auto patched = [&](off_t off, uint8_t v) {
        EXPECT_EQ(std::system(("cp " + path("DTKLT.INX") + " " + path("P.INX")).c_str()), 0);
        int fd = ::open(path("P.INX").c_str(), O_RDWR);
        EXPECT_EQ(::pwrite(fd, &v, 1, off), 1);
        ::close(fd);
        return dd_compare(24, path("P").c_str());
    };
    EXPECT_EQ(patched(11, 2), 3);            // key count
    EXPECT_EQ(patched(48 + 42 + 8, 'J'), 4); // duplicates of key 2
    EXPECT_EQ(patched(48 + 84 + 31, 95), 5); // last byte of the first field of key 3
    EXPECT_EQ(dd_compare(46, path("DTKLT").c_str()), 1);

    // A damaged index: refused without repair, rebuilt with it.
    ICB *icb = IXOPEN(path("DTKLT").c_str(), 1);
    std::vector<uint8_t> rec(312, 0);
    for (uint32_t nr = 1; nr <= 50; ++nr) {
        std::memcpy(rec.data(), &nr, 4);
        IXWRITE(icb, rec.data());
    }
    IXCLOSE(icb);
    EXPECT_EQ(::truncate(path("DTKLT.INX").c_str(), 5 * 512), 0);
    EXPECT_EQ(verify(24, "DTKLT", 0), "0 5 000 0 0");
    EXPECT_EQ(verify(24, "DTKLT", 1), "1 0 001 0 0");
}

// ---- size tables

maat_entry size(const char *code, int number = 0, int position = 0) {
    maat_entry e{};
    std::memcpy(e.code, code, strnlen(code, 3));
    e.number = (uint8_t)number, e.position = (uint8_t)position;
    e.ext_l = 1000u + (uint32_t)number;
    return e;
}
std::string code(const maat_entry &e) {
    return std::string(e.code, 3);
}
// One read as "code number position rank extension", or "none" and the code
// the entry holds afterwards.
std::string read1(iomaat *h, int action, maat_entry e, int keynr) {
    if (!mtread(h, action, &e, keynr)) return "none " + code(e);
    char s[40];
    std::snprintf(s, sizeof s, "%.3s %d %d %d %u", e.code, e.number, e.position, e.rank, e.ext_l);
    return s;
}
// The codes in the order of a walk.
std::string walk(iomaat *h, int keynr) {
    std::string out;
    maat_entry e{};
    for (int ok = mtread(h, 'F', &e, keynr); ok; ok = mtread(h, 'N', &e, keynr))
        out += code(e) + (out.size() > 200 ? "!" : "");
    return out;
}

TEST_F(Dict, SizeTablesKeepNumbersAndPositionsInStep) {
    ASSERT_TRUE(dd_create_pair(32, path("DTMAAT").c_str()));
    ASSERT_TRUE(dd_create_pair(35, path("DTMTOM").c_str()));
    ICB *maat = IXOPEN(path("DTMAAT").c_str(), 2), *mtom = IXOPEN(path("DTMTOM").c_str(), 2);
    iomaat_files(maat, mtom);

    iomaat *h = iomaat_open(7, 1, IOMAAT_LOCK | IOMAAT_EXT);
    // Numbers 5, 3, 9, 1 at positions that shift as sizes go in before them.
    for (auto e : {size("M  ", 5, 1), size("XL ", 3, 2), size("S  ", 9, 1), size("L  ", 1, 3)})
        ASSERT_EQ(iomaat_add(h, &e), 1);
    auto far = size("XXL", 2, 7), taken = size("ZZZ", 5, 1);
    EXPECT_EQ(iomaat_add(h, &far), 0) << "beyond the first free position";
    EXPECT_EQ(iomaat_add(h, &taken), 0) << "number in use";
    EXPECT_EQ(walk(h, 2), "S  M  L  XL ");
    EXPECT_EQ(walk(h, 1), "L  XL M  S  ");
    EXPECT_EQ(walk(h, 3), "L  M  S  XL ");
    uint8_t mask[12] = {};
    mask[0] = 1 << 1 | 1 << 3; // numbers 1 and 3
    iomaat_mask(h, mask);
    EXPECT_EQ(walk(h, 4), "L  XL ");

    maat_entry e{};
    e.rank = 9;
    EXPECT_EQ(read1(h, 'R', size("N  "), 3), "none N  ") << "put back as it came";
    EXPECT_EQ(read1(h, 'F', size("N  "), 3), "S   9 1 0 1009") << "the next higher code";
    EXPECT_EQ(read1(h, 'P', size("S  "), 3), "M   5 2 0 1005");
    EXPECT_EQ(read1(h, 'P', size("", 0, 0), 2), "XL  3 4 2 1003") << "before the first: the last";
    EXPECT_EQ(read1(h, 'P', e, 4), "XL  3 4 2 1003") << "past the end: the last marked";

    ASSERT_EQ(iomaat_remove(h, &(e = size("", 0, 1))), 1); // S, number 9, at position 1
    EXPECT_EQ(walk(h, 2), "M  L  XL ");
    EXPECT_EQ(read1(h, 'R', size("", 1), 1), "L   1 2 1 1001") << "moved up, number kept";
    e = size("XS ", 1);
    e.ext_l = 77;
    ASSERT_EQ(iomaat_set(h, &e), 1);
    iomaat_close(h);

    // Read back without lock: the same table, the extension record too.
    h = iomaat_open(7, 1, 0);
    EXPECT_EQ(walk(h, 2), "M  XS XL ");
    EXPECT_EQ(read1(h, 'R', size("", 1), 1), "XS  1 2 0 77");
    EXPECT_EQ(iomaat_set(h, &(e = size("M  ", 5))), 0) << "not writable";
    iomaat_close(h);

    // The own brand's system is kept by number, and takes the lowest free
    // number for a size without one.
    iomaat_own_brand(8);
    h = iomaat_open(8, 1, IOMAAT_LOCK);
    for (auto s : {size("40 ", 2, 1), size("38 ", 0, 1), size("42 ", 0, 3)})
        ASSERT_EQ(iomaat_add(h, &s), 1);
    EXPECT_EQ(walk(h, 1), "38 40 42 ");
    iomaat_close(h);

    // A removed system leaves the file at the close, extension records too.
    h = iomaat_open(7, 1, IOMAAT_LOCK);
    ASSERT_EQ(iomaat_remove_system(h), 1);
    iomaat_close(h);
    EXPECT_EQ(maat->hdr.reccount - IXCHECK(path("DTMAAT").c_str()), 1);
    EXPECT_EQ(IXCHECK(path("DTMTOM").c_str()), mtom->hdr.reccount);

    // A fourth handle doesn't fit the table: a message, and on.
    static std::string said;
    set_iomaat_error_hook([](const char *what, const char *) { said += what; });
    iomaat *four[4];
    for (auto &x : four)
        x = iomaat_open(8, 1, 0);
    for (auto &x : four)
        iomaat_close(x);
    EXPECT_EQ(said, "mtopen-foutmtclose-fout");
    h = iomaat_open(8, 1, 0);
    EXPECT_EXIT(mtread(h, 'X', &e, 1), ::testing::ExitedWithCode(1),
                "mtread\\(X,1\\) aktie ongedefinieerd");
    iomaat_close(h);
    IXCLOSE(maat);
    IXCLOSE(mtom);
}

} // namespace
