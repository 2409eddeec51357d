// EAN codes and number entry on the demo shop's system file, with label
// widths 7 and 8 and an own EAN range; the codes below are worked out by
// hand (check digit: 3 * d + the weighted sum of the rest ends in 0).
#include "demoshop.h"
#include "frame/iosys.h"
#include "merch/ean.h"
#include "merch/stamrec.h"
#include "store/ix.h"
#include "support/tmux.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

class Ean : public ::testing::Test {
  protected:
    nvt::TempDir shop;
    void SetUp() override {
        ASSERT_EQ(demo::build(shop.path(), demo::Options{}), "");
        iosys_filename(shop.file("DTSYS.TXT").c_str());
        long n = 1;
        iosys('O', &n, nullptr, sysmap::FIXED);
    }
    void TearDown() override {
        long n = 1;
        iosys('C', &n, nullptr, sysmap::FIXED);
        iosys_filename("DTSYS.TXT");
    }
    void country(int breedte, const char *prefix) {
        long nr = sysmap::REC_COUNTRY;
        sys_land land{};
        iosys('X', &nr, &land, sysmap::FIXED);
        land.etiket_breedte = (uint8_t)breedte;
        land.ean_aantal = prefix != nullptr;
        std::memcpy(land.ean_prefix[3], prefix ? prefix : "\0\0\0\0", 4);
        iosys('W', &nr, &land, sysmap::FIXED);
    }
};

TEST_F(Ean, OwnCodesEntriesAndScannedLabels) {
    char code[14];
    ASSERT_TRUE(eti_ean(0, 1234567, code));
    EXPECT_STREQ(code, "2200001234567");
    ASSERT_TRUE(eti_ean('M', 42, code));
    EXPECT_STREQ(code, "2813000000042");
    EXPECT_FALSE(eti_ean('m', 42, code));
    EXPECT_FALSE(eti_ean(0, 1000000000, code));

    struct Entry {
        const char *text;
        int breedte;
        bool ok;
        int soort;
        long nummer;
    };
    const Entry entries[] = {
        {"M42", 7, true, 'M', 42},
        {"m42", 7, false, '?', 0},
        {"A0042", 7, true, 'A', 42},
        {"A42x", 7, false, '?', 0},
        {" O7 ", 7, true, 'O', 7},
        {"X5", 7, false, '?', 0},
        {"M", 7, false, '?', 0},
        {"M1234567890", 7, false, '?', 0},
        {"1234567", 7, true, 0, 1234567},
        {"12345678", 7, false, 0, 12345678},
        {"12345670", 7, true, 'E', 0},
        {"12345670", 8, true, 0, 12345670}, // EAN-8 or label
        {"2200001234567", 7, true, 0, 1234567},
        {"2813000000042", 8, true, 'M', 42},
        {"8710000000017", 7, true, 'E', 0},
        {"2827000000001", 7, true, 'E', 0}, // kind 27 is no letter
        {"2700009999999", 6, true, 'E', 0}, // beyond 999999
    };
    for (const Entry &e : entries) {
        country(e.breedte, nullptr);
        int soort;
        long nummer;
        EXPECT_EQ(ean_parse_invoer(e.text, &soort, &nummer), e.ok) << e.text;
        EXPECT_EQ(soort, e.soort) << e.text;
        EXPECT_EQ(nummer, e.nummer) << e.text;
    }
    country(7, "2200"); // an own range: a supplier's code however it begins
    int soort;
    long nummer;
    EXPECT_TRUE(ean_parse_invoer("2200001234567", &soort, &nummer));
    EXPECT_EQ(soort, 'E');
    EXPECT_FALSE(ean_intern("2200001234567", &soort, &nummer));

    const std::pair<const char *, int32_t> scans7[] = {
        {"1234567", 1234567},  {"2200001234567", 1234567}, {"25123456", 123456}, {"12345670", -1},
        {"2813000000042", -1}, {"12345678901", -1},        {"abc", -1}};
    country(7, nullptr);
    for (auto [text, label] : scans7)
        EXPECT_EQ(eti_uit_ean(text), label) << text;
    const std::pair<const char *, int32_t> scans8[] = {{"25123456", 25123456},
                                                       {"012345678", 12345678},
                                                       {"2800023456789", 23456789},
                                                       {"123456789", -1}};
    country(8, nullptr);
    for (auto [text, label] : scans8)
        EXPECT_EQ(eti_uit_ean(text), label) << text;
}

TEST_F(Ean, LookupRetriesAThirteenDigitFormOfATwelveDigitCode) {
    ICB *icb = IXOPEN(shop.file("DTEAN").c_str(), 2);
    ean_rec upc{};
    std::memcpy(upc.ean_code, "012345678905", 12);
    upc.ean_soort = 'A';
    upc.ean_nummer = 7;
    ASSERT_EQ(IXWRITE(icb, &upc), 1);
    IXSWITCH(icb, 2);
    ean_rec r{};
    ASSERT_TRUE(ean_lees(icb, &r, "0012345678905"));
    EXPECT_EQ(r.ean_nummer, 7u);
    EXPECT_EQ(icb->blk.keynr, 2); // the handle's key is kept
    ean_rec before = r;
    EXPECT_FALSE(ean_lees(icb, &r, "0999999999993"));
    EXPECT_EQ(std::memcmp(&r, &before, sizeof r), 0); // as it was
    IXCLOSE(icb);
}

} // namespace
