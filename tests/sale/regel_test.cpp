// Line entry on the demo shop: decoding and the own code on a table of
// inputs, validation of labels in every status, closing a label line
// against the bytes it must leave, a return that restores the label, and a
// series/size line that splits its amount and runs out of labels.
#include "base/datum.h"
#include "customer/klant.h"
#include "demomerch.h"
#include "exchange/kas_omz.h"
#include "exchange/kskvrec.h"
#include "merch/ean.h"
#include "merch/leesstam.h"
#include "merch/winkel.h"
#include "sale/iojrn.h"
#include "sale/regel.h"
#include "sale/vrkbon.h"
#include "sale/vrkstat.h"
#include "store/dd.h"
#include "store/ix.h"

#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>

namespace {

TEST(Plu, DecodingAndTheOwnCode) {
    Winkel w; // etiket_breedte 7: labels up to 9999999
    w.open();
    struct Case {
        const char *in;
        regel_fout f;
        char soort;
        long nummer;
        const char *invoer;
    } cases[] = {
        {"123", RF_GOED, 0, 123, "2600000000123"},
        {" 42 ", RF_GOED, 0, 42, "2800000000042"},
        {"1234567", RF_GOED, 0, 1234567, "2200001234567"},
        {"A007", RF_GOED, 'A', 7, "2601000000007"}, // leading zeros after a letter
        {"M12", RF_GOED, 'M', 12, "2113000000012"},
        {"E5", RF_GOED, 'E', 5, "2605000000005"},
        {"O15", RF_GOED, 'O', 15, "2815000000015"},
        {"A0", RF_GOED, 'A', 0, "A0"},                        // 0 keeps its text
        {"2100000000005", RF_GOED, 0, 5, "2100000000005"},    // the own code of label 5
        {"8710000000017", RF_GOED, 'E', 0, "8710000000017"},  // a supplier's EAN
        {"87100000000170", RF_GOED, 'E', 0, "8710000000017"}, // cut to 13
        {"12345678", RF_ONGELDIG, 0, 0, ""},                  // above the largest label
        {"123456789", RF_ONGELDIG, 0, 0, ""},
        {"2100000000006", RF_ONGELDIG, 0, 0, ""}, // bad check digit: 13 digits
        {"X12", RF_ONGELDIG, 0, 0, ""},
        {"a12", RF_ONGELDIG, 0, 0, ""},
        {"12a", RF_ONGELDIG, 0, 0, ""},
        {"-5", RF_ONGELDIG, 0, 0, ""},
        {"A", RF_ONGELDIG, 0, 0, ""},
        {"", RF_ONGELDIG, 0, 0, ""},
    };
    for (const Case &k : cases) {
        SCOPED_TRACE(k.in);
        plu_invoer p;
        regel_uitslag u{};
        ASSERT_EQ(plu_decodeer(k.in, &p, &u), k.f);
        if (k.f != RF_GOED) {
            EXPECT_STREQ(u.tekst, "Ongeldige ingave");
            continue;
        }
        EXPECT_EQ(p.soort, k.soort);
        EXPECT_EQ(p.nummer, k.nummer);
        EXPECT_STREQ(p.invoer, k.invoer);
        if (std::strlen(p.invoer) == 13) {
            EXPECT_TRUE(ean_geldig(p.invoer));
        }
    }
    w.close();
}

// A receipt in branch 0 of the demo shop, today, seller 7.
class Regel : public ::testing::Test {
  protected:
    Winkel w;
    jrn_cursor *c = nullptr;
    uint16_t vandaag = datum_vandaag();
    void SetUp() override {
        w.open();
        vrk = vrk_staat{};
        vrk.verkoper = vrk.verkoper_regel = 7;
        c = vrkbon_open(0);
        c->h.filnr = 0;
        c->h.datum = vandaag;
        c->h.vkpnr = 7;
        c->h.bonnr = 12;
        vrk_bon_nieuw();
    }
    void TearDown() override {
        if (c) vrkbon_close(c, false);
        w.close();
    }
    // The first label that passes the test.
    int32_t zoek(const std::function<bool(const etiket_rec &)> &test) {
        etiket_rec e{};
        for (int32_t n = 1; n < 20000; ++n) {
            int32_t m = n;
            if (ioeti('R', &m, &e) && test(e)) return n;
        }
        ADD_FAILURE() << "no such label in the demo shop";
        return 0;
    }
    etiket_rec lees(int32_t n) {
        etiket_rec e{};
        ioeti('R', &n, &e);
        return e;
    }
    ser_rec serie(const etiket_rec &e) {
        ser_rec s{};
        s.art_nr = e.art_nr, s.kleur = e.kleur, s.volgnr = e.volgnr;
        IXREAD(dtser, &s);
        return s;
    }
    regel_fout invoer(const std::string &tekst, char tx, regel_uitslag *u) {
        regel_leeg(c, tx);
        plu_invoer p;
        regel_fout f = plu_decodeer(tekst.c_str(), &p, u);
        return f == RF_GOED ? regel_valideer(c, p, u) : f;
    }
    std::string bon() {
        std::ifstream f("VRK0000.BON", std::ios::binary);
        return {std::istreambuf_iterator<char>(f), {}};
    }
};

TEST_F(Regel, LabelsInEveryStatus) {
    auto eigen = [](uint8_t st) {
        return
            [st](const etiket_rec &e) { return e.status == st && e.filiaal == 0 && !e.onderweg; };
    };
    int32_t nota = zoek(eigen(ETI_NOTA)),
            voorraad = zoek([](const etiket_rec &e) {
                return e.status == ETI_VOORRAAD && e.filiaal == 0 && !e.onderweg && !e.afprijs_nr;
            }),
            verkocht = zoek([](const etiket_rec &e) {
                return e.status == ETI_VERKOPEN && e.filiaal == 0 && !e.klant_nr;
            }),
            correctie = zoek(eigen(ETI_CORRECTIES)),
            ander_fil = zoek([](const etiket_rec &e) {
                return e.status == ETI_VOORRAAD && e.filiaal == 1 && !e.onderweg;
            }),
            afgeprijsd = zoek([](const etiket_rec &e) {
                return e.status == ETI_VOORRAAD && e.afprijs_nr == 1 && e.filiaal == 0;
            });
    struct Case {
        int32_t label;
        char tx;
        regel_fout f;
        const char *tekst;
    } cases[] = {
        {nota, 'V', RF_NIET_OP_VOORRAAD, "Etiket niet op voorraad"},
        {verkocht, 'V', RF_NIET_OP_VOORRAAD, "Etiket niet op voorraad"},
        {correctie, 'V', RF_NIET_OP_VOORRAAD, "Etiket niet op voorraad"}, // with an action code
        {voorraad, 'R', RF_NIET_VERKOCHT, "Etiket niet verkocht"},
        {nota, 'R', RF_NIET_VERKOCHT, "Etiket niet verkocht"},
        {9999990, 'V', RF_ONBEKEND_ETIKET, "<9999990> Onbekend etiketnummer"},
        {voorraad, 'V', RF_GOED, ""},
        {verkocht, 'R', RF_GOED, ""},
        {ander_fil, 'V', RF_GOED, ""},
        {afgeprijsd, 'V', RF_GOED, ""},
    };
    for (const Case &k : cases) {
        SCOPED_TRACE(k.label);
        regel_uitslag u;
        ASSERT_EQ(invoer(std::to_string(k.label), k.tx, &u), k.f);
        EXPECT_STREQ(u.tekst, k.tekst);
        EXPECT_EQ(vrk.regel_open, k.f == RF_GOED);
        if (k.f == RF_GOED) regel_vervallen(c);
    }
    etiket_rec e = lees(verkocht);
    regel_uitslag u;
    ASSERT_EQ(invoer(std::to_string(verkocht), 'R', &u), RF_GOED);
    char verwacht[40], dd[8];
    std::snprintf(verwacht, sizeof verwacht, "Vrk: %-3u dd: %6s ", e.verkoper,
                  datum_tekst(dd, e.verkocht_op, false));
    EXPECT_STREQ(u.status, verwacht);
    EXPECT_EQ(c->regel.bedrag, e.verkoopprijs); // what was paid comes back
    EXPECT_FALSE(rinfo.kan_prijs);
    regel_vervallen(c);

    ASSERT_EQ(invoer(std::to_string(ander_fil), 'V', &u), RF_GOED);
    EXPECT_STREQ(u.status, "Fil: 1  ");
    EXPECT_TRUE(u.piep);
    regel_vervallen(c);

    e = lees(afgeprijsd); // the action of the demo is valid today in every branch
    ASSERT_EQ(invoer(std::to_string(afgeprijsd), 'V', &u), RF_GOED);
    EXPECT_EQ(c->regel.prijs, e.adviesprijs);
    EXPECT_EQ(c->regel.bedrag, e.verkoopprijs);
    EXPECT_EQ(c->regel.actie, 1);
    regel_vervallen(c);

    // A label of another customer, and one that is out on approval.
    etiket_rec k = lees(verkocht);
    k.klant_nr = 1001;
    int32_t n = verkocht;
    ioeti('W', &n, &k);
    ASSERT_EQ(invoer(std::to_string(verkocht), 'R', &u), RF_ANDERE_KLANT);
    EXPECT_STREQ(u.tekst, "Verkocht aan klant: 1001    ");
    c->h.kltnr = 1001;
    ICB *kszi = IXOPEN("KSZI", 2);
    kszi_rec z{};
    z.kltnr = 1001;
    plu_ean_vorm(0, verkocht, z.ean);
    IXWRITE(kszi, &z);
    IXCLOSE(kszi);
    ASSERT_EQ(invoer(std::to_string(verkocht), 'R', &u), RF_OP_ZICHT);
    EXPECT_EQ(std::string(u.tekst), "Etiket " + std::to_string(verkocht) + " is op zicht verkocht");
}

TEST_F(Regel, ClosingASaleAndItsReturn) {
    int32_t n = zoek([](const etiket_rec &e) {
        return e.status == ETI_VOORRAAD && e.filiaal == 0 && !e.onderweg && !e.afprijs_nr;
    });
    const etiket_rec voor = lees(n);
    const ser_rec s0 = serie(voor);
    regel_uitslag u;
    ASSERT_EQ(invoer(std::to_string(n), 'V', &u), RF_GOED);
    ASSERT_TRUE(regel_sluiten(c, 'V'));
    EXPECT_FALSE(vrk.regel_open);
    EXPECT_TRUE(vrk.bon_gestart);

    etiket_rec na = voor;
    na.status = ETI_VERKOPEN;
    na.verkocht_op = vandaag;
    na.verkoper = 7;
    na.verkoopprijs = voor.adviesprijs;
    na.btw_tarief = (int16_t)btw_tarief_code(art_buffer.btw_code);
    etiket_rec gelezen = lees(n);
    EXPECT_EQ(std::memcmp(&gelezen, &na, sizeof na), 0);
    ser_rec s1 = serie(voor), s_verwacht = s0;
    s_verwacht.ser_voorraad--, s_verwacht.ser_verkocht++;
    s_verwacht.ser_laatst_verk = std::max(s0.ser_laatst_verk, vandaag);
    EXPECT_EQ(std::memcmp(&s1, &s_verwacht, sizeof s1), 0);
    aanv_rec a{voor.art_nr, voor.kleur, voor.volgnr, (uint32_t)n};
    EXPECT_EQ(IXREAD(dtaanv, &a), 1);

    jrn_h h{};
    h.bonnr = 12, h.vkpnr = 7, h.datum = vandaag;
    jrn_regel r{};
    plu_ean_vorm(0, n, r.invoer);
    r.vkpnr = 7, r.aantal = 1, r.nummer = (uint32_t)n;
    r.prijs = r.bedrag = voor.adviesprijs;
    r.bedrag_excl = btw_excl(r.bedrag, na.btw_tarief);
    r.omzetgroep = demo::label_omzetgroep(demo::Options{}, (uint32_t)n);
    r.btw = art_buffer.btw_code;
    std::string verwacht = "H" + std::string((const char *)&h, sizeof h) + "V" +
                           std::string((const char *)&r, sizeof r);
    EXPECT_EQ(bon(), verwacht);
    EXPECT_EQ(vrk.subtotaal_stuks, 1);
    EXPECT_EQ(vrk.subtotaal_bedrag, r.bedrag);
    EXPECT_EQ(vrk.btw_totaal, r.bedrag - r.bedrag_excl);

    // The return restores the label and the series exactly.
    ASSERT_EQ(invoer(std::to_string(n), 'R', &u), RF_GOED);
    EXPECT_EQ(c->regel.bedrag, r.bedrag);
    ASSERT_TRUE(regel_sluiten(c, 'R'));
    gelezen = lees(n);
    EXPECT_EQ(std::memcmp(&gelezen, &voor, sizeof voor), 0);
    s1 = serie(voor);
    s_verwacht.ser_voorraad++, s_verwacht.ser_verkocht--;
    EXPECT_EQ(std::memcmp(&s1, &s_verwacht, sizeof s1), 0);
    EXPECT_EQ(IXREAD(dtaanv, &a), 0);
    EXPECT_EQ(vrk.subtotaal_stuks, 0);
    EXPECT_EQ(vrk.subtotaal_bedrag, 0);
    EXPECT_EQ(bon().size(), 21u + 2 * 61u);

    // Sold to a customer: his counters and label list take the label, and
    // give it back on its return.
    c->h.kltnr = 1001;
    klt_buffer = klt_rec{};
    klt_buffer.kltnr = 1001;
    ASSERT_EQ(IXREADL(dtklt, &klt_buffer), 1);
    klt_buffer.laatste_aankoop = vandaag; // his counters hold this year
    const klt_rec k0 = klt_buffer;
    ASSERT_EQ(invoer(std::to_string(n), 'V', &u), RF_GOED);
    ASSERT_TRUE(regel_sluiten(c, 'V'));
    EXPECT_EQ(lees(n).klant_nr, 1001u);
    EXPECT_EQ(lees(n).klant_volgend, (uint32_t)k0.etiket_kop);
    EXPECT_EQ(klt_buffer.etiket_kop, n);
    EXPECT_EQ(klt_buffer.aantal[0], k0.aantal[0] + 1);
    ASSERT_EQ(invoer(std::to_string(n), 'R', &u), RF_GOED);
    ASSERT_TRUE(regel_sluiten(c, 'R'));
    gelezen = lees(n);
    EXPECT_EQ(std::memcmp(&gelezen, &voor, sizeof voor), 0);
    EXPECT_EQ(klt_buffer.etiket_kop, k0.etiket_kop);
    EXPECT_EQ(klt_buffer.aantal[0], k0.aantal[0]);
    EXPECT_EQ(klt_buffer.bedrag[0], k0.bedrag[0]);
    IXUNLOCK(dtklt, &klt_buffer);
}

// Series 0 kept by size, with three old labels of size 1 in branch 0 that
// the system must pick first, and one of size 2.
TEST_F(Regel, SeriesAndSize) {
    ser_rec s{};
    s.art_nr = 1001, s.kleur = 1, s.volgnr = 1;
    ASSERT_EQ(IXREADL(dtser, &s), 1);
    s.ser_maatreg = 1;
    IXWRITE(dtser, &s);
    int32_t nieuw[4]; // sizes 1, 1, 1, 2
    for (int i = 0; i < 4; ++i) {
        int32_t kop = s.ser_eti_kop, n = 0;
        etiket_rec e{};
        ioeti('F', &kop, &e);
        e = etiket_rec{};
        e.art_nr = s.art_nr, e.kleur = s.kleur, e.volgnr = s.volgnr;
        e.status = ETI_VOORRAAD, e.maat = i < 3 ? 1 : 2, e.adviesprijs = 2995;
        e.ontvangen = (uint16_t)(100 + i), e.order_loc = 255;
        ioeti('W', &n, &e);
        nieuw[i] = n;
    }
    std::string ean1 = demo::supplier_ean_of(0, 1), ean2 = demo::supplier_ean_of(0, 2);
    regel_uitslag u;
    ASSERT_EQ(invoer(ean1, 'V', &u), RF_GOED) << u.tekst;
    EXPECT_EQ(c->regel.soort, SRT_EAN);
    EXPECT_TRUE(rinfo.kan_stuks);
    c->regel.aantal = 3;
    c->regel.bedrag = 100;
    ASSERT_TRUE(regel_sluiten(c, 'V'));
    const int32_t delen[3] = {33, 34, 33};
    for (int i = 0; i < 3; ++i) {
        etiket_rec e = lees(nieuw[i]);
        EXPECT_EQ(e.status, ETI_VERKOPEN);
        EXPECT_EQ(e.verkoopprijs, delen[i]);
    }
    EXPECT_EQ(c->regel.rest, 0);
    EXPECT_EQ(c->regel.bedrag, 100);

    // More pieces than labels of size 2: what is left stays as a signal.
    ASSERT_EQ(invoer(ean2, 'V', &u), RF_GOED) << u.tekst;
    int tel = rinfo.aantal_max;
    c->regel.aantal = (uint16_t)(tel + 2);
    c->regel.bedrag = 5000;
    ASSERT_TRUE(regel_sluiten(c, 'V'));
    EXPECT_EQ(c->regel.rest, 2);
    EXPECT_TRUE(c->regel.lflags & LF_SIGNAAL);
    EXPECT_EQ(c->regel.bedrag, 5000);
    ASSERT_EQ(invoer(ean2, 'V', &u), RF_ONVOLDOENDE);
    EXPECT_EQ(std::string(u.tekst), "<" + ean2 + "> Onvoldoende voorraad (0 stuks)");

    // A label of a size-kept series is sold as its size.
    int32_t label = zoek([&](const etiket_rec &e) {
        return e.art_nr == 1001 && e.kleur == 1 && e.status == ETI_VOORRAAD && e.filiaal == 0 &&
               !e.onderweg && e.maat > 2;
    });
    ASSERT_EQ(invoer(std::to_string(label), 'V', &u), RF_GOED) << u.tekst;
    EXPECT_EQ(c->regel.soort, SRT_MAAT);
    regel_vervallen(c);
    s.ser_maatreg = 0;
    ASSERT_EQ(IXREADL(dtser, &s), 1);
    s.ser_maatreg = 0;
    IXWRITE(dtser, &s);
    ASSERT_EQ(invoer(ean1, 'V', &u), RF_GEEN_MAATNIVEAU);
}

} // namespace
