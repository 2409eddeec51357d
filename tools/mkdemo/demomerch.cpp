// The demo's articles, series and label store: see demomerch.h. The labels
// are packed by the label store itself (ioeti_pack) and its free chain is
// made by its own actions, so the demo's file is exactly what the program
// writes.
#include "demomerch.h"
#include "demosale.h"

#include "base/datum.h"
#include "base/osfile.h"
#include "frame/iosys.h"
#include "merch/ean.h"
#include "merch/ioeti.h"
#include "merch/stamrec.h"
#include "store/dd.h"
#include "store/iomaat.h"
#include "store/ix.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

namespace demo {
namespace {

const char *const k_names[6] = {"Jas", "Broek", "Jurk", "Trui", "Overhemd", "Rok"};

size_t article_count(const Options &opt) {
    return opt.size == "large" ? 1000 : 6;
}
size_t series_count(const Options &opt) {
    return article_count(opt) * (opt.size == "large" ? 100 : 2);
}

void text(char *field, size_t size, const std::string &s) {
    std::memset(field, 0, size);
    std::memcpy(field, s.data(), std::min(size - 1, s.size()));
}

// A new master file from the data dictionary, open for filling.
ICB *create_file(const std::string &dir, int filenr, const char *name) {
    std::string path = dir + "/" + name;
    if (!dd_create_pair(filenr, path.c_str())) return nullptr;
    return IXOPEN(path.c_str(), 1);
}

struct Stock {
    int32_t kop = -1;
    int32_t count[5] = {};
    uint16_t laatst_ontv = 0, laatst_verk = 0;
};

struct LabelMaker {
    const Options &opt;
    const std::vector<Series> &ser;
    std::map<uint32_t, std::pair<const SaleItem *, bool>> plan; // label -> item, booked?
    int16_t rates[11] = {};
    uint16_t today = datum_vandaag();

