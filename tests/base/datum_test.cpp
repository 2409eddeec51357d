#include "base/datum.h"

#include <gtest/gtest.h>
#include <string>

namespace {

// Fixed points that other programs of the suite rely on.
TEST(Datum, KnownDayNumbers) {
    EXPECT_EQ(datum_nr(1, 1, 1900), 1);
    EXPECT_EQ(datum_nr(31, 12, 1900), 366); // 1900 counts as a leap year
    EXPECT_EQ(datum_nr(1, 1, 1901), 367);
    EXPECT_EQ(datum_nr(1, 1, 2000), 36526);
    EXPECT_EQ(datum_nr(1, 3, 1980), datum_nr(29, 2, 1980) + 1);
    EXPECT_EQ(datum_nr(1, 3, 1981), datum_nr(28, 2, 1981) + 1);
}

// Every day number back to its date and forward again, with the calendar
// walked day by day alongside.
TEST(Datum, RoundTripEveryDay) {
    int d = 1, m = 1, y = 1900;
    static const int ml[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (unsigned nr = 1; nr <= 65535; ++nr) {
        int dd, mm, yy;
        datum_dmj((unsigned short)nr, &dd, &mm, &yy);
        ASSERT_EQ(dd, d) << nr;
        ASSERT_EQ(mm, m) << nr;
        ASSERT_EQ(yy, y) << nr;
        ASSERT_EQ(datum_nr(d, m, y), nr);
        int len = ml[m - 1] + (m == 2 && y % 4 == 0 ? 1 : 0);
        if (++d > len) {
            d = 1;
            if (++m > 12) m = 1, ++y;
        }
    }
}

TEST(Datum, Validity) {
    EXPECT_TRUE(datum_geldig("290200"));
    EXPECT_TRUE(datum_geldig("29021900")); // the deliberate leap rule
    EXPECT_TRUE(datum_geldig("29021996"));
    EXPECT_FALSE(datum_geldig("290201"));
    EXPECT_FALSE(datum_geldig("310416"));
    EXPECT_FALSE(datum_geldig("001216"));
    EXPECT_FALSE(datum_geldig("011316"));
    EXPECT_FALSE(datum_geldig("0112161")); // seven digits
    EXPECT_FALSE(datum_geldig("01-12-16"));
    EXPECT_FALSE(datum_geldig(""));
    EXPECT_TRUE(datum_geldig("31122078"));
}

TEST(Datum, TextToNumberCenturyAndLimits) {
    EXPECT_EQ(datum_naar_nr("010100"), 36526);
    EXPECT_EQ(datum_naar_nr("01012000"), 36526);
    EXPECT_EQ(datum_naar_nr("311250"), datum_nr(31, 12, 2050));
    EXPECT_EQ(datum_naar_nr("010151"), datum_nr(1, 1, 1951));
    EXPECT_EQ(datum_naar_nr("01011900"), 1);
    EXPECT_EQ(datum_naar_nr("31121899"), 0);
    EXPECT_EQ(datum_naar_nr("310216"), 0);
    EXPECT_EQ(datum_naar_nr("31122078"), datum_nr(31, 12, 2078));
    EXPECT_EQ(datum_naar_nr("31122079"), 0); // beyond 16 bits
}

TEST(Datum, TextsOfNumbers) {
    char buf[16];
    EXPECT_STREQ(datum_tekst(buf, datum_nr(5, 3, 2016), false), "050316");
    EXPECT_STREQ(datum_tekst(buf, datum_nr(5, 3, 2016), true), "05032016");
    EXPECT_STREQ(datum_tekst(buf, 36525, true), "31121999");
    EXPECT_STREQ(datum_tekst(buf, 0, false), "      ");
    EXPECT_STREQ(datum_tekst(buf, 0, true), "        ");
    EXPECT_STREQ(datum_toon(datum_nr(29, 2, 1980)), "29-02-80");
    EXPECT_STREQ(datum_toon(0), "        ");
    EXPECT_STREQ(tijd_tekst(0), "00:00:00");
    EXPECT_STREQ(tijd_tekst(13 * 3600 + 5 * 60 + 9), "13:05:09");
}

// A time stamp in seconds since 1 January 1980 and back, in 16 bits.
TEST(Datum, SecondsSince1980RoundTrip) {
    unsigned short base = datum_naar_nr("010180");
    unsigned short day = datum_naar_nr("15062024");
    long stamp = (long)(day - base) * 86400 + 3600;
    EXPECT_EQ((unsigned short)(stamp / 86400 + base), day);
}

TEST(Datum, TodayAndNowAreSane) {
    unsigned short today = datum_vandaag();
    EXPECT_GT(today, datum_nr(1, 1, 2020));
    int32_t t = tijd_nu();
    EXPECT_GE(t, 0);
    EXPECT_LT(t, 86400);
}

} // namespace
