// Customer rules: the statistics of the year across a year boundary, the
// first date, the label list, the numbering rules and the closing of a
// receipt on the file.
#include "base/datum.h"
#include "customer/klant.h"
#include "store/dd.h"
#include "store/ix.h"
#include "support/tmux.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <unistd.h>

namespace {

std::string stats(const klt_rec &k) {
    char s[128];
    std::snprintf(s, sizeof s, "%u/%d %u/%d %u/%d last %s", k.aantal[0], k.bedrag[0], k.aantal[1],
                  k.bedrag[1], k.aantal[2], k.bedrag[2], datum_toon(k.laatste_aankoop));
    return s;
}

TEST(Klant, StatisticsRollToTheYearOfTheLatestPurchase) {
    klt_rec k{};
    k.kltnr = 1001, k.etiket_kop = 17;
    k.aantal[0] = 2, k.bedrag[0] = 9990, k.aantal[1] = 1, k.bedrag[1] = 1995;
    k.laatste_aankoop = datum_nr(10, 12, 2022);
    struct {
        const char *what;
        int actie, teken;
        int32_t bedrag;
        uint16_t dag;
        bool moved;
        const char *want;
    } steps[] = {
        {"sale late in the year", 0, 1, 4995, datum_nr(20, 12, 2022), true,
         "3/14985 1/1995 0/0 last 20-12-22"},
        {"return of a sale of this year", 4, -1, 1995, datum_nr(5, 11, 2022), true,
         "3/14985 0/0 0/0 last 20-12-22"},
        {"first sale of the new year", 9, 1, 500, datum_nr(2, 1, 2023), true,
         "0/0 0/0 1/500 last 02-01-23"},
        {"return of last year's sale", 0, -1, 4995, datum_nr(20, 12, 2022), false,
         "0/0 0/0 1/500 last 02-01-23"},
        {"an earlier day of the same year", 3, 1, 700, datum_nr(1, 1, 2023), true,
         "0/0 1/700 1/500 last 02-01-23"},
        {"a leap day two years on", 0, 1, 100, datum_nr(29, 2, 2024), true,
         "1/100 0/0 0/0 last 29-02-24"},
    };
    for (auto &s : steps) {
        EXPECT_EQ(klt_boek(k, s.actie, s.teken, s.bedrag, s.dag), s.moved) << s.what;
        EXPECT_EQ(stats(k), s.want) << s.what;
    }
    EXPECT_FALSE(klt_rol(k, datum_nr(31, 12, 2023))) << "an older day rolls nothing";
    EXPECT_EQ(stats(k), "1/100 0/0 0/0 last 29-02-24");
    k.aantal[1] = 65535;
    klt_boek(k, 5, 1, 1, datum_nr(1, 3, 2024));
    EXPECT_EQ(k.aantal[1], 0) << "the piece count is a u16 and wraps";
    klt_rec oud{}; // written before the last purchase was kept: counters stay
    oud.aantal[0] = 4;
    klt_rol(oud, datum_nr(1, 1, 2030));
    EXPECT_EQ(oud.aantal[0], 4);
}

TEST(Klant, FirstDateTakesTheFirstSaleOrAnEarlierOne) {
    klt_rec k{};
    klt_nieuw(k, 1005, datum_nr(1, 6, 2023));
    EXPECT_EQ(k.mailing, KLT_POST_EMAIL);
    EXPECT_EQ(std::string(k.kenmerken, 8), "        ");
    klt_boek(k, 0, 1, 1000, datum_nr(9, 6, 2023)); // no sales yet: even a later day
    EXPECT_EQ(k.eerste_datum, datum_nr(9, 6, 2023));
    klt_boek(k, 0, 1, 1000, datum_nr(3, 6, 2023));
    EXPECT_EQ(k.eerste_datum, datum_nr(3, 6, 2023));
    klt_boek(k, 0, 1, 1000, datum_nr(20, 6, 2023));
    EXPECT_EQ(k.eerste_datum, datum_nr(3, 6, 2023));
    klt_onbekend(k, 1006, datum_nr(1, 6, 2023), "NLD");
    EXPECT_EQ(std::string(k.naam), "***************");
    EXPECT_EQ(std::string(k.land, 3), "NLD");
}

TEST(Klant, TheLabelListLinksAndUnlinks) {
    std::map<uint32_t, uint32_t> next; // klant_volgend of each label
    klt_keten keten{
        [](uint32_t l, void *m) { return (*(std::map<uint32_t, uint32_t> *)m)[l]; },
        [](uint32_t l, uint32_t v, void *m) { (*(std::map<uint32_t, uint32_t> *)m)[l] = v; },
        &next};
    klt_rec k{};
    for (uint32_t l : {11u, 12u, 13u, 14u})
        klt_koppel(k, l, &next[l]);
    auto list = [&] {
        std::string s;
        for (uint32_t l = (uint32_t)k.etiket_kop; l; l = next[l])
            s += std::to_string(l) + " ";
        return s;
    };
    EXPECT_EQ(list(), "14 13 12 11 ");
    EXPECT_TRUE(klt_ontkoppel(k, 12, next[12], keten));
    EXPECT_TRUE(klt_ontkoppel(k, 14, next[14], keten));
    EXPECT_TRUE(klt_ontkoppel(k, 11, next[11], keten));
    EXPECT_FALSE(klt_ontkoppel(k, 99, 0, keten));
    EXPECT_EQ(list(), "13 ");
    next[13] = 13; // a damaged list runs in a circle: the walk ends
    EXPECT_FALSE(klt_ontkoppel(k, 99, 0, keten));
}

TEST(Klant, NumberingRulesAndTheReceiptsEnd) {
    nvt::TempDir dir;
    char cwd[4096];
    ASSERT_TRUE(getcwd(cwd, sizeof cwd));
    ASSERT_EQ(chdir(dir.path().c_str()), 0);
    dd_create_pair(24, "DTKLT");
    ICB *icb = IXOPEN("DTKLT", 2);
    EXPECT_EQ(next_customer_number(icb, 3, 0), 1) << "no customers";
    for (int32_t nr : {1, 2, 3, 5, 999998}) {
        klt_rec k{};
        klt_nieuw(k, nr, 40000);
        IXWRITE(icb, &k);
    }
    struct {
        int regel;
        int32_t laatste;
        int64_t want;
    } cases[] = {{1, 2, 4}, {1, 5, 6}, {2, 0, 4}, {3, 0, 999999}, {1, 999998, 999999}};
    for (auto &c : cases)
        EXPECT_EQ(next_customer_number(icb, c.regel, c.laatste), c.want);
    klt_rec top{};
    klt_nieuw(top, KLT_MAX, 40000);
    IXWRITE(icb, &top);
    EXPECT_EQ(next_customer_number(icb, 3, 0), KLT_MAX) << "in use: the caller says so";
    EXPECT_EQ(next_customer_number(icb, 1, KLT_MAX), KLT_MAX + 1);
    EXPECT_FALSE(klt_nummer_geldig(KLT_MAX + 1));

    // A receipt on customer 5: held by the sale, rolled and written at its end.
    klt_rec k{};
    k.kltnr = 5;
    ASSERT_EQ(IXREADL(icb, &k), 1);
    klt_boek(k, 0, 1, 2500, datum_nr(4, 1, 2024));
    IXWRITEL(icb, &k);
    EXPECT_FALSE(klt_bon_afsluiten(icb, &k, datum_nr(4, 1, 2024)))
        << "nothing new: unlocked by caller";
    IXUNLOCK(icb, &k);
    EXPECT_TRUE(klt_bon_afsluiten(icb, &k, datum_nr(5, 1, 2024)));
    klt_rec stored{};
    EXPECT_TRUE(lees_klant(icb, &stored, 5));
    EXPECT_EQ(stats(stored), "1/2500 0/0 0/0 last 05-01-24");
    stored.naam[0] = 'X'; // the buffer holds 5 already: no read
    EXPECT_TRUE(lees_klant(icb, &stored, 5));
    EXPECT_EQ(stored.naam[0], 'X');
    EXPECT_FALSE(lees_klant(icb, &stored, 4));
    IXCLOSE(icb);
    EXPECT_EQ(chdir(cwd), 0);
}

} // namespace
