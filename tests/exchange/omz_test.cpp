// Turnover posting: hand-worked receipts through the BON file, with the
// DTOMZET records each one changes, byte for byte; a closed receipt posts
// once, also when it crashed before its journal copy; the cost of a
// series/size line among its labels; the amount without VAT.
#include "base/fatal.h"
#include "exchange/kas_omz.h"
#include "exchange/xchinst.h"
#include "sale/jrnnaam.h"
#include "sale/vrkbon.h"
#include "store/dd.h"
#include "store/ix.h"
#include "support/tmux.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr uint16_t DAG = 45000;

struct Line {
    char letter, soort;
    uint16_t vkp, aantal;
    int32_t prijs, bedrag, excl;
    uint16_t groep;
    uint8_t actie, btw, lflags;
};

// A shop directory with an empty DTOMZET, as current directory.
class Omzet : public ::testing::Test {
  protected:
    nvt::TempDir dir;
    char cwd[4096] = {};
    void SetUp() override {
        ASSERT_TRUE(getcwd(cwd, sizeof cwd));
        ASSERT_EQ(chdir(dir.path().c_str()), 0);
        dd_create_pair(41, "DTOMZET");
        xch = xch_instelling{};
        xch.vlag1 = 2 | 4;
        nv::set_fatal_handler([](const char *t) { throw std::runtime_error(t); });
    }
    void TearDown() override {
        omz_set_waren(nullptr);
        vrkbon_set_omzet(nullptr);
        EXPECT_EQ(chdir(cwd), 0);
    }
};

void header(jrn_cursor *c, int minuut, uint16_t vkp = 1) {
    c->h = jrn_h{};
    c->h.bonnr = 7, c->h.vkpnr = vkp, c->h.datum = DAG, c->h.tijd = (uint16_t)minuut;
    c->h.filnr = 1, c->h.hflags = HF_VERWERKT;
    std::memcpy(c->h.valuta, "EUR", 3);
}

void line(jrn_cursor *c, const Line &l) {
    c->regel = jrn_regel{};
    std::snprintf(c->regel.invoer, sizeof c->regel.invoer, "%u", 100u + l.groep);
    c->regel.soort = l.soort, c->regel.vkpnr = l.vkp, c->regel.aantal = l.aantal;
    c->regel.prijs = l.prijs, c->regel.bedrag = l.bedrag, c->regel.bedrag_excl = l.excl;
    c->regel.omzetgroep = l.groep, c->regel.actie = l.actie, c->regel.btw = l.btw;
    c->regel.lflags = l.lflags, c->regel.nummer = 100u + l.groep;
}

// Writes branch 1's BON file: H, the lines, D for a received amount, T, X.
void bon(int minuut, const std::vector<Line> &lines, int32_t ontvangen, int32_t totaal,
         const char *tekst = "") {
    char naam[16];
    bon_naam(naam, 1);
    jrn_cursor *c = iojrn_open(naam, O_RDWR | O_CREAT | O_TRUNC);
    header(c, minuut);
    iojrn_append(c, 'H');
    for (const Line &l : lines) {
        line(c, l);
        iojrn_append(c, l.letter);
    }
    if (ontvangen) {
        c->d = jrn_d{};
        c->d.bedrag = ontvangen;
        iojrn_append(c, 'D');
    }
    c->t = jrn_t{};
    c->t.totaal = c->t.contant = totaal;
    std::snprintf(c->t.tekst, sizeof c->t.tekst, "%s", tekst);
    iojrn_append(c, 'T');
    iojrn_append(c, 'X');
    iojrn_close(c);
}

// DTOMZET in key order, one text a record: kind, sub1, sub2 and the eight
// counters; a record off the test's branch, till or day, or with reserved
// bytes set, says so.
std::map<std::string, std::string> dump() {
    std::map<std::string, std::string> out;
    ICB *icb = IXOPEN("DTOMZET", 0);
    omz_rec o{};
    for (int ok = IXFIRST(icb, &o); ok; ok = IXNEXTR(icb, &o)) {
        char key[32], rec[160];
        std::snprintf(key, sizeof key, "%c %u %u", o.omz_soort, o.sub1, o.sub2);
        int n = std::snprintf(rec, sizeof rec, "%s:", key);
        for (int32_t t : o.tel)
            n += std::snprintf(rec + n, sizeof rec - (size_t)n, " %d", t);
        bool vreemd =
            o.filnr != 1 || o.kasnr != 0 || o.datum != DAG || o.res5[0] || o.res5[1] || o.res5[2];
        out[key] = std::string(rec) + (vreemd ? " VREEMD" : "");
    }
    IXCLOSE(icb);
    return out;
}

