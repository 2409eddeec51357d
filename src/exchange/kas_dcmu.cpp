// The mutation file KMUT: see kas_dcmu.h.
#include "exchange/kas_dcmu.h"

#include "base/fatal.h"
#include "exchange/xchinst.h"
#include "store/ix.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

FILE *open_kmut(int filiaal, int kas) {
    char naam[20];
    std::snprintf(naam, sizeof naam, "KMUT%02d%02d.TXT", filiaal, kas);
    FILE *f = std::fopen(naam, "a");
    if (!f) nv::fatal("%s: %s (file=%s, errno=%d)", "KAS_DCMU", std::strerror(errno), naam, errno);
    return f;
}

void schrijf(const char *regel, FILE *f, int filiaal, int kas) {
    FILE *uit = f ? f : open_kmut(filiaal, kas);
    std::fputs(regel, uit);
    if (!f) std::fclose(uit);
}

// The number in columns [pos, pos + width) of a line of length len.
long veld(const char *line, size_t len, size_t pos, size_t width) {
    char buf[16] = {};
    if (pos < len) std::memcpy(buf, line + pos, std::min(width, len - pos));
    return std::strtol(buf, nullptr, 10);
}

// Opens the file for the call when the caller has no handle.
struct Bestand {
    ICB *icb;
    bool eigen;
    Bestand(ICB *h, const char *naam) : icb(h ? h : IXOPEN(naam, 2)), eigen(!h) {}
    ~Bestand() {
        if (eigen) IXCLOSE(icb);
    }
};

// The reader's common end: write the long form, delete on the short one.
template <typename R, typename F> void toepassen(ICB *icb, R &rec, bool lang, F vul) {
    bool gevonden = IXREADL(icb, &rec) == 1;
    if (lang) {
        vul(rec);
        IXWRITE(icb, &rec);
    } else if (gevonden) {
        IXDELETE(icb, &rec);
    } else {
        IXUNLOCK(icb, &rec);
    }
}

} // namespace

void kmut_schrijf(const kskv_rec &r, bool kort, FILE *f) {
    if (r.filnr > 99) return;
    char regel[96];
    int n =
        std::snprintf(regel, sizeof regel, "%c%-3.3s%2u%2u%8ld%5hu%4hu", r.op_rekening ? 'R' : 'T',
                      xch.valuta, r.filnr, r.kasnr, (long)r.kltnr, r.datum, r.bonnr);
    if (!kort)
        n += std::snprintf(regel + n, sizeof regel - (size_t)n, "%8ld%8ld%3hu", (long)r.bedrag,
                           (long)r.bedrag2, r.seq);
    std::snprintf(regel + n, sizeof regel - (size_t)n, "\n");
    schrijf(regel, f, r.doel_fil, r.doel_kas);
}

void kmut_schrijf_i(const kszi_rec &r, bool kort, FILE *f, int doel_fil, int doel_kas) {
    if (r.filnr > 99) return;
    char regel[128];
    int n = std::snprintf(regel, sizeof regel, "I%-3.3s%2u%2u%8ld%5hu%4hu%3hu", xch.valuta, r.filnr,
                          r.kasnr, (long)r.kltnr, r.datum, r.bonnr, r.regel);
    if (!kort)
        n += std::snprintf(regel + n, sizeof regel - (size_t)n, "%-13.13s%8ld%1u",
                           std::string(r.ean, strnlen(r.ean, sizeof r.ean)).c_str(), (long)r.bedrag,
                           r.toestand % 10u);
    std::snprintf(regel + n, sizeof regel - (size_t)n, "\n");
    schrijf(regel, f, doel_fil, doel_kas);
}

bool kmut_lees_kv(ICB *kskv, const char *line) {
    size_t len = std::strcspn(line, "\r\n");
    if (len < 25 || (line[0] != 'R' && line[0] != 'T')) return false;
    kskv_rec r{};
    r.filnr = (uint8_t)veld(line, len, 4, 2);
    r.kasnr = (uint8_t)veld(line, len, 6, 2);
    r.op_rekening = line[0] == 'R';
    r.kltnr = (uint32_t)veld(line, len, 8, 8);
    r.datum = (uint16_t)veld(line, len, 16, 5);
    r.bonnr = (uint16_t)veld(line, len, 21, 4);
    Bestand b(kskv, "KSKV");
    toepassen(b.icb, r, len >= 44, [&](kskv_rec &x) {
        x.bedrag = (int32_t)veld(line, len, 25, 8);
        x.bedrag2 = (int32_t)veld(line, len, 33, 8);
        x.seq = (uint16_t)veld(line, len, 41, 3);
    });
    return true;
}

bool kmut_lees_i(ICB *kszi, const char *line) {
    size_t len = std::strcspn(line, "\r\n");
    if (len < 28 || line[0] != 'I') return false;
    kszi_rec r{};
    r.filnr = (uint8_t)veld(line, len, 4, 2);
    r.kasnr = (uint8_t)veld(line, len, 6, 2);
    r.kltnr = (uint32_t)veld(line, len, 8, 8);
    r.datum = (uint16_t)veld(line, len, 16, 5);
    r.bonnr = (uint16_t)veld(line, len, 21, 4);
    r.regel = (uint16_t)veld(line, len, 25, 3);
    Bestand b(kszi, "KSZI");
    toepassen(b.icb, r, len >= 50, [&](kszi_rec &x) {
        std::memcpy(x.ean, line + 28, sizeof x.ean);
        for (int i = (int)sizeof x.ean - 1; i >= 0 && x.ean[i] == ' '; --i)
            x.ean[i] = 0;
        x.bedrag = (int32_t)veld(line, len, 41, 8);
        x.toestand = (uint8_t)veld(line, len, 49, 1);
    });
    return true;
}

void kskv_afboeken(int branch, uint32_t kltnr, const jrn_d &d) {
    Bestand b(nullptr, "KSKV");
    kskv_rec r{};
    r.filnr = (uint8_t)d.op_filnr;
    r.kasnr = (uint8_t)d.op_kasnr;
    r.op_rekening = 1;
    r.kltnr = kltnr;
    r.datum = d.op_datum;
    r.bonnr = d.op_bonnr;
    const kskv_rec sleutel = r;
    bool gevonden = IXREADL(b.icb, &r) == 1;
    if (!gevonden) IXUNLOCK(b.icb, &r);
    if (!gevonden && kltnr == 0) {
        kskv_rec w{};
        w.filnr = sleutel.filnr, w.kasnr = sleutel.kasnr, w.op_rekening = 1;
        int ok = IXFIRSTR(b.icb, &w, 3);
        while (ok && (w.datum != sleutel.datum || w.bonnr != sleutel.bonnr))
            ok = IXNEXTRP(b.icb, &w, 3);
        if (ok) {
            r = w;
            gevonden = IXREADL(b.icb, &r) == 1;
            if (!gevonden) IXUNLOCK(b.icb, &r);
        }
    }
    if (gevonden) IXDELETE(b.icb, &r);
    if (!gevonden) r = sleutel;
    r.doel_fil = (uint8_t)branch;
    r.doel_kas = 0;
    kmut_schrijf(r, true, nullptr);
}
