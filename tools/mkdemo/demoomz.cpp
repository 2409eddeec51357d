// The demo's payment means, turnover and customer files: see demoomz.h.
#include "demoomz.h"

#include "base/datum.h"
#include "base/scramble.h"
#include "customer/kltrec.h"
#include "exchange/kskvrec.h"
#include "exchange/omzrec.h"
#include "sale/kas_betm.h"
#include "store/dd.h"
#include "store/ix.h"

#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

namespace demo {

namespace {

struct Means {
    char letter;
    const char *naam;
    bool in_gebruik;
};

bool write_all(const std::string &path, const void *data, size_t size) {
    FILE *f = std::fopen(path.c_str(), "wb");
    if (!f) return false;
    bool ok = std::fwrite(data, 1, size, f) == size;
    return std::fclose(f) == 0 && ok;
}

} // namespace

std::string build_betm(const std::string &dir, const Options &opt) {
    const Means means[] = {
        {'Q', "Cheque", true},           {'A', "Visa", true},
        {'A', "Mastercard", true},       {'A', "American Express", false},
        {'P', "Maestro", true},          {'P', "V PAY", true},
        {'W', "VVV-bon", true},          {'W', "Cadeaukaart", true},
        {'O', "Personeelstegoed", true},
    };
    std::vector<char> f((size_t)BETM_RECORD * 160, 0);
    size_t at = 0;
    for (char t : {'Q', 'A', 'P', 'W', 'O'}) {
        int n = 0;
        for (const Means &m : means) {
            if (m.letter != t) continue;
            char *rec = &f[at];
            rec[0] = t;
            betm_entry e{};
            char naam[sizeof e.naam + 2] = {};
            std::snprintf(naam, sizeof naam, "%.20s", m.naam);
            nv::scramble_with_key(naam, opt.scramble_key);
            std::memcpy(e.naam, naam, std::strlen(naam));
            e.in_gebruik = m.in_gebruik;
            std::memcpy(rec + 1, &e, sizeof e);
            at += BETM_RECORD, ++n;
        }
        // The rest of the table: entries without a name (the key alone).
        for (; n < BETM_CAPACITEIT; ++n, at += BETM_RECORD) {
            f[at] = t;
            f[at + 1] = (char)opt.scramble_key;
        }
    }
    const char map[BETM_MAP][2] = {{'A', 0}, {'P', 0}};
    for (int i = 0; i < BETM_MAP; ++i, at += BETM_RECORD) {
        f[at] = 'M';
        f[at + 1] = map[i][0];
        f[at + 2] = map[i][1];
    }
    if (!write_all(dir + "/DTBETM.TXT", f.data(), f.size())) return "kan DTBETM.TXT niet schrijven";
    char x[100] = {};
    const char *texts[] = {"Cheques", "Creditcards", "Pinpassen", "Waardebonnen", "Overig"};
    for (int i = 0; i < 5; ++i)
        std::snprintf(x + 20 * i, 20, "%s", texts[i]);
    if (!write_all(dir + "/DTBETMX.TXT", x, sizeof x)) return "kan DTBETMX.TXT niet schrijven";
    return "";
}

std::string build_omzet(const std::string &dir, const Options &opt) {
    for (auto [nr, name] : {std::pair{41, "DTOMZET"}, {29, "KSZI"}, {28, "KSKV"}})
        if (!dd_create_pair(nr, (dir + "/" + name).c_str()))
            return std::string(name) + ": not in the data dictionary";
    ICB *icb = IXOPEN((dir + "/KSKV").c_str(), 1);
    uint16_t today = datum_vandaag();
    bool customers = opt.vlag1 & 1;
    int32_t count = customer_count(opt);
    // Open sales on account at the till of branch 0 and the back office of
    // each branch; every fifth without a customer; one credit voucher.
    for (int i = 0; i < 8; ++i) {
        kskv_rec r{};
        r.filnr = (uint8_t)(i % opt.branches);
        r.kasnr = (uint8_t)(r.filnr == 0 && i % 2 ? 1 : 0);
        r.op_rekening = i != 7;
        r.kltnr = customers && i % 5 != 4 ? (uint32_t)(1001 + (i * 3) % count) : 0;
        r.datum = (uint16_t)(today - 40 + i * 5);
        r.bonnr = (uint16_t)(100 + i);
        r.bedrag = 2495 + 1250 * i;
        IXWRITE(icb, &r);
    }
    IXCLOSE(icb);
    return "";
}

} // namespace demo