    // The label in slot `label` of block `block`; status 0 leaves it free.
    etiket_rec make(int32_t block, int32_t label) const {
        const Series &s = ser[(size_t)block % ser.size()];
        etiket_rec r{};
        r.art_nr = s.art_nr;
        r.kleur = s.kleur;
        r.volgnr = s.volgnr;
        r.maat = (uint8_t)label_maat((uint32_t)label);
        r.filiaal = (uint8_t)(block % opt.branches);
        r.lev_nr = (uint16_t)(1 + s.art_nr % 5);
        r.adviesprijs = series_price(s, r.maat);
        r.inkoopprijs = (uint32_t)r.adviesprijs * 10 / 22;
        r.inkoopcode = (uint8_t)(label % 3);
        r.p_vlag = label % 13 == 0;
        r.ontvangen = (uint16_t)(today - 20 - label % 30);
        r.ord_datum = (uint16_t)(r.ontvangen - 30);
        if (auto it = plan.find((uint32_t)label); it != plan.end()) {
            const SaleItem &p = *it->second.first;
            r.filiaal = p.filiaal;
            r.ontvangen = (uint16_t)(p.datum - 20 - label % 30);
            r.ord_datum = (uint16_t)(r.ontvangen - 30);
            if (!it->second.second) { // sold at the till, not yet booked
                r.status = ETI_VOORRAAD;
                return r;
            }
            r.status = ETI_VERKOPEN;
            r.verkocht_op = p.datum;
            r.verkoper = p.verkoper;
            r.verkoopprijs = p.prijs;
            r.btw_tarief = rates[p.btw];
            return r;
        }
        switch (label % 10) {
        case 0:
            break;
        case 1:
            r.status = ETI_NOTA;
            r.ord_datum = (uint16_t)(today - 5);
            r.lev_vanaf = (uint16_t)(today + 7);
            r.ontvangen = (uint16_t)(today + 21);
            r.order_nr = (uint32_t)(5000 + block);
            r.order_loc_aan = label % 20 == 1;
            r.order_loc = r.order_loc_aan ? r.filiaal : 255;
            break;
        case 6: // marked down by the action in the system file
            r.status = ETI_VOORRAAD;
            r.afprijs_nr = 1;
            r.verkoopprijs = r.adviesprijs * 7 / 10;
            break;
        case 7: // on its way to the next branch
            r.status = ETI_VOORRAAD;
            r.onderweg = opt.branches > 1;
            r.onderweg_filiaal = (uint8_t)((block + 1) % opt.branches);
            break;
        case 8:
            r.status = ETI_CORRECTIES;
            r.verkocht_op = (uint16_t)(today - 10);
            r.actiecode = (uint8_t)(1 + label % 3);
            break;
        case 9: // sold before the journals' time
            r.status = ETI_VERKOPEN;
            r.verkocht_op = (uint16_t)(today - 60 - label % 20);
            r.verkoper = (uint16_t)(1 + label % 10);
            r.verkoopprijs = r.adviesprijs;
            r.btw_tarief = rates[2];
            break;
        default:
            r.status = ETI_VOORRAAD;
            break;
        }
        return r;
    }
};

std::string write_articles(const std::string &dir, const Options &opt) {
    ICB *icb = create_file(dir, 4, "DTART");
    if (!icb) return "DTART: not in the data dictionary";
    for (const Article &a : articles(opt)) {
        art_rec r{};
        r.art_nr = a.art_nr;
        text(r.art_omschr, sizeof r.art_omschr, a.omschrijving);
        r.art_omzetgroep = a.omzetgroep;
        r.btw_code = a.btw_code;
        IXWRITE(icb, &r);
    }
    IXCLOSE(icb);
    return "";
}

std::string write_series(const std::string &dir, const std::vector<Series> &ser,
                         const std::vector<Stock> &stock) {
    ICB *icb = create_file(dir, 55, "DTSER");
    if (!icb) return "DTSER: not in the data dictionary";
    for (size_t i = 0; i < ser.size(); ++i) {
        const Series &s = ser[i];
        ser_rec r{};
        r.art_nr = s.art_nr;
        r.kleur = s.kleur;
        r.volgnr = s.volgnr;
        r.ser_merk = (uint16_t)(1 + i % 4);
        r.ser_jaar = 2016;
        r.ser_seizoen = i % 2 ? 'W' : 'Z';
        r.ser_maatsoort = 1;
        text(r.ser_model, sizeof r.ser_model, s.model);
        r.ser_prijsgroep[0] = 3; // XS to M, and L to XXL 5 euros more
        r.ser_prijsgroep[1] = 6;
        r.ser_adviesprijs[0] = s.adviesprijs;
        r.ser_adviesprijs[1] = s.adviesprijs + 500;
        r.ser_nota = stock[i].count[ETI_NOTA];
        r.ser_voorraad = stock[i].count[ETI_VOORRAAD];
        r.ser_verkocht = stock[i].count[ETI_VERKOPEN];
        r.ser_correcties = stock[i].count[ETI_CORRECTIES];
        r.ser_laatst_ontv = stock[i].laatst_ontv;
        r.ser_laatst_verk = stock[i].laatst_verk;
        r.ser_eti_kop = stock[i].kop;
        r.ser_nummer = (uint32_t)(i + 1);
        r.ser_maatreg = series_by_size(i);
        IXWRITE(icb, &r);
    }
    IXCLOSE(icb);
    return "";
}

// An EAN-13 of a supplier: twelve digits and their check digit.
std::string supplier_ean(uint32_t series, int size) {
    char code[14];
    std::snprintf(code, sizeof code, "871%05u%04d", series % 100000, size);
    int sum = 0;
    for (int i = 0; i < 12; ++i)
        sum += (code[i] - '0') * (i % 2 ? 3 : 1);
    code[12] = (char)('0' + (10 - sum % 10) % 10);
    code[13] = 0;
    return code;
}

const char *const k_sizes[] = {"XS", "S", "M", "L", "XL", "XXL"};

// The lookups of the sale: turnover groups, barcodes of the series' sizes
// and of the small articles, the small articles per branch, suppliers,
// brands, the size table of size kind 1, a few refill lines; and the files
// of the set that stay empty.
std::string write_lookups(const std::string &dir, const Options &opt,
                          const std::vector<Series> &ser) {
    struct Empty {
        int nr;
        const char *name;
    };
    for (Empty e : {Empty{27, "DTKOERS"}, {35, "DTMTOM"}, {26, "DTKLTKNM"}})
        if (!dd_create_pair(e.nr, (dir + "/" + e.name).c_str())) return "lookups: data dictionary";

    ICB *grp = create_file(dir, 40, "DTOMZGRP");
    const char *plural[] = {"Jassen", "Broeken", "Jurken", "Truien", "Overhemden", "Rokken"};
    for (int k = 0; k < 6; ++k) { // the groups of the articles, 10 to 15
        omzgrp_rec g{};
        g.omzetgroep = (uint16_t)(10 + k);
        text(g.omschrijving, sizeof g.omschrijving, plural[k]);
        g.btw_code = 2;
        IXWRITE(grp, &g);
    }
    for (auto [nr, name, btw] : {std::tuple{20, "Kleinigheden", 2}, {30, "Diversen", 1}}) {
        omzgrp_rec g{};
        g.omzetgroep = (uint16_t)nr;
        text(g.omschrijving, sizeof g.omschrijving, name);
        g.btw_code = (uint8_t)btw;
        IXWRITE(grp, &g);
    }
    IXCLOSE(grp);

    // Every size has its supplier's code; a series kept by size also has
    // the own code of its series and size numbers, and a barcode reference.
    ICB *ean = create_file(dir, 16, "DTEAN");
    ICB *barc = create_file(dir, 8, "DTBARC");
    for (size_t i = 0; i < ser.size(); ++i)
        for (int m = 1; m <= 6; ++m) {
            ean_rec e{};
            std::memcpy(e.ean_code, supplier_ean((uint32_t)i, m).c_str(), 13);
            e.ean_soort = 'M';
            e.ean_nummer = ser[i].art_nr;
            e.ean_kleur = ser[i].kleur;
            e.ean_volgnr = ser[i].volgnr;
            e.ean_maat = (uint8_t)m;
            e.ean_maatsoort = 1;
            IXWRITE(ean, &e);
            if (!series_by_size(i)) continue;
            barc_rec b{};
            std::memcpy(b.ean_code, e.ean_code, 13);
            b.ean_soort = 'M';
            b.ean_nummer = e.ean_nummer;
            b.ean_kleur = e.ean_kleur;
            b.ean_volgnr = e.ean_volgnr;
            b.ean_maat = e.ean_maat;
            IXWRITE(barc, &b);
            char own[14]; // the code and its NUL: the record's field holds 13
            eti_ean('M', size_number(i, m), own);
            std::memcpy(e.ean_code, own, sizeof e.ean_code);
            IXWRITE(ean, &e);
        }
    IXCLOSE(barc);
    ICB *reg = create_file(dir, 6, "DTARTREG");
    for (uint16_t a = 1; a <= 20; ++a) {
        artreg_rec r{};
        r.artikel = a;
        r.art.ar_omzetgroep = 20;
        r.art.ar_prijs = 295 + 100 * (a % 8);
        r.art.ar_kostprijs = r.art.ar_prijs / 2;
        IXWRITE(reg, &r);
        for (int b = 0; b < opt.branches; ++b) {
            artreg_rec f{};
            f.artikel = a;
            f.artreg_filiaal = (uint8_t)(b + 1);
            f.fil.ar_filiaalprijs = r.art.ar_prijs;
            f.fil.ar_voorraad = 10 + (a * 7 + b) % 30;
            IXWRITE(reg, &f);
        }
        ean_rec e{};
        std::memcpy(e.ean_code, supplier_ean(90000 + a, 0).c_str(), 13);
        e.ean_soort = 'A';
        e.ean_nummer = a;
        IXWRITE(ean, &e);
    }
    IXCLOSE(reg);
    IXCLOSE(ean);

    ICB *lev = create_file(dir, 30, "DTLEV");
    const char *suppliers[] = {"Van Dalen Confectie", "Nordwind Textil", "Atelier Merle",
                               "Bosman Mode", "Tricot Twente"};
    for (uint16_t n = 1; n <= 5; ++n) {
        lev_rec l{};
        l.lev_nr = n;
        text(l.lev_naam, sizeof l.lev_naam, suppliers[n - 1]);
        IXWRITE(lev, &l);
    }
    IXCLOSE(lev);
    ICB *merk = create_file(dir, 34, "DTMERK");
    const char *brands[][2] = {
        {"Brandel", "BRD"}, {"Kustlijn", "KUS"}, {"Veldwerk", "VLD"}, {"Stadsmode", "STM"}};
    for (uint16_t n = 1; n <= 4; ++n) {
        merk_rec m{};
        m.merk_nr = n;
        text(m.merk_naam, sizeof m.merk_naam, brands[n - 1][0]);
        text(m.merk_code, sizeof m.merk_code, brands[n - 1][1]);
        IXWRITE(merk, &m);
    }
    IXCLOSE(merk);

    ICB *maat = create_file(dir, 32, "DTMAAT");
    nv::store::iomaat_files(maat, nullptr);
    iomaat *h = iomaat_open(1, 1, IOMAAT_LOCK);
    for (int m = 1; m <= 6; ++m) {
        maat_entry e{};
        e.system = e.subsystem = 1;
        e.number = e.position = (uint8_t)m;
        std::memcpy(e.code, k_sizes[m - 1], std::strlen(k_sizes[m - 1]));
        iomaat_add(h, &e);
    }
    iomaat_close(h);
    nv::store::iomaat_files(nullptr, nullptr);
    IXCLOSE(maat);

    ICB *aanv = create_file(dir, 1, "DTAANV");
    for (uint32_t label = 1; label <= 5; ++label) {
        aanv_rec a{ser[0].art_nr, ser[0].kleur, ser[0].volgnr, label};
        IXWRITE(aanv, &a);
    }
    IXCLOSE(aanv);
    return "";
}

} // namespace

std::string supplier_ean_of(uint32_t series, int size) {
    return supplier_ean(series, size);
}

std::vector<Article> articles(const Options &opt) {
    std::vector<Article> v;
    for (size_t a = 0; a < article_count(opt); ++a) {
        std::string name = k_names[a % 6];
        if (a >= 6) name += " " + std::to_string(a / 6);
        v.push_back({(uint32_t)(1001 + a), name, (uint16_t)(10 + a % 6), 2});
    }
    return v;
}

std::vector<Series> series(const Options &opt) {
    size_t nart = article_count(opt);
    std::vector<Series> v;
    for (size_t i = 0; i < series_count(opt); ++i) {
        size_t a = i % nart;
        auto kleur = (uint16_t)(1 + (i / nart) % 8);
        auto volgnr = (uint16_t)(1 + i / (nart * 8));
        char model[32];
        std::snprintf(model, sizeof model, "%.8s %u-%u", k_names[a % 6], kleur, volgnr);
        v.push_back({(uint32_t)(1001 + a), kleur, volgnr, model, (int32_t)(2995 + 1000 * (i % 9))});
    }
    return v;
}

size_t label_series(const Options &opt, uint32_t label_no) {
    return (label_no - 1) / 10 % series_count(opt);
}

int label_maat(uint32_t label_no) {
    return (int)(1 + label_no % 6);
}

int32_t series_price(const Series &s, int maat) {
    return maat <= 3 ? s.adviesprijs : s.adviesprijs + 500;
}

bool series_by_size(size_t series) {
    return series % 4 == 3;
}

uint32_t size_number(size_t series, int maat) {
    return (uint32_t)((series + 1) * 10 + (size_t)maat);
}

uint16_t label_omzetgroep(const Options &opt, uint32_t label_no) {
    return (uint16_t)(10 + label_series(opt, label_no) % article_count(opt) % 6);
}

std::string build_merch(const std::string &dir, const Options &opt, const SalePlan &plan) {
    if (iosys_fd() >= 0 || ioeti_is_open())
        return "etiketten: systeembestand of etiketbestand al open";
    std::string err = write_articles(dir, opt);
    if (!err.empty()) return err;
    std::vector<Series> ser = series(opt);
    LabelMaker lm{opt, ser, {}, {}};
    uint32_t labels = 0;
    for (const SaleItem &it : plan.verkocht)
        if (it.etiket) lm.plan[it.etiket] = {&it, true}, labels = std::max(labels, it.etiket);
    for (const SaleItem &it : plan.kassa)
        if (it.etiket) lm.plan[it.etiket] = {&it, false}, labels = std::max(labels, it.etiket);

    std::string eti = dir + "/DTETI.TXT";
    int fd = open(eti.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0660);
    if (fd < 0) return "kan DTETI.TXT niet maken";
    close(fd);
    chmod(eti.c_str(), 0660);
    iosys_filename((dir + "/DTSYS.TXT").c_str());
    long nr = 1;
    sys_bedrijf company{};
    iosys('O', &nr, &company, sysmap::FIXED);
    iosys('R', &nr, &company, sysmap::FIXED);
    std::memcpy(lm.rates, company.btw_tarief, sizeof lm.rates);
    uint32_t rec20[16] = {1}; // transit between branches on
    nr = sysmap::REC_20;
    iosys('X', &nr, rec20, sysmap::FIXED);
    rec20[0] = 1;
    iosys('W', &nr, rec20, sysmap::FIXED);

    ioeti_filename(eti.c_str());
    int32_t n = 0;
    ioeti('O', &n, nullptr);
    ICB *art = IXOPEN((dir + "/DTART").c_str(), 0);
    ioeti_use_art(art);

    // The chains lie in memory first and go to the file in one write: the
    // series' blocks follow each other every ns blocks. The labels are
    // packed as the store packs them.
    size_t ns = ser.size();
    size_t blocks = ((labels + 9) / 10 + ns - 1) / ns * ns + ns;
    if (opt.size == "large") blocks = std::max(blocks, (1000000 / 9 + ns) / ns * ns);
    std::vector<Stock> stock(ns);
    std::vector<eti_blok> file(blocks);
    for (size_t b = 0; b < blocks; ++b) {
        Stock &st = stock[b % ns];
        eti_blok &blok = file[b];
        etiket_rec r = lm.make((int32_t)b, 0);
        blok.kop = eti_kop{r.art_nr, r.kleur, r.volgnr, 0, {}, -1};
        if (b + ns < blocks) blok.kop.volgend_blok = (int32_t)(b + ns);
        if (st.kop < 0) st.kop = (int32_t)b;
        for (int slot = 0; slot < 10; ++slot) {
            r = lm.make((int32_t)b, (int32_t)b * 10 + slot + 1);
            if (r.status == ETI_VRIJ) continue;
            ioeti_pack(&r, &blok, slot);
            ++st.count[r.status];
            if (r.status >= ETI_VOORRAAD) st.laatst_ontv = std::max(st.laatst_ontv, r.ontvangen);
            if (r.status == ETI_VERKOPEN) st.laatst_verk = std::max(st.laatst_verk, r.verkocht_op);
        }
    }
    fd = open(eti.c_str(), O_WRONLY);
    size_t size = blocks * sizeof(eti_blok);
    bool written = fd >= 0 && nv::os::pwrite_full(fd, file.data(), size, 0) == (ssize_t)size;
    if (fd >= 0) close(fd);
    if (!written) return "kan DTETI.TXT niet schrijven";
    std::vector<eti_blok>().swap(file);
    ioeti_reopen();
    eti_vrij_rec alloc{};
    nr = sysmap::REC_LABELHEAD;
    iosys('X', &nr, &alloc, sysmap::FIXED);
    alloc.eti_vrij_kop = alloc.eti_nieuw = (int32_t)blocks;
    alloc.eti_vrij_aantal = 0;
    iosys('W', &nr, &alloc, sysmap::FIXED);
    // A free chain: blocks taken for a series that is then given up.
    ser_rec gone{};
    etiket_rec scrap{};
    for (int i = 0; i < k_demo_free_blocks; ++i) {
        ioeti('I', &n, &scrap);
        if (i == 0) gone.ser_eti_kop = (n - 1) / 10;
    }
    bool freed = ioeti_free_chain(&gone);

    ioeti('C', &n, nullptr);
    ioeti_use_art(nullptr);
    IXCLOSE(art);
    iosys('C', &nr, nullptr, sysmap::FIXED);
    iosys_filename("DTSYS.TXT");
    ioeti_filename("DTETI.TXT");
    if (!freed) return "etiketten: vrije ketting niet gelukt";
    if (std::string e = write_series(dir, ser, stock); !e.empty()) return e;
    return write_lookups(dir, opt, ser);
}

} // namespace demo
