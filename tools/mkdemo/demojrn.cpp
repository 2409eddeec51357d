// The demo's journals, written from a sale plan: see demosale.h.
//
// The back-office receipts look as the sale entry writes them: H with
// hflags 2 and the receipt number of KASPARM.TXT, the lines, T with the
// total as cash, X. Now and then a receipt carries an explanation, a
// cancelled line, a sale group, a returned article or a received amount.
// The till's receipts are unprocessed (hflags 0), are numbered by the till,
// are paid in cash or by debit card (B lines), and each day of the till
// starts with a cash movement (U). A journal is built in memory and written
// in one go, which keeps the large shop quick.
#include "demosale.h"

#include "frame/iosys.h"
#include "frame/sysrec.h"
#include "sale/jrnnaam.h"
#include "sale/jrnrec.h"

#include <cstdio>
#include <cstring>
#include <map>
#include <sys/stat.h>

namespace demo {
namespace {

template <typename P> void put(std::string &out, char letter, const P &payload) {
    out += letter;
    out.append((const char *)&payload, sizeof payload);
}

void text(char *field, size_t size, const std::string &s) {
    std::memset(field, 0, size);
    std::memcpy(field, s.data(), std::min(size - 1, s.size()));
}

// Amount without VAT at a rate in tenths of a percent, as the turnover
// posting computes it for the amounts of the demo (positive, not huge).
int32_t excl(int32_t bedrag, int16_t rate) {
    return (int32_t)(((long long)bedrag * 1000 + 500 + rate / 2) / (rate + 1000));
}

struct Writer {
    const int16_t *rates;
    uint16_t back_office_bonnr;
    std::map<int, std::string> journals; // by branch * 100 + till

    jrn_regel line(const SaleItem &it) const {
        jrn_regel r{};
        // A code of thirteen digits fills the field without a NUL.
        std::memcpy(r.invoer, it.invoer.data(), std::min(sizeof r.invoer, it.invoer.size()));
        r.soort = it.soort;
        r.vkpnr = it.verkoper;
        r.aantal = 1;
        r.nummer = it.nummer;
        r.prijs = r.bedrag = it.prijs;
        r.bedrag_excl = excl(it.prijs, rates[it.btw]);
        r.omzetgroep = it.omzetgroep;
        r.btw = it.btw;
        return r;
    }

    jrn_h header(const SaleItem &it, uint8_t till, uint16_t bonnr, uint8_t flags, int nr) const {
        jrn_h h{};
        h.bonnr = bonnr;
        h.vkpnr = it.verkoper;
        h.datum = it.datum;
        h.tijd = (uint16_t)(9 * 60 + (nr * 7) % (9 * 60)); // within shop hours
        h.kasnr = till;
        h.filnr = it.filiaal;
        std::memcpy(h.valuta, "EUR", 3);
        h.hflags = flags;
        return h;
    }

    // One processed back-office receipt of items [b, e); k varies its form.
    void back_office(const SaleItem *b, const SaleItem *e, long k) {
        std::string &out = journals[b->filiaal * 100];
        put(out, 'H', header(*b, 0, back_office_bonnr, HF_VERWERKT, (int)k));
        int32_t total = 0;
        bool group = k % 13 == 6 && e - b >= 2;
        if (group) {
            jrn_s s{};
            for (const SaleItem *it = b; it != e; ++it) {
                s.groep_totaal += it->prijs;
                s.groep_bruto += it->prijs;
            }
            s.groep_bedrag = s.groep_totaal;
            s.groep_regels = (uint8_t)(e - b);
            put(out, 'S', s);
        }
        for (const SaleItem *it = b; it != e; ++it) {
            jrn_regel r = line(*it);
            char letter = !group && it->soort == 'A' && k % 17 == 8 ? 'R' : 'V';
            if (group) r.lflags |= LF_GROEP;
            put(out, letter, r);
            total += letter == 'R' ? -r.bedrag : r.bedrag;
            if (it == b && !group && k % 7 == 3) {
                jrn_i i{};
                text(i.toelichting, sizeof i.toelichting, "Cadeauverpakking");
                put(out, 'I', i);
            }
            if (it == b && !group && k % 11 == 5) { // entered twice, the second cancelled
                r.lflags |= LF_GEANNULEERD;
                put(out, letter, r);
            }
        }
        if (group) out += 'E';
        if (k % 19 == 9) {
            jrn_d d{};
            text(d.omschrijving, sizeof d.omschrijving, "Aanbetaling");
            d.vkpnr = b->verkoper;
            d.bedrag = 2500;
            put(out, 'D', d);
            total += d.bedrag;
        }
        jrn_t t{};
        t.totaal = t.contant = total;
        put(out, 'T', t);
        out += 'X';
    }

