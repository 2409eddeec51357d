// Booking journal lines on the demo shop: a sale and a return of a label in
// every status and place, a mark-down whose action ended before the return,
// a series/size line booked in full, in part and not at all, the words of
// the marks at each print level, and jrnutil showing them.
#include "base/datum.h"
#include "demomerch.h"
#include "exchange/kas_omz.h"
#include "frame/iosys.h"
#include "journal/vwkas.h"
#include "merch/ean.h"
#include "merch/winkel.h"
#include "sale/etiboek.h"
#include "store/ix.h"

#include <cstring>
#include <functional>

namespace {

class Boek : public ::testing::Test {
  public:
    static ser_rec serie(const etiket_rec &e) {
        ser_rec s{};
        s.art_nr = e.art_nr, s.kleur = e.kleur, s.volgnr = e.volgnr;
        IXREAD(dtser, &s);
        return s;
    }

  protected:
    Winkel w;
    jrn_cursor *c = nullptr;
    void SetUp() override {
        w.open();
        omz_open();
        omz_wis();
        ser_buffer = ser_rec{}, ean_buffer = ean_rec{}; // from another shop
        lees_actie_vergeet();
        c = iojrn_open("TEST.JRN", O_RDWR | O_CREAT);
        c->h = jrn_h{};
        c->h.datum = datum_vandaag(), c->h.hflags = HF_VERWERKT;
    }
    void TearDown() override {
        iojrn_close(c);
        omz_close();
        w.close();
    }
    int32_t zoek(const std::function<bool(const etiket_rec &)> &test) {
        for (int32_t n = 1; n < 20000; ++n)
            if (test(lees(n))) return n;
        ADD_FAILURE() << "no such label in the demo shop";
        return 0;
    }
    static etiket_rec lees(int32_t n) {
        etiket_rec e{};
        return ioeti('R', &n, &e) ? e : etiket_rec{};
    }
    void regel(char tx, char soort, uint32_t nummer, int32_t prijs, int32_t bedrag,
               uint16_t aantal = 1) {
        c->letter = tx;
        c->regel = jrn_regel{};
        c->regel.soort = soort, c->regel.nummer = nummer, c->regel.aantal = aantal;
        c->regel.prijs = prijs, c->regel.bedrag = bedrag, c->regel.btw = 1;
    }
    std::string tekst(int niveau) { return signaal_tekst(c, niveau); }
    static int32_t omzet() { return omz_acc.bon[1] - omz_acc.bon[2]; }
};

// A label of a series sold by label.
auto label_van(uint8_t st, int fil = 0) {
    return [=](const etiket_rec &e) {
        return e.status == st && e.filiaal == fil && !e.onderweg && !e.afprijs_nr && !e.klant_nr &&
               !Boek::serie(e).ser_maatreg;
    };
}

// A signal leaves label, series and turnover as they were.
TEST_F(Boek, LabelsInEveryStatusAndPlace) {
    int32_t voorraad = zoek(label_van(ETI_VOORRAAD)), verkocht = zoek(label_van(ETI_VERKOPEN)),
            nota = zoek(label_van(ETI_NOTA)), correctie = zoek(label_van(ETI_CORRECTIES)),
            ander = zoek(label_van(ETI_VOORRAAD, 1)),
            onderweg = zoek([](const etiket_rec &e) {
                return e.status == ETI_VOORRAAD && e.onderweg && e.onderweg_filiaal == 0 &&
                       !serie(e).ser_maatreg;
            });
    int32_t corr0 = zoek([&](const etiket_rec &e) { // sells like stock: no action code
        return label_van(ETI_CORRECTIES)(e) && e.art_nr != lees(correctie).art_nr;
    });
    etiket_rec e0 = lees(corr0);
    e0.actiecode = 0;
    ioeti('W', &corr0, &e0);
    struct Case {
        int32_t label;
        char tx;
        uint8_t status_na, lflags, eti_status; // status_na 0: a signal
        const char *tekst;
    } cases[] = {
        {voorraad, 'V', ETI_VERKOPEN, 0, 0, ""},
        {verkocht, 'R', ETI_VOORRAAD, 0, 0, ""},
        {ander, 'V', ETI_VERKOPEN, LF_ANDER_FIL, 0, "Afw.fil 1"},
        {onderweg, 'V', ETI_VERKOPEN, LF_ONDERWEG, 0, "Onderweg"},
        {corr0, 'V', ETI_VERKOPEN, 0, ETI_CORRECTIES, "Correctie"},
        {nota, 'V', 0, LF_SIGNAAL, ETI_NOTA, "Nota etiket"},
        {nota, 'R', 0, LF_SIGNAAL, ETI_NOTA, "Nota etiket"},
        {verkocht, 'R', 0, LF_SIGNAAL, ETI_VOORRAAD, "Niet verkocht"}, // back in stock
        {voorraad, 'Z', 0, LF_SIGNAAL, ETI_VERKOPEN, "Reeds verkocht"},
        {correctie, 'V', 0, LF_SIGNAAL, ETI_CORRECTIES, "Correctie"},
        {correctie, 'z', 0, LF_SIGNAAL, ETI_CORRECTIES, "Correctie"},
        {9999990, 'V', 0, LF_SIGNAAL | LF_ONBEKEND, 0, "Etiket onbekend"},
    };
    for (const Case &k : cases) {
        SCOPED_TRACE(std::to_string(k.label) + k.tx);
        const etiket_rec voor = lees(k.label);
        const ser_rec s0 = serie(voor);
        int32_t bedrag = k.tx == 'R' ? voor.verkoopprijs : voor.adviesprijs, o = omzet();
        regel(k.tx, 0, (uint32_t)k.label, voor.adviesprijs, bedrag);
        vwkas_etiket(c, false);
        EXPECT_EQ(c->regel.lflags, k.lflags);
        EXPECT_EQ(c->regel.eti_status, k.eti_status);
        for (int niveau = 0; niveau <= 3; ++niveau)
            EXPECT_EQ(tekst(niveau), k.tekst);
        const etiket_rec na = lees(k.label);
        const ser_rec s1 = serie(voor);
        int teken = k.status_na ? vwkas_teken(k.tx) : 0;
        EXPECT_EQ(na.status, k.status_na ? k.status_na : voor.status);
        EXPECT_EQ(na.filiaal, k.status_na ? 0 : voor.filiaal);
        EXPECT_EQ(s1.ser_verkocht, s0.ser_verkocht + teken);
        EXPECT_EQ(s1.ser_voorraad + s1.ser_nota + s1.ser_correcties,
                  s0.ser_voorraad + s0.ser_nota + s0.ser_correcties - teken);
        EXPECT_EQ(omzet(), o + teken * bedrag);
    }
}

TEST_F(Boek, ReturnAfterTheActionEnded) {
    int32_t n = zoek([](const etiket_rec &e) {
        return e.status == ETI_VOORRAAD && e.afprijs_nr == 1 && e.filiaal == 0 && !e.onderweg &&
               !serie(e).ser_maatreg;
    });
    etiket_rec e = lees(n);
    regel('V', 0, (uint32_t)n, e.verkoopprijs, e.verkoopprijs);
    vwkas_etiket(c, false);
    EXPECT_EQ(tekst(1), "Afw. adviesprijs"); // the mark-down price, not the label's
    long nr = 1;
    sys_actie a{};
    ASSERT_TRUE(iosys('R', &nr, &a, sysmap::ACTIONS));
    a.tot = (uint16_t)(c->h.datum - 1);
    ASSERT_TRUE(iosys('W', &nr, &a, sysmap::ACTIONS));
    lees_actie_vergeet();
    regel('R', 0, (uint32_t)n, e.adviesprijs, e.verkoopprijs);
    vwkas_etiket(c, false);
    EXPECT_EQ(c->regel.lflags, LF_ACTIE_VERVALLEN);
    etiket_rec na = lees(n);
    EXPECT_EQ(na.status * 10000 + na.afprijs_nr * 1000 + na.verkoopprijs, ETI_VOORRAAD * 10000);
    EXPECT_EQ(tekst(0), "Afprijzing");
}

// Series 1001.1.1 kept by size, with three labels of size 1 received long
// ago in branch 0, which the picks take first.
TEST_F(Boek, SeriesAndSize) {
    ser_rec s{};
    s.art_nr = 1001, s.kleur = 1, s.volgnr = 1;
    ASSERT_EQ(IXREADL(dtser, &s), 1);
    s.ser_maatreg = 1;
    IXWRITE(dtser, &s);
    int32_t oud[3];
    for (int i = 0; i < 3; ++i) {
        etiket_rec e{};
        int32_t kop = s.ser_eti_kop;
        ioeti('F', &kop, &e);
        e = etiket_rec{};
        e.art_nr = 1001, e.kleur = 1, e.volgnr = 1, e.status = ETI_VOORRAAD, e.maat = 1;
        e.adviesprijs = 2995, e.ontvangen = (uint16_t)(100 + i), e.order_loc = 255;
        ioeti('W', &(oud[i] = 0), &e);
    }
    auto maat = [&](char tx, int size, uint16_t aantal, int32_t bedrag) {
        std::string ean = demo::supplier_ean_of(0, size);
        regel(tx, 'E', 0, 2995, bedrag, aantal);
        std::memcpy(c->regel.invoer, ean.data(), 13);
        ean_lees(dtean, &ean_buffer, ean.c_str());
        vwkas_maat(c);
        return std::vector<int>{c->regel.rest, c->regel.lflags, c->regel.bedrag};
    };
    EXPECT_EQ(maat('V', 1, 3, 1000), (std::vector<int>{0, 0, 1000}));
    const int32_t delen[3] = {333, 334, 333};
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(lees(oud[i]).verkoopprijs, delen[i]) << i;
    EXPECT_EQ(omzet(), 1000);
    // Two back at 667: a unit of 333 takes labels of 332 to 334; of three
    // more only one is left.
    EXPECT_EQ(maat('R', 1, 2, 667), (std::vector<int>{0, 0, 667}));
    EXPECT_EQ(maat('R', 1, 3, 999), (std::vector<int>{2, LF_SIGNAAL, 999}));
    EXPECT_EQ(tekst(3), "2 stks geen vrk.");
    for (int32_t n : oud)
        EXPECT_EQ(lees(n).status, ETI_VOORRAAD);

    // Size 2 in part, then not at all: the counters move by what was found.
    ser_rec s0 = serie(lees(oud[0]));
    int er_zijn = s0.ser_voorraad; // an upper bound; the booked pieces tell
    auto r = maat('V', 2, (uint16_t)(er_zijn + 2), 5000);
    int geboekt = er_zijn + 2 - r[0];
    EXPECT_EQ(r[1], LF_SIGNAAL);
    EXPECT_EQ(r[2], 5000);
    EXPECT_EQ(serie(lees(oud[0])).ser_verkocht, s0.ser_verkocht + geboekt);
    const char *deel[4] = {"stks geen vrd.", "stks geen vrd.", "", "stks geen vrd."};
    for (int niveau = 0; niveau <= 3; ++niveau)
        EXPECT_EQ(tekst(niveau), *deel[niveau] ? std::to_string(r[0]) + " " + deel[niveau] : "");
    s0 = serie(lees(oud[0]));
    EXPECT_EQ(maat('V', 2, 1, 2995), (std::vector<int>{1, LF_SIGNAAL, 2995}));
    ser_rec s1 = serie(lees(oud[0]));
    EXPECT_EQ(std::memcmp(&s1, &s0, sizeof s1), 0);

    // A label number of the series stands for its size: the oldest piece.
    int32_t jong = zoek([](const etiket_rec &e) {
        return e.art_nr == 1001 && e.kleur == 1 && e.volgnr == 1 && e.maat == 1 &&
               e.status == ETI_VOORRAAD && e.filiaal == 0 && e.ontvangen > 102;
    });
    regel('V', 0, (uint32_t)jong, 2995, 2995);
    vwkas_etiket(c, false);
    EXPECT_EQ(lees(oud[0]).status * 10 + lees(jong).status, ETI_VERKOPEN * 10 + ETI_VOORRAAD);
    EXPECT_EQ(tekst(1), "Serie heeft maatregistratie");
    regel('V', 0, (uint32_t)jong, 2995, 2995);
    corr_etiket(c, false); // the correction's pick leaves no mark
    EXPECT_EQ(c->regel.lflags, 0);

    ASSERT_EQ(IXREADL(dtser, &s), 1);
    s.ser_maatreg = 0;
    IXWRITE(dtser, &s);
    EXPECT_EQ(maat('V', 1, 1, 2995)[1], LF_SIGNAAL | LF_ONBEKEND);
}

TEST_F(Boek, WordsOfTheMarksAndJrnutil) {
    struct Case {
        char tx, soort;
        uint8_t hflags, lflags, eti_status;
        uint16_t rest;
        const char *tekst;
    } cases[] = {
        {'V', 'A', 2, 64 | 128, 0, 0, "Artikel onbekend"},
        {'V', 'E', 2, 64 | 128, 0, 0, "EAN-code onbekend"},
        {'R', 'M', 2, 64 | 128, 0, 0, "Serie/maat onbekend"},
        {'V', 0, 0, 64 | 128, 0, 0, "NIET VERWERKT, etiket onbekend"},
        {'V', 0, 2 | 4 | 8 | 16, 0, 1, 0, "Datacom, nieuwe klant, ongeldig klantnr, nota etiket"},
        {'V', 0, 2, 4 | 16 | 32, 4, 0, "Correctie, afw.fil 12, afprijzing, onderweg"},
        {'R', 'M', 2, 64, 0, 3, "3 stks geen vrk."},
        {'V', 'E', 2, 8 | 32, 0, 0, "Serie heeft maatregistratie, onderweg"},
        {'V', 0, 2, 0, 0, 0, ""},
    };
    for (const Case &k : cases) {
        regel(k.tx, k.soort, 9999990, 100, 90);
        c->h.hflags = k.hflags, c->regel.ander_fil = 12, c->regel.rest = k.rest;
        c->regel.lflags = k.lflags, c->regel.eti_status = k.eti_status;
        EXPECT_EQ(std::string(signaal_tekst(c, 1, true)), k.tekst);
    }
    ASSERT_TRUE(iojrn_append(c, 'H') && iojrn_append(c, 'V'));
    c->regel.lflags = LF_GEANNULEERD | LF_SIGNAAL; // a cancelled line waits for nothing
    ASSERT_TRUE(iojrn_append(c, 'V') && iojrn_append(c, 'X'));
    std::string out = nvt::run(std::string(NV_BIN_DIR) + "/jrnutil dump TEST.JRN");
    EXPECT_NE(out.find("lflags=0\n"), std::string::npos) << out; // nothing to say
    c->regel.lflags = LF_SIGNAAL;
    c->regel.rest = 2;
    iojrn_append(c, 'H'), iojrn_append(c, 'R'), iojrn_append(c, 'X');
    out = nvt::run(std::string(NV_BIN_DIR) + "/jrnutil dump TEST.JRN");
    EXPECT_NE(out.find("lflags=65\n"), std::string::npos) << out;
    EXPECT_NE(out.find("lflags=64 signaal=\"2 stks geen vrk.\"\n"), std::string::npos) << out;
}

} // namespace
