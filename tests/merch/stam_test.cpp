// The master file set of the demo shop: lookups with their one-record
// buffers (no second read of the key in hand, a fresh read for another
// key), sizes and price groups, and removing a label together with what
// refers to it.
#include "demomerch.h"
#include "exchange/xchinst.h"
#include "frame/iosys.h"
#include "merch/ean.h"
#include "merch/etiket.h"
#include "merch/leesstam.h"
#include "merch/stam.h"
#include "store/dd.h"
#include "store/ix.h"
#include "support/headless.h"
#include "winkel.h"

#include <cstring>
#include <fstream>
#include <unistd.h>

namespace {

class Stam : public ::testing::Test {
  protected:
    Winkel w;
    void SetUp() override {
        w.open();
        nv::set_fatal_handler([](const char *t) { throw nvtest::Fatal(t); });
    }
    void TearDown() override {
        nv::set_fatal_handler(nullptr);
        w.close();
    }
};

TEST_F(Stam, LookupsReadOnceForTheKeyInHand) {
    ASSERT_TRUE(lees_art(dtart, &art_buffer, 1001));
    EXPECT_STREQ(art_buffer.art_omschr, "Jas");
    ICB *other = IXOPEN("DTART", 2); // another program renames the article
    art_rec a{};
    a.art_nr = 1001;
    ASSERT_EQ(IXREADL(other, &a), 1);
    std::strcpy(a.art_omschr, "Parka");
    IXWRITE(other, &a);
    IXCLOSE(other);
    EXPECT_TRUE(lees_art(dtart, &art_buffer, 1001));
    EXPECT_STREQ(art_buffer.art_omschr, "Jas"); // the buffer is not read again
    IXSWITCH(dtart, 2);
    EXPECT_TRUE(lees_art(dtart, &art_buffer, 1002));
    EXPECT_EQ(dtart->blk.keynr, 2);
    EXPECT_TRUE(lees_art(dtart, &art_buffer, 1001));
    EXPECT_STREQ(art_buffer.art_omschr, "Parka");
    EXPECT_FALSE(lees_art(dtart, &art_buffer, 0)); // 0 is read, and found nowhere
    EXPECT_EQ(art_buffer.art_nr, 0u);

    EXPECT_FALSE(lees_omzgrp(dtomzgrp, &omzgrp_buffer, 99));
    EXPECT_STREQ(omzgrp_buffer.omschrijving, "onbekend");
    EXPECT_TRUE(lees_omzgrp(dtomzgrp, &omzgrp_buffer, 12));
    EXPECT_STREQ(omzgrp_buffer.omschrijving, "Jurken");
    ASSERT_TRUE(lees_artreg(dtartreg, &artreg_buffer, 3, 1));
    EXPECT_EQ(artreg_buffer.artreg_filiaal, 2);
    EXPECT_EQ(artreg_buffer.fil.ar_filiaalprijs, 595);
    ASSERT_TRUE(lees_artreg(dtartreg, &artreg_buffer, 3));
    EXPECT_EQ(artreg_buffer.art.ar_omzetgroep, 20);
    EXPECT_TRUE(lees_merk(dtmerk, &merk_buffer, 2));
    EXPECT_STREQ(merk_buffer.merk_naam, "Kustlijn");
    EXPECT_TRUE(lees_lev(dtlev, &lev_buffer, 3));
    EXPECT_STREQ(lev_buffer.lev_naam, "Atelier Merle");
    kleur_rec k{};
    EXPECT_TRUE(lees_kleur(&k, 3));
    EXPECT_STREQ(k.tekst, "rood");

    ser_buffer.art_nr = 1001, ser_buffer.kleur = 1, ser_buffer.volgnr = 1;
    ASSERT_EQ(IXREAD(dtser, &ser_buffer), 1);
    ASSERT_TRUE(ean_lees_maat(dtean, &ean_buffer, ser_buffer, 4));
    EXPECT_EQ(std::string(ean_buffer.ean_code, 13), demo::supplier_ean_of(0, 4));
    EXPECT_TRUE(ean_lees(dtean, &ean_buffer, demo::supplier_ean_of(0, 4).c_str()));
    std::vector<int> groups;
    for (int maat = 1; maat <= 7; ++maat)
        groups.push_back(maat_prijsgroep(ser_buffer, (uint8_t)maat));
    EXPECT_EQ(groups, (std::vector<int>{0, 0, 0, 1, 1, 1, -1})); // 7 is not in the table
    char code[4];
    maat_tekst(ser_buffer, 5, code);
    EXPECT_STREQ(code, "XL");

    stam_close();
    art_rec loose{};
    EXPECT_TRUE(lees_art_tijdelijk(&loose, 1002));
    EXPECT_STREQ(loose.art_omschr, "Broek");
    EXPECT_THROW(lees_art(dtart, &loose, 1003), nvtest::Fatal); // no handle
    stam_open();
}

TEST_F(Stam, RemovingALabelTakesItOutOfTheFilesBesideIt) {
    // Label 1 (sold, on the refill list) and label 2 in the files that name labels.
    struct Side {
        int nr;
        const char *name;
    } sides[] = {{19, "DTIO"}, {42, "DTONTV"}, {18, "DTGO"}, {17, "DTFIN"}};
    uint8_t serial = 0;
    for (size_t i = 0; i < 4; ++i) {
        ASSERT_TRUE(dd_create_pair(sides[i].nr, sides[i].name));
        ICB *icb = IXOPEN(sides[i].name, 2);
        for (uint32_t label : {1u, 1u, 2u}) { // a second record of 1 where the keys allow it
            uint8_t rec[64] = {};
            std::memcpy(rec + eti_verwijzingen[i].offset, &label, 4);
            rec[2] = rec[20] = ++serial;
            IXWRITE(icb, rec);
        }
        IXCLOSE(icb);
    }
    ser_buffer.art_nr = 1001, ser_buffer.kleur = 1, ser_buffer.volgnr = 1;
    ASSERT_EQ(IXREADL(dtser, &ser_buffer), 1);
    int32_t sold = ser_buffer.ser_verkocht, n = 1;
    etiket_rec r{};
    ASSERT_EQ(ioeti('R', &n, &r), 1);
    ASSERT_EQ(r.status, ETI_VERKOPEN);
    sys_bedrijf tills{};
    tills.vlag1 = 4, tills.aantal_fil = 3;
    sys_land kasmut{};
    kasmut.kasmut_vlag = 1;
    xch_instellen(tills, kasmut); // offline tills that take master data changes
    ASSERT_TRUE(etiket_verwijderen(1, &r));
    IXUNLOCK(dtser, &ser_buffer);
    xch_instellen(sys_bedrijf{}, sys_land{});
    std::string line;
    std::getline(std::ifstream("KASMUT.TXT"), line);
    EXPECT_EQ(line, "255255g010010010001");

    EXPECT_EQ(ioeti('R', &n, &r), 0);
    ser_rec on_disk = ser_buffer;
    ASSERT_EQ(IXREAD(dtser, &on_disk), 1);
    EXPECT_EQ(on_disk.ser_verkocht, sold - 1);
    auto labels_in = [](const char *name, int offset) {
        std::vector<uint32_t> found;
        ICB *icb = IXOPEN(name, 0);
        uint8_t rec[64] = {};
        for (int f = IXFIRST(icb, rec); f; f = IXNEXTR(icb, rec)) {
            uint32_t label;
            std::memcpy(&label, rec + offset, 4);
            found.push_back(label);
        }
        IXCLOSE(icb);
        return found;
    };
    for (size_t i = 0; i < 4; ++i)
        EXPECT_EQ(labels_in(sides[i].name, eti_verwijzingen[i].offset), std::vector<uint32_t>{2})
            << sides[i].name;
    EXPECT_EQ(labels_in("DTAANV", 8), (std::vector<uint32_t>{2, 3, 4, 5}));
}

} // namespace
