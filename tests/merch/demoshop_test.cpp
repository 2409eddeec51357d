// The demo shop as mkdemo leaves it: every keyed file sound against the data
// dictionary, every label chain in line with its series, every journal
// whole, and every journal line on goods of the shop in the status that its
// receipt implies.
#include "frame/iosys.h"
#include "merch/ean.h"
#include "merch/ioeti.h"
#include "merch/leesstam.h"
#include "merch/stam.h"
#include "sale/iojrn.h"
#include "sale/kas_vkp.h"
#include "store/dd.h"
#include "store/ix.h"
#include "store/ixcheck.h"
#include "support/tmux.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

namespace {

std::vector<std::string> names_with(const std::string &dir, const std::string &ext) {
    std::vector<std::string> v;
    DIR *d = opendir(dir.c_str());
    while (dirent *e = readdir(d)) {
        std::string n = e->d_name;
        if (n.size() > ext.size() && n.compare(n.size() - ext.size(), ext.size(), ext) == 0)
            v.push_back(n.substr(0, n.size() - ext.size()));
    }
    closedir(d);
    return v;
}

// A label of a series and size in a status, where and when it was sold.
using Piece = std::tuple<uint32_t, uint16_t, uint16_t, int, int, int, int, int, int>;
Piece piece(const etiket_rec &r) {
    bool sold = r.status == ETI_VERKOPEN;
    return {r.art_nr,
            r.kleur,
            r.volgnr,
            r.maat,
            r.status,
            r.filiaal,
            sold ? r.verkocht_op : 0,
            sold ? r.verkoper : 0,
            sold ? r.verkoopprijs : 0};
}

TEST(DemoShop, EveryFileChainAndJournalLineAgrees) {
    nvt::TempDir shop;
    int status;
    nvt::run(std::string(NV_BIN_DIR "/mkdemo ") + shop.path() + " >/dev/null", &status);
    ASSERT_EQ(status, 0);
    char cwd[4096];
    ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
    ASSERT_EQ(chdir(shop.path().c_str()), 0);

    // Files of the data dictionary against it, the printer tables (which
    // have makers of their own) by the store's check alone.
    for (const std::string &name : names_with(".", ".INX")) {
        dd_result r{};
        int nr = nv::store::dd_number(name.c_str());
        EXPECT_TRUE(nr ? dd_verify(nr, name.c_str(), &r) : IXCHECK(name.c_str()) >= 0)
            << name << " " << +r.status;
    }

    long one = 1;
    iosys('O', &one, nullptr, sysmap::FIXED);
    int32_t n = 0;
    ioeti('O', &n, nullptr);
    stam_open();

    // The labels along the chains (their counters and the labels off any
    // chain are the label store test's), no label on two chains.
    std::map<uint32_t, etiket_rec> labels;
    std::map<Piece, int> by_size; // labels of the series kept by size
    std::set<uint16_t> stock_groups;
    ser_rec s{};
    for (int f = IXFIRST(dtser, &s); f; f = IXNEXTR(dtser, &s)) {
        ioeti_bind_series(true, s.art_nr, s.kleur, s.volgnr);
        etiket_rec r{};
        n = s.ser_eti_kop;
        for (int g = ioeti('F', &n, &r); g; g = ioeti('N', &n, &r)) {
            EXPECT_TRUE(labels.emplace(n, r).second) << n;
            if (s.ser_maatreg) ++by_size[piece(r)];
        }
        ASSERT_TRUE(lees_art(dtart, &art_buffer, s.art_nr));
        stock_groups.insert(art_buffer.art_omzetgroep);
    }
    ioeti_bind_series(false, 0, 0, 0);

    // The journals: whole, and each live line on something of the shop.
    ICB *vkp = IXOPEN("DTVKP", 0);
    int lines = 0, kinds = 0;
    std::set<uint32_t> sold_once;
    for (const std::string &name : names_with(".", ".JRN")) {
        std::string path = name + ".JRN";
        struct stat st;
        ASSERT_EQ(stat(path.c_str(), &st), 0);
        EXPECT_EQ(iojrn_check(path.c_str()), st.st_size) << path;
        jrn_cursor *c = iojrn_open(path.c_str(), O_RDONLY);
        while (iojrn_read(c)) {
            if (!jrn_is_line(c->letter) || c->regel.lflags & LF_GEANNULEERD) continue;
            const jrn_regel &l = c->regel;
            EXPECT_EQ(c->h.hflags, c->kasnr ? 0 : HF_VERWERKT) << path; // the till's wait
            EXPECT_EQ(c->h.filnr, c->filnr) << path;
            bool booked = c->h.hflags & HF_VERWERKT, sale = c->letter == 'V';
            std::string at = path + " " + std::string(l.invoer, strnlen(l.invoer, 13));
            ++lines;
            kinds |= 1 << (l.soort ? l.soort - 'A' + 1 : 0);
            vkp_rec seller{};
            seller.nummer = l.vkpnr;
            EXPECT_TRUE(IXREAD(vkp, &seller)) << at;
            if (l.soort == 0) {
                ASSERT_TRUE(labels.count(l.nummer)) << at;
                const etiket_rec &r = labels[l.nummer];
                char code[14];
                eti_ean(EAN_LABEL, l.nummer, code);
                EXPECT_EQ(std::string(l.invoer, 13), code) << at;
                EXPECT_TRUE(sale && sold_once.insert(l.nummer).second) << at;
                EXPECT_EQ(r.filiaal, c->h.filnr) << at;
                EXPECT_EQ(r.status, booked ? ETI_VERKOPEN : ETI_VOORRAAD) << at;
                if (booked) {
                    EXPECT_EQ(std::tie(r.verkocht_op, r.verkoper, r.verkoopprijs),
                              std::tie(c->h.datum, l.vkpnr, l.bedrag))
                        << at;
                }
            } else if (l.soort == 'M' || l.soort == 'E') {
                ean_rec e{};
                ASSERT_TRUE(ean_lees(dtean, &e, std::string(l.invoer, 13).c_str())) << at;
                EXPECT_EQ(e.ean_soort, 'M') << at;
                ser_rec sr{};
                sr.art_nr = e.ean_nummer, sr.kleur = e.ean_kleur, sr.volgnr = e.ean_volgnr;
                ASSERT_TRUE(IXREAD(dtser, &sr)) << at;
                EXPECT_TRUE(sr.ser_maatreg && sale) << at;
                etiket_rec want{};
                want.art_nr = sr.art_nr, want.kleur = sr.kleur, want.volgnr = sr.volgnr;
                want.maat = e.ean_maat, want.filiaal = c->h.filnr;
                want.status = booked ? ETI_VERKOPEN : ETI_VOORRAAD;
                want.verkocht_op = c->h.datum, want.verkoper = l.vkpnr,
                want.verkoopprijs = l.bedrag;
                EXPECT_GT(by_size[piece(want)]--, 0) << at; // a label of its own
            } else if (l.soort == 'A') {
                EXPECT_TRUE(lees_artreg(dtartreg, &artreg_buffer, (uint16_t)l.nummer)) << at;
            } else {
                ASSERT_EQ(l.soort, 'O') << at;
                EXPECT_TRUE(lees_omzgrp(dtomzgrp, &omzgrp_buffer, (uint16_t)l.nummer)) << at;
                EXPECT_FALSE(stock_groups.count((uint16_t)l.nummer)) << at;
            }
        }
        iojrn_close(c);
    }
    IXCLOSE(vkp);
    EXPECT_GT(lines, 100);
    EXPECT_EQ(kinds, 1 | 1 << 1 | 1 << 5 | 1 << 13 | 1 << 15); // labels, A, E, M, O

    stam_close();
    ioeti('C', &n, nullptr);
    iosys('C', &one, nullptr, sysmap::FIXED);
    EXPECT_EQ(chdir(cwd), 0);
}

} // namespace
