// Booking journal lines on the demo shop: a sale and a return of a label in
// every status and place, a mark-down whose action ended before the return,
// series/size lines booked in full, in part and not at all, the words of
// every mark at each print level, and jrnutil showing them.
#include "base/datum.h"
#include "demomerch.h"
#include "exchange/kas_omz.h"
#include "frame/iosys.h"
#include "journal/vwkas.h"
#include "merch/ean.h"
#include "merch/leesstam.h"
#include "merch/winkel.h"
#include "sale/etiboek.h"
#include "store/ix.h"

#include <cstring>
#include <fstream>
#include <functional>

namespace {

class Boek : public ::testing::Test {
  protected:
    Winkel w;
    jrn_cursor *c = nullptr;
    uint16_t vandaag = datum_vandaag();
    void SetUp() override {
        w.open();
        omz_open();
        omz_wis();
        ser_buffer = ser_rec{}, ean_buffer = ean_rec{}, art_buffer = art_rec{};
        lees_actie_vergeet();
        c = iojrn_open("TEST.JRN", O_RDWR | O_CREAT);
        ASSERT_NE(c, nullptr);
        c->h = jrn_h{};
        c->h.datum = vandaag, c->h.filnr = 0, c->h.bonnr = 1, c->h.hflags = HF_VERWERKT;
    }
    void TearDown() override {
        iojrn_close(c);
        omz_close();
        w.close();
    }
    int32_t zoek(const std::function<bool(const etiket_rec &)> &test) {
        etiket_rec e{};
        for (int32_t n = 1; n < 20000; ++n) {
            int32_t m = n;
            if (ioeti('R', &m, &e) && test(e)) return n;
        }
        ADD_FAILURE() << "no such label in the demo shop";
        return 0;
    }
    static etiket_rec lees(int32_t n) {
        etiket_rec e{};
        ioeti('R', &n, &e);
        return e;
    }
    static ser_rec serie(uint32_t art, uint16_t kleur, uint16_t volgnr) {
        ser_rec s{};
        s.art_nr = art, s.kleur = kleur, s.volgnr = volgnr;
        IXREAD(dtser, &s);
        return s;
    }
    // A fresh line of type tx.
    void regel(char tx, char soort, uint32_t nummer, int32_t prijs, int32_t bedrag,
               uint16_t aantal = 1) {
        c->letter = tx;
        c->regel = jrn_regel{};
        c->regel.soort = soort, c->regel.nummer = nummer, c->regel.aantal = aantal;
        c->regel.prijs = prijs, c->regel.bedrag = bedrag, c->regel.btw = 1;
    }
    std::string tekst(int niveau) { return signaal_tekst(c, niveau); }
    int32_t verkocht() const { return omz_acc.bon[1] - omz_acc.bon[2]; }
};

TEST_F(Boek, LabelsInEveryStatusAndPlace) {
    auto eigen = [](uint8_t st, bool actie = true) {
        return [st, actie](const etiket_rec &e) {
            return e.status == st && e.filiaal == 0 && !e.onderweg && !e.afprijs_nr &&
                   !e.klant_nr && (actie || e.actiecode);
        };
    };
    int32_t voorraad = zoek(eigen(ETI_VOORRAAD)), verkocht_eti = zoek(eigen(ETI_VERKOPEN)),
            nota = zoek(eigen(ETI_NOTA)), correctie = zoek(eigen(ETI_CORRECTIES, false)),
            ander = zoek([](const etiket_rec &e) {
                return e.status == ETI_VOORRAAD && e.filiaal == 1 && !e.onderweg && !e.afprijs_nr;
            }),
            onderweg = zoek([](const etiket_rec &e) {
                return e.status == ETI_VOORRAAD && e.onderweg && e.onderweg_filiaal == 0;
            });
    // A correction label without action code sells like a stock label.
    int32_t corr0 = zoek([&](const etiket_rec &e) {
        return e.status == ETI_CORRECTIES && e.filiaal == 0 && !e.onderweg && !e.klant_nr &&
               e.art_nr != lees(correctie).art_nr;
    });
    etiket_rec e0 = lees(corr0);
    e0.actiecode = 0;
    ioeti('W', &corr0, &e0);

    struct Case {
        int32_t label;
        char tx;
        uint8_t status_na; // 0: a signal, nothing changes
        uint8_t lflags, eti_status;
        const char *tekst;
    } cases[] = {
        {voorraad, 'V', ETI_VERKOPEN, 0, 0, ""},
        {verkocht_eti, 'R', ETI_VOORRAAD, 0, 0, ""},
        {ander, 'V', ETI_VERKOPEN, LF_ANDER_FIL, 0, "Afw.fil 1"},
        {onderweg, 'V', ETI_VERKOPEN, LF_ONDERWEG, 0, "Onderweg"},
        {corr0, 'V', ETI_VERKOPEN, 0, ETI_CORRECTIES, "Correctie"},
        {nota, 'V', 0, LF_SIGNAAL, ETI_NOTA, "Nota etiket"},
        {nota, 'R', 0, LF_SIGNAAL, ETI_NOTA, "Nota etiket"},
        {verkocht_eti, 'R', 0, LF_SIGNAAL, ETI_VOORRAAD, "Niet verkocht"}, // now in stock
        {voorraad, 'Z', 0, LF_SIGNAAL, ETI_VERKOPEN, "Reeds verkocht"},
        {correctie, 'V', 0, LF_SIGNAAL, ETI_CORRECTIES, "Correctie"},
        {correctie, 'R', 0, LF_SIGNAAL, ETI_CORRECTIES, "Correctie"},
        {9999990, 'V', 0, LF_SIGNAAL | LF_ONBEKEND, 0, "Etiket onbekend"},
    };
    for (const Case &k : cases) {
        SCOPED_TRACE(std::to_string(k.label) + k.tx);
        const etiket_rec voor = lees(k.label);
        const ser_rec s0 = serie(voor.art_nr, voor.kleur, voor.volgnr);
        int32_t bedrag = k.tx == 'R' ? voor.verkoopprijs : voor.adviesprijs;
        regel(k.tx, 0, (uint32_t)k.label, voor.adviesprijs, bedrag);
        int32_t omzet = verkocht();
        vwkas_etiket(c, false);
        EXPECT_EQ(c->regel.lflags, k.lflags);
        EXPECT_EQ(c->regel.eti_status, k.eti_status);
        for (int niveau = 0; niveau <= 3; ++niveau)
            EXPECT_EQ(tekst(niveau), k.tekst);
        const etiket_rec na = lees(k.label);
        const ser_rec s1 = serie(voor.art_nr, voor.kleur, voor.volgnr);
        if (!k.status_na) {
            EXPECT_EQ(std::memcmp(&na, &voor, sizeof na), 0);
            EXPECT_EQ(std::memcmp(&s1, &s0, sizeof s1), 0);
            EXPECT_EQ(verkocht(), omzet);
            continue;
        }
        EXPECT_EQ(na.status, k.status_na);
        EXPECT_EQ(na.filiaal, 0);
        int teken = vwkas_teken(k.tx);
        EXPECT_EQ(s1.ser_verkocht, s0.ser_verkocht + teken);
        EXPECT_EQ(verkocht(), omzet + teken * bedrag);
    }
}

// A mark-down sold while its action ran, returned after it ended.
TEST_F(Boek, ReturnAfterTheActionEnded) {
    int32_t n = zoek([](const etiket_rec &e) {
        return e.status == ETI_VOORRAAD && e.afprijs_nr == 1 && e.filiaal == 0 && !e.onderweg;
    });
    etiket_rec e = lees(n);
    regel('V', 0, (uint32_t)n, e.verkoopprijs, e.verkoopprijs);
    vwkas_etiket(c, false);
    ASSERT_EQ(c->regel.lflags, 0);
    EXPECT_EQ(lees(n).afprijs_nr, 1);
    EXPECT_EQ(tekst(1), "Afw. adviesprijs"); // price differs from the label's
    long nr = 1;
    sys_actie a{};
    ASSERT_TRUE(iosys('R', &nr, &a, sysmap::ACTIONS));
    a.tot = (uint16_t)(vandaag - 1);
    ASSERT_TRUE(iosys('W', &nr, &a, sysmap::ACTIONS));
    lees_actie_vergeet();
    regel('R', 0, (uint32_t)n, e.adviesprijs, e.verkoopprijs);
    vwkas_etiket(c, false);
    EXPECT_EQ(c->regel.lflags, LF_ACTIE_VERVALLEN);
    etiket_rec na = lees(n);
    EXPECT_EQ(na.status, ETI_VOORRAAD);
    EXPECT_EQ(na.afprijs_nr, 0);
    EXPECT_EQ(na.verkoopprijs, 0);
    EXPECT_EQ(tekst(0), "Afprijzing");
}

// Series 1001.1.1 kept by size, with three labels of size 1 received long
// ago in branch 0 (picked first, oldest first).
TEST_F(Boek, SeriesAndSize) {
    ser_rec s{};
    s.art_nr = 1001, s.kleur = 1, s.volgnr = 1;
    ASSERT_EQ(IXREADL(dtser, &s), 1);
    s.ser_maatreg = 1;
    IXWRITE(dtser, &s);
    int32_t nieuw[3];
    for (int i = 0; i < 3; ++i) {
        int32_t kop = s.ser_eti_kop, n = 0;
        etiket_rec e{};
        ioeti('F', &kop, &e);
        e = etiket_rec{};
        e.art_nr = 1001, e.kleur = 1, e.volgnr = 1, e.status = ETI_VOORRAAD, e.maat = 1;
        e.adviesprijs = 2995, e.ontvangen = (uint16_t)(100 + i), e.order_loc = 255;
        ioeti('W', &n, &e);
        nieuw[i] = n;
    }
    auto maat = [&](char tx, int size, uint16_t aantal, int32_t bedrag) {
        std::string ean = demo::supplier_ean_of(0, size);
        regel(tx, 'E', 0, 2995, bedrag, aantal);
        std::memcpy(c->regel.invoer, ean.data(), 13);
        ASSERT_TRUE(ean_lees(dtean, &ean_buffer, ean.c_str()));
        vwkas_maat(c);
    };
    auto tel = [&](uint8_t status, uint8_t size) {
        int n = 0;
        int32_t kop = serie(1001, 1, 1).ser_eti_kop;
        etiket_rec e{};
        for (int ok = ioeti('F', &kop, &e); ok; ok = ioeti('N', &kop, &e))
            n += e.status == status && e.maat == size && e.filiaal == 0 && !e.onderweg;
        return n;
    };

    maat('V', 1, 3, 1000); // in full, the amount shared evenly
    EXPECT_EQ(c->regel.rest, 0);
    EXPECT_EQ(c->regel.lflags, 0);
    EXPECT_EQ(c->regel.bedrag, 1000);
    const int32_t delen[3] = {333, 334, 333};
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(lees(nieuw[i]).verkoopprijs, delen[i]) << i;
    EXPECT_EQ(verkocht(), 1000);

    // A return of two at 667: unit 333, labels of 332 to 334 match.
    maat('R', 1, 2, 667);
    EXPECT_EQ(c->regel.rest, 0);
    EXPECT_EQ(c->regel.bedrag, 667);
    int terug = 0;
    for (int32_t n : nieuw)
        terug += lees(n).status == ETI_VOORRAAD;
    EXPECT_EQ(terug, 2);

    // In part: more pieces of size 2 than there are; then none at all.
    int er_zijn = tel(ETI_VOORRAAD, 2);
    ser_rec s0 = serie(1001, 1, 1);
    maat('V', 2, (uint16_t)(er_zijn + 2), 5000);
    EXPECT_EQ(c->regel.rest, 2);
    EXPECT_EQ(c->regel.lflags, LF_SIGNAAL);
    EXPECT_EQ(c->regel.bedrag, 5000);
    EXPECT_EQ(tel(ETI_VOORRAAD, 2), 0);
    EXPECT_EQ(serie(1001, 1, 1).ser_verkocht, s0.ser_verkocht + er_zijn);
    const char *deel[4] = {"2 stks geen vrd.", "2 stks geen vrd.", "", "2 stks geen vrd."};
    for (int niveau = 0; niveau <= 3; ++niveau)
        EXPECT_EQ(tekst(niveau), deel[niveau]);
    s0 = serie(1001, 1, 1);
    maat('V', 2, 1, 2995);
    EXPECT_EQ(c->regel.rest, 1);
    EXPECT_EQ(c->regel.lflags, LF_SIGNAAL);
    ser_rec s1 = serie(1001, 1, 1);
    EXPECT_EQ(std::memcmp(&s1, &s0, sizeof s1), 0);
    maat('R', 1, 3, 999); // one sold label of 333 is left: two stay open
    EXPECT_EQ(c->regel.rest, 2);
    EXPECT_EQ(tekst(3), "2 stks geen vrk.");

    // A label number of the series stands for its size: the oldest piece.
    int32_t n = nieuw[0];
    ASSERT_EQ(lees(n).status, ETI_VOORRAAD);
    int32_t ander = zoek([&](const etiket_rec &e) {
        return e.art_nr == 1001 && e.kleur == 1 && e.volgnr == 1 && e.maat == 1 &&
               e.status == ETI_VOORRAAD && e.ontvangen > 102;
    });
    regel('V', 0, (uint32_t)ander, 2995, 2995);
    vwkas_etiket(c, false);
    EXPECT_EQ(c->regel.lflags, LF_MAAT_ETIKET);
    EXPECT_EQ(lees(n).status, ETI_VERKOPEN);
    EXPECT_EQ(lees(ander).status, ETI_VOORRAAD);
    EXPECT_EQ(tekst(1), "Serie heeft maatregistratie");
    regel('V', 0, (uint32_t)ander, 2995, 2995); // the correction's pick leaves no mark
    corr_etiket(c, false);
    EXPECT_EQ(c->regel.lflags, 0);

    // Without size registration a size line is unknown.
    s = serie(1001, 1, 1);
    ASSERT_EQ(IXREADL(dtser, &s), 1);
    s.ser_maatreg = 0;
    IXWRITE(dtser, &s);
    maat('V', 1, 1, 2995);
    EXPECT_EQ(c->regel.lflags, LF_SIGNAAL | LF_ONBEKEND);
    c->regel.soort = 'M';
    EXPECT_EQ(tekst(0), "Serie/maat onbekend");
}

TEST_F(Boek, WordsOfTheMarks) {
    struct Case {
        char tx, soort;
        uint8_t hflags, lflags, eti_status, ander_fil;
        uint16_t rest;
        const char *tekst;
    } cases[] = {
        {'V', 'A', 2, 64 | 128, 0, 0, 0, "Artikel onbekend"},
        {'V', 'E', 2, 64 | 128, 0, 0, 0, "EAN-code onbekend"},
        {'R', 'M', 2, 64 | 128, 0, 0, 0, "Serie/maat onbekend"},
        {'V', 0, 0, 64 | 128, 0, 0, 0, "NIET VERWERKT, etiket onbekend"},
        {'V', 0, 2 | 4 | 8 | 16, 0, 1, 0, 0,
         "Datacom, nieuwe klant, ongeldig klantnr, nota etiket"},
        {'V', 0, 2, 4 | 16 | 32, 4, 12, 0, "Correctie, afw.fil 12, afprijzing, onderweg"},
        {'R', 'M', 2, 64, 0, 0, 3, "3 stks geen vrk."},
        {'V', 'E', 2, 8 | 32, 0, 0, 0, "Serie heeft maatregistratie, onderweg"},
        {'V', 0, 2, 0, 0, 0, 0, ""},
    };
    for (const Case &k : cases) {
        SCOPED_TRACE(k.tekst);
        regel(k.tx, k.soort, 9999990, 100, 90);
        c->h.hflags = k.hflags;
        c->regel.lflags = k.lflags, c->regel.eti_status = k.eti_status;
        c->regel.ander_fil = k.ander_fil, c->regel.rest = k.rest;
        EXPECT_EQ(std::string(signaal_tekst(c, 1, true)), k.tekst);
    }
}

TEST_F(Boek, JrnutilShowsTheMarks) {
    regel('R', 'M', 0, 100, 100, 3);
    c->regel.lflags = LF_SIGNAAL, c->regel.rest = 2;
    ASSERT_TRUE(iojrn_append(c, 'H') && iojrn_append(c, 'R'));
    c->regel.lflags |= LF_GEANNULEERD; // a cancelled line waits for nothing
    ASSERT_TRUE(iojrn_append(c, 'R') && iojrn_append(c, 'X'));
    std::string out = nvt::run(std::string(NV_BIN_DIR) + "/jrnutil dump TEST.JRN");
    EXPECT_NE(out.find("lflags=64 signaal=\"2 stks geen vrk.\"\n"), std::string::npos) << out;
    EXPECT_NE(out.find("lflags=65\n"), std::string::npos) << out;
}

} // namespace