// The records that a step changed or made, in key order.
template <typename F> std::vector<std::string> changes(F step) {
    auto before = dump();
    step();
    std::vector<std::string> v;
    for (auto &[k, rec] : dump())
        if (before[k] != rec) v.push_back(rec);
    return v;
}

using Strings = std::vector<std::string>;

TEST_F(Omzet, ReceiptsPostTheirRecordsOnce) {
    // VAT code 2 is 21.0 %, code 1 9.0 %; excl. amounts as the sale computes them.
    const Line sale1{'V', 0, 3, 1, 5000, 4500, 3719, 10, 1, 2, 0};
    const Line article{'V', 'A', 4, 2, 295, 590, 488, 20, 0, 2, 0};
    const Line return1{'R', 0, 3, 1, 2000, 2000, 1653, 10, 0, 2, 0};
    const Line cancelled{'V', 0, 3, 1, 999, 999, 917, 11, 0, 1, LF_GEANNULEERD};
    const Line group_return{'R', 'O', 2, 1, 1000, 1000, 917, 30, 0, 1, 0};
    struct Case {
        const char *what;
        int minuut;
        std::vector<Line> lines;
        int32_t ontvangen, totaal;
        const char *tekst;
        Strings want;
    } cases[] = {
        {"sale, article, return and a cancelled line",
         14 * 60 + 5,
         {sale1, article, return1, cancelled},
         0,
         3090,
         "",
         {"A 0 0: -1410 590 2000 0 0 0 0 0", "A 1 0: 5000 4500 0 0 0 0 0 0",
          "B 2 0: 3090 2554 0 0 0 0 0 0", "F 0 0: 3090 0 0 0 0 0 0 0",
          "G 0 10: 0 0 3000 4500 2000 1 1 2066", "G 0 20: 0 0 590 590 0 2 0 488",
          "T 3 0: 2500 0 1 0 0 0 0 0", "T 4 0: 590 0 1 0 0 0 0 0",
          "U 14 0: 1 0 3590 5090 2000 3 1 0", "V 3 10: 0 0 3000 4500 2000 1 1 2066",
          "V 4 20: 0 0 590 590 0 2 0 488"}},
        {"only H D T X",
         15 * 60,
         {},
         1500,
         1500,
         "",
         {"F 0 0: 4590 0 0 0 0 0 0 0", "U 15 0: 1 0 0 0 0 0 0 0"}},
        {"a cancelled receipt with a negative total",
         14 * 60 + 30,
         {group_return},
         0,
         -1000,
         "Bon 0012 geannuleerd",
         {"A 0 0: -2410 590 3000 0 0 0 0 0", "B 1 0: -1000 -917 0 0 0 0 0 0",
          "F 0 0: 3590 0 0 0 0 0 0 0", "G 0 30: 0 0 -1000 0 1000 0 1 -917",
          "T 2 0: -1000 0 -1 0 0 0 0 0", "U 14 0: 0 0 2590 5090 3000 3 2 0",
          "V 2 30: 0 0 -1000 0 1000 0 1 -917"}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        bon(c.minuut, c.lines, c.ontvangen, c.totaal, c.tekst);
        EXPECT_EQ(changes([] { omz_bon_uit_bon(1); }), c.want);
    }
}

TEST_F(Omzet, AClosedReceiptPostsOnceEvenAfterACrash) {
    vrkbon_set_omzet(omz_bon_uit_bon);
    auto receipt = [](bool post) {
        jrn_cursor *c = vrkbon_open(1);
        header(c, 10 * 60);
        vrkbon_add(c, 'H');
        line(c, {'V', 0, 1, 1, 1000, 1000, 826, 10, 0, 2, 0});
        vrkbon_add(c, 'V');
        c->t = jrn_t{};
        c->t.totaal = c->t.contant = 1000;
        if (post) {
            vrkbon_close(c, true);
        } else { // dies after the T and X are written: the BON file stays
            vrkbon_add(c, 'T');
            vrkbon_add(c, 'X');
            vrkbon_close(c, false);
        }
    };
    Strings first = changes([&] { receipt(true); });
    EXPECT_EQ(first.size(), 7u); // A B F G T U V
    EXPECT_EQ(first.back(), "V 1 10: 0 0 1000 1000 0 1 0 826");
    EXPECT_EQ(access("VRK0100.BON", F_OK), -1) << "the posted receipt's work file is gone";
    EXPECT_EQ(changes([&] { receipt(false); }), Strings{}) << "a crashed receipt posts nothing";
    // The next receipt moves the crashed one aside instead of posting it.
    Strings next = changes([&] { receipt(true); });
    EXPECT_EQ(next.back(), "V 1 10: 0 0 2000 2000 0 2 0 1652");
    EXPECT_EQ(access("VRK0100.OLD", F_OK), 0);
}

// Labels of one series for the merchandise lookups of the posting.
std::vector<omz_etiket> g_labels;
const omz_waren fake_waren = {
    [](const char *code, omz_ean *e) {
        if (std::strncmp(code, "8712345678906", 13) != 0) return false;
        *e = omz_ean{'M', 500, 2, 1, 38};
        return true;
    },
    nullptr,
    [](uint32_t nr, omz_etiket *e) {
        for (auto &l : g_labels)
            if (l.nummer == nr) return *e = l, true;
        return false;
    },
    [](uint32_t, uint16_t, uint16_t, bool *maatreg) { return *maatreg = true; },
    [](uint32_t, uint16_t *groep) { return *groep = 12, true; },
    nullptr,
    [](uint32_t, uint16_t, uint16_t, bool (*f)(const omz_etiket &, void *), void *ctx) {
        for (auto &l : g_labels)
            if (!f(l, ctx)) return;
    },
    nullptr,
};

TEST_F(Omzet, ASizeLineCostsTheLabelsThatMatchIt) {
    // A sale of 3 pieces at 1000 each on day DAG in branch 1 to customer 77.
    auto label = [](uint32_t nr, uint8_t maat, uint8_t status, uint16_t dag, uint8_t fil,
                    int32_t prijs, uint32_t klant, int32_t inkoop) {
        return omz_etiket{nr, 500, 2, 1, maat, status, fil, dag, inkoop, prijs, klant};
    };
    g_labels = {
        label(1, 38, 3, DAG, 1, 1001, 77, 400),      // counts
        label(2, 38, 3, DAG, 1, 1002, 77, 9000),     // price 2 off: no
        label(3, 40, 3, DAG, 1, 1000, 77, 9000),     // other size
        label(4, 38, 3, DAG - 1, 1, 1000, 77, 9000), // other day
        label(5, 38, 3, DAG, 2, 1000, 77, 9000),     // other branch
        label(6, 38, 3, DAG, 1, 1000, 78, 9000),     // other customer
        label(7, 38, 2, DAG, 1, 1000, 77, 9000),     // in stock
        label(8, 38, 3, DAG, 1, 999, 77, 450),       // counts
    };
    omz_set_waren(&fake_waren);
    omz_open();
    jrn_cursor c{};
    header(&c, 12 * 60);
    c.h.kltnr = 77;
    line(&c, {'V', 'M', 5, 3, 1100, 3000, 2479, 99, 0, 2, 0});
    std::memcpy(c.regel.invoer, "8712345678906", 13); // fills the field: no terminator
    EXPECT_EQ(changes([&] { omz_regel(&c, 'V', 3); }),
              (Strings{"G 0 12: 1652 850 2200 2000 0 2 0 1652",
                       "V 5 12: 1652 850 2200 2000 0 2 0 1652"}));
    EXPECT_EQ(c.regel.soort, 'M') << "the line's kind is put back";
    // A line on approval leaves the counters alone, but the records exist.
    line(&c, {'Z', 0, 6, 1, 500, 500, 413, 13, 0, 2, 0});
    EXPECT_EQ(changes([&] { omz_regel(&c, 'Z', 1); }),
              (Strings{"G 0 13: 0 0 0 0 0 0 0 0", "V 6 13: 0 0 0 0 0 0 0 0"}));
    omz_close();
}

TEST(BtwExcl, IntegerBelowTheLimitFloatingAboveAndBelowZero) {
    struct {
        int32_t bedrag;
        int btw;
        int32_t want;
    } cases[] = {
        {1000, 210, 826},        {4500, 210, 3719},       {0, 210, 0},
        {2139999, 210, 1768594}, {2140000, 210, 1768595}, {-1000, 210, -826},
        {-4500, 90, -4128},      {1090, 90, 1000},        {1000, 0, 1000},
    };
    for (auto &c : cases)
        EXPECT_EQ(btw_excl(c.bedrag, c.btw), c.want) << c.bedrag << " " << c.btw;
}

} // namespace