    // One unprocessed receipt of till 1, with its payment.
    void till(const SaleItem *b, const SaleItem *e, uint16_t bonnr) {
        std::string &out = journals[b->filiaal * 100 + 1];
        put(out, 'H', header(*b, 1, bonnr, 0, bonnr));
        int32_t total = 0;
        for (const SaleItem *it = b; it != e; ++it) {
            jrn_regel r = line(*it);
            put(out, 'V', r);
            total += r.bedrag;
        }
        bool card = bonnr % 3 == 0;
        jrn_t t{};
        t.totaal = total;
        t.contant = card ? 0 : total;
        put(out, 'T', t);
        jrn_b pay{};
        pay.betm_soort = card ? 3 : 0; // debit card or cash
        pay.betm_nr = card ? 1 : 0;
        pay.bedrag = total;
        put(out, 'B', pay);
        out += 'X';
    }

    // The change put into the till at the start of a day.
    void float_in(const SaleItem &first, uint16_t bonnr) {
        std::string &out = journals[first.filiaal * 100 + 1];
        put(out, 'H', header(first, 1, bonnr, 0, 0));
        jrn_u u{};
        u.betm_soort = 0;
        u.bedrag = 15000;
        put(out, 'U', u);
        out += 'X';
    }
};

// Calls f(begin, end) for each run of items with the same receipt number.
template <typename F> void each_receipt(const std::vector<SaleItem> &items, F f) {
    for (size_t b = 0; b < items.size();) {
        size_t e = b + 1;
        while (e < items.size() && items[e].bon == items[b].bon)
            ++e;
        f(&items[b], &items[0] + e);
        b = e;
    }
}

bool write_file(const std::string &path, const std::string &bytes) {
    FILE *f = std::fopen(path.c_str(), "wb");
    if (!f) return false;
    bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    ok = std::fclose(f) == 0 && ok;
    chmod(path.c_str(), 0660);
    return ok;
}

} // namespace

std::string build_journals(const std::string &dir, const SalePlan &plan) {
    sys_bedrijf company{};
    FILE *sys = std::fopen((dir + "/DTSYS.TXT").c_str(), "rb");
    bool ok = sys && std::fread(&company, sizeof company, 1, sys) == 1;
    if (sys) std::fclose(sys);
    kas_parm parm{};
    if (!ok || !kasparm_read(&parm, (dir + "/KASPARM.TXT").c_str()))
        return "journalen: DTSYS.TXT of KASPARM.TXT ontbreekt";

    Writer w{company.btw_tarief, parm.bonnummer, {}};
    long k = 0;
    each_receipt(plan.verkocht,
                 [&](const SaleItem *b, const SaleItem *e) { w.back_office(b, e, k++); });
    uint16_t bonnr = 0, day = 0;
    each_receipt(plan.kassa, [&](const SaleItem *b, const SaleItem *e) {
        if (b->datum != day) w.float_in(*b, ++bonnr);
        day = b->datum;
        w.till(b, e, ++bonnr);
    });
    for (const auto &[key, bytes] : w.journals) {
        char name[13];
        jrn_naam(name, key / 100, key % 100);
        if (!write_file(dir + "/" + name, bytes))
            return std::string("kan ") + name + " niet schrijven";
    }
    return "";
}

} // namespace demo
