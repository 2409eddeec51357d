// The label screens: see etiscr.h.
//
// The list collects the matching label numbers of the series' chain when it
// opens, and reads each label again when it paints it, so a page always
// shows the file as it is. Columns, after "etiket i p mt" (the number is
// blank for a series sold by size):
//   NOTA        fil lvnr orddat levertermijn inkpr advpr ordernr [ol]
//   VOORRAAD    fil [bf] lvnr orddat ontdat inkpr advpr vrkpr an
//   VERKOPEN    fil lvnr ontdat vrkdat inkpr advpr vrkpr an a vkp klant
//   CORRECTIES  fil lvnr ontdat cordat inkpr advpr vrkpr an c and its text
// "ol" (order location) shows with several branches and bit 4 of vlag3,
// "bf" (branch the label travels to) with the transit option.
#include "merch/etiscr.h"

#include "base/catalog.h"
#include "base/datum.h"
#include "frame/iosys.h"
#include "merch/etiket.h"
#include "merch/leesstam.h"
#include "merch/stam.h"
#include "store/ix.h"
#include "term/dmhdl.h"
#include "term/ingave.h"
#include "term/popup.h"
#include "term/scr.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

template <typename R> R fixed(long nr) {
    R rec{};
    if (iosys_fd() >= 0) iosys('R', &nr, &rec, sysmap::FIXED);
    return rec;
}

std::string bedrag(int32_t v) {
    char b[24];
    if (term_state && term_state->term_decimals == 0)
        std::snprintf(b, sizeof b, "%ld", (long)v);
    else
        std::snprintf(b, sizeof b, "%s%ld,%02ld", v < 0 ? "-" : "",
                      (long)(v < 0 ? -(int64_t)v : v) / 100, (long)(v < 0 ? -(int64_t)v : v) % 100);
    return b;
}

std::string datum(uint16_t d) {
    char b[12];
    return datum_tekst(b, d, false);
}

std::string num(long v) {
    return std::to_string(v);
}

// --------------------------------------------------------------- corrigeren

bool ask_size(etiket_rec *rec) {
    uint8_t maat = rec->maat;
    for (;;) {
        INGAVE(2, 16, "2U,EJ", &key_cancel, &maat);
        if (term_state->ing_key == key_cancel || term_state->ing_key == key_esc) return false;
        int group = maat_prijsgroep(ser_buffer, maat);
        if (maat == rec->maat || (group >= 0 && group == maat_prijsgroep(ser_buffer, rec->maat))) {
            char code[4];
            maat_tekst(ser_buffer, maat, code);
            WINCLREOL(2, 20);
            WINTEXT(ATTR_DATA, 2, 20, "%s", code);
            rec->maat = maat;
            return true;
        }
        error("%s", DET(9, 730, "Maat valt buiten prijsgroep"));
        maat = rec->maat;
    }
}

bool ask_received(etiket_rec *rec) {
    uint16_t ontvangen = rec->ontvangen;
    for (;;) {
        INGAVE(3, 16, "6D,E", &key_cancel, &ontvangen);
        if (term_state->ing_key == key_cancel || term_state->ing_key == key_esc) return false;
        if (ontvangen >= rec->ord_datum) break;
        error("%s", DET(9, 731, "Ontvangstdatum mag niet voor orderdatum liggen"));
        ontvangen = rec->ontvangen;
    }
    rec->ontvangen = ontvangen;
    return true;
}

bool ask_prices(etiket_rec *rec) {
    auto left = [] { return term_state->ing_key == key_cancel || term_state->ing_key == key_esc; };
    INGAVE(4, 16, "8B,EJP", &key_cancel, &rec->adviesprijs);
    if (left()) return false;
    if (rec->status != ETI_VOORRAAD) return true;
    INGAVE(5, 16, "8B,JPZ", &key_cancel, &rec->verkoopprijs);
    if (left()) return false;
    if (rec->verkoopprijs > 0) {
        int8_t nr = (int8_t)rec->afprijs_nr;
        INGAVE(6, 16, "2n,EPJ", &key_cancel, &nr);
        if (left()) return false;
        rec->afprijs_nr = (uint8_t)nr;
    } else {
        rec->afprijs_nr = 0;
    }
    return true;
}

// --------------------------------------------------------------------- list

struct Col {
    std::string head;
    int width; // 0: the rest of the line, left-aligned
};

struct Lijst {
    int status;
    etilijst_filter filter;
    etilijst_acties acties;
    bool transit, ol;
    std::vector<int32_t> labels;
    std::vector<Col> cols;
    int top = 0, cur = 0;
    static constexpr int k_first = 3, k_rows = 18; // window rows of the labels

    void columns() {
        cols = {{DET(9, 740, "etiket"), 8},
                {DET(9, 741, "i"), 1},
                {DET(9, 742, "p"), 1},
                {DET(9, 743, "mt"), 2},
                {DET(9, 744, "fil"), 3}};
        if (status == ETI_VOORRAAD && transit) cols.push_back({DET(9, 745, "bf"), 3});
        cols.push_back({DET(9, 746, "lvnr"), 5});
        if (status == ETI_NOTA)
            cols.insert(cols.end(),
                        {{DET(9, 747, "orddat"), 6}, {DET(9, 748, "levertermijn"), 13}});
        else if (status == ETI_VOORRAAD)
            cols.insert(cols.end(), {{DET(9, 747, "orddat"), 6}, {DET(9, 749, "ontdat"), 6}});
        else
            cols.insert(
                cols.end(),
                {{DET(9, 749, "ontdat"), 6},
                 {status == ETI_VERKOPEN ? DET(9, 750, "vrkdat") : DET(9, 751, "cordat"), 6}});
        cols.insert(cols.end(), {{DET(9, 752, "inkpr"), 7}, {DET(9, 753, "advpr"), 7}});
        if (status == ETI_NOTA) {
            cols.push_back({DET(9, 754, "ordernr"), 7});
            if (ol) cols.push_back({DET(9, 755, "ol"), 2});
            return;
        }
        cols.insert(cols.end(), {{DET(9, 756, "vrkpr"), 7}, {DET(9, 757, "an"), 2}});
        if (status == ETI_VERKOPEN)
            cols.insert(
                cols.end(),
                {{DET(9, 758, "a"), 1}, {DET(9, 759, "vkp"), 3}, {DET(9, 760, "klant"), 6}});
        if (status == ETI_CORRECTIES) cols.insert(cols.end(), {{DET(9, 761, "c"), 1}, {"", 0}});
    }

    std::vector<std::string> values(int32_t label, const etiket_rec &r) const {
        std::vector<std::string> v = {ser_buffer.ser_maatreg ? "" : num(label), num(r.inkoopcode),
                                      r.p_vlag ? "P" : "", num(r.maat), num(r.filiaal)};
        if (status == ETI_VOORRAAD && transit)
            v.push_back(r.onderweg ? num(r.onderweg_filiaal) : "");
        v.push_back(num(r.lev_nr));
        if (status == ETI_NOTA)
            v.insert(v.end(), {datum(r.ord_datum), datum(r.lev_vanaf) + "-" + datum(r.ontvangen)});
        else if (status == ETI_VOORRAAD)
            v.insert(v.end(), {datum(r.ord_datum), datum(r.ontvangen)});
        else
            v.insert(v.end(), {datum(r.ontvangen), datum(r.verkocht_op)});
        v.insert(v.end(), {acties.rechten == 'I' ? "" : bedrag((int32_t)r.inkoopprijs),
                           bedrag(r.adviesprijs)});
        if (status == ETI_NOTA) {
            v.push_back(num(r.order_nr));
            if (ol) v.push_back(r.order_loc_aan ? num(r.order_loc) : "");
            return v;
        }
        v.insert(v.end(), {r.verkoopprijs ? bedrag(r.verkoopprijs) : "",
                           r.afprijs_nr ? num(r.afprijs_nr) : ""});
        if (status == ETI_VERKOPEN)
            v.insert(v.end(),
                     {num(r.actiecode), num(r.verkoper), r.klant_nr ? num(r.klant_nr) : ""});
        if (status == ETI_CORRECTIES) {
            char text[32] = {};
            long nr = r.actiecode;
            if (iosys_fd() >= 0 && nr >= 1) iosys('R', &nr, text, sysmap::CODES[1]);
            v.insert(v.end(), {num(r.actiecode), text});
        }
        return v;
    }

    std::string line(const std::vector<std::string> &v) const {
        std::string out;
        for (size_t i = 0; i < cols.size() && i < v.size(); ++i) {
            char cell[64];
            if (cols[i].width)
                std::snprintf(cell, sizeof cell, "%*.*s ", cols[i].width, cols[i].width,
                              v[i].c_str());
            else
                std::snprintf(cell, sizeof cell, "%-.*s", std::max(0, 79 - (int)out.size()),
                              v[i].c_str());
            out += cell;
        }
        return out;
    }

    bool wanted(const etiket_rec &r) const {
        uint16_t day = status >= ETI_VERKOPEN ? r.verkocht_op : r.ontvangen;
        return (filter.maat < 0 || r.maat == filter.maat) &&
               (!filter.lev_nr || r.lev_nr == filter.lev_nr) &&
               (!filter.van || day >= filter.van) && (!filter.tot || day <= filter.tot) &&
               (filter.filiaal < 0 || r.filiaal == filter.filiaal);
    }

    void collect() {
        labels.clear();
        if (ser_buffer.ser_eti_kop < 0) return;
        etiket_rec r{};
        int32_t n = ser_buffer.ser_eti_kop;
        for (int f = ioeti_status_scan('F', &n, &r, status); f;
             f = ioeti_status_scan('N', &n, &r, status))
            if (wanted(r)) labels.push_back(n);
    }

    void paint() {
        const char *names[] = {"", "NOTA", "VOORRAAD", "VERKOPEN", "CORRECTIES"};
        WINCLREOL(1, 1);
        WINTEXT(ATTR_LABEL, 1, 1, "%s%s", DET(9, 762, "Etiketten "), names[status]);
        WINTEXT(ATTR_DATA, 1, 25, "%s %ld.%d.%d  %.15s", DET(9, 763, "Serie"),
                (long)ser_buffer.art_nr, ser_buffer.kleur, ser_buffer.volgnr, ser_buffer.ser_model);
        std::vector<std::string> heads;
        for (const Col &c : cols)
            heads.push_back(c.head);
        WINCLREOL(2, 1);
        WINTEXT(ATTR_LABEL, 2, 1, "%s", line(heads).c_str());
        for (int i = 0; i < k_rows; ++i) {
            WINCLREOL(k_first + i, 1);
            size_t at = (size_t)(top + i);
            if (at >= labels.size()) continue;
            etiket_rec r{};
            int32_t n = labels[at];
            ioeti('R', &n, &r);
            WINTEXT(top + i == cur ? A_REVERSE : ATTR_DATA, k_first + i, 1, "%s",
                    line(values(n, r)).c_str());
        }
        if (labels.empty()) WINTEXT(ATTR_DATA, k_first, 1, "%s", DET(9, 764, "Geen etiketten"));
        WINCLREOL(22, 1);
        WINTEXT(ATTR_LABEL, 22, 1, "%s",
                DET(9, 765, "<ENTER> keuze  PgDn/PgUp bladeren  <ESC> terug"));
    }

    void move(int to) {
        int n = (int)labels.size();
        cur = std::clamp(to, 0, std::max(0, n - 1));
        if (cur < top) top = cur;
        if (cur >= top + k_rows) top = cur - k_rows + 1;
    }

    // The series locked for a change of its labels; false when it is gone.
    bool lock_series() { return IXREADL(dtser, &ser_buffer) == 1; }

    // The chosen label's action; returns the label when it was selected.
    int32_t act() {
        int32_t label = labels[(size_t)cur];
        enum { VERWIJDEREN = 1, CORRIGEREN, RETOUR, SELECTEREN };
        const char *text[] = {
            "", DET(9, 770, "Etiket &verwijderen"), DET(9, 771, "Etiket &corrigeren"),
            DET(9, 772, "Etiket &retour naar voorraad"), DET(9, 773, "Etiket &selecteren")};
        DM_MENU *m = DM_NEW(DET(9, 774, "Etiket"));
        if (acties.verwijderen) DM_ITEM(m, text[VERWIJDEREN], VERWIJDEREN, 1);
        if (acties.corrigeren) DM_ITEM(m, text[CORRIGEREN], CORRIGEREN, status <= ETI_VOORRAAD);
        if (acties.retour) DM_ITEM(m, text[RETOUR], RETOUR, 1);
        if (acties.selecteren) DM_ITEM(m, text[SELECTEREN], SELECTEREN, 1);
        int choice = DM_RUN(m, k_first + cur - top + 1, 0);
        if (choice <= 0) return 0;
        std::string q = text[choice];
        q.erase(std::remove(q.begin(), q.end(), '&'), q.end());
        bool yes = INGAVEJN(23, 1, "[-]%s", q.c_str());
        WINCLREOL(23, 1);
        if (!yes) return 0;
        if (choice == SELECTEREN) return label;
        etiket_rec r{};
        bool gone = false;
        if (choice == RETOUR) {
            gone = acties.retour(label, &r);
        } else if (lock_series()) {
            if (choice == VERWIJDEREN)
                gone = ioeti('R', &label, &r) && etiket_verwijderen(label, &r);
            if (choice == CORRIGEREN && ioeti('R', &label, &r)) etiket_corrigeren(label, &r);
            IXUNLOCK(dtser, &ser_buffer);
        }
        if (gone) {
            labels.erase(labels.begin() + cur);
            move(cur);
        }
        return 0;
    }
};

} // namespace

bool etiket_corrigeren(int32_t label_no, etiket_rec *rec) {
    if (rec->status != ETI_NOTA && rec->status != ETI_VOORRAAD) {
        error("%s", DET(9, 732, "Alleen etiketten in nota of voorraad zijn te corrigeren"));
        return false;
    }
    etiket_rec r = *rec;
    WINOPEN1(8, 10, 9, 50);
    WINBOX(" %s %ld ", DET(9, 733, "Etiket corrigeren"), (long)label_no);
    const char *labels[] = {DET(9, 734, "Maat"), DET(9, 735, "Ontvangen"),
                            DET(9, 736, "Adviesprijs"), DET(9, 737, "Verkoopprijs"),
                            DET(9, 738, "Afprijsnr")};
    for (int i = 0; i < 5; ++i)
        WINTEXT(ATTR_LABEL, 2 + i, 2, "%s", labels[i]);
    char code[4];
    maat_tekst(ser_buffer, r.maat, code);
    WINTEXT(ATTR_DATA, 2, 16, "%2u  %s", r.maat, code);
    if (r.status == ETI_VOORRAAD) WINTEXT(ATTR_DATA, 3, 16, "%s", datum_toon(r.ontvangen));
    WINTEXT(ATTR_DATA, 4, 16, "%8s", bedrag(r.adviesprijs).c_str());
    if (r.status == ETI_VOORRAAD) {
        WINTEXT(ATTR_DATA, 5, 16, "%8s", bedrag(r.verkoopprijs).c_str());
        WINTEXT(ATTR_DATA, 6, 16, "%2u", r.afprijs_nr);
    }
    bool kasmut = fixed<sys_land>(sysmap::REC_COUNTRY).kasmut_vlag;
    bool ok = ask_size(&r) && (r.status != ETI_VOORRAAD || ask_received(&r)) &&
              (kasmut || ask_prices(&r));
    WINCLOSE();
    if (!ok) return false;
    if (!r.afprijs_nr) r.verkoopprijs = 0;
    *rec = r;
    ioeti('W', &label_no, rec);
    return true;
}

int32_t etiket_lijst(int status, const etilijst_filter &filter, const etilijst_acties &acties) {
    if (status < ETI_NOTA || status > ETI_CORRECTIES) return 0;
    sys_bedrijf company = fixed<sys_bedrijf>(sysmap::REC_COMPANY);
    uint32_t rec20[16] = {};
    long nr = sysmap::REC_20;
    if (iosys_fd() >= 0) iosys('R', &nr, rec20, sysmap::FIXED);
    Lijst l{status, filter, acties, rec20[0] != 0,
            company.aantal_fil > 1 && (company.vlag3 & 4) != 0, {}, {}};
    l.columns();
    l.collect();
    WINOPEN1(2, 1, 23, 80);
    int32_t chosen = 0;
    while (!chosen) {
        l.paint();
        int key = INGAVEKEY(&key_cancel, &key_esc, &key_up, &key_down, &key_pgup, &key_pgdn, "\n");
        if (key == key_cancel || key == key_esc) break;
        if (key == key_up) l.move(l.cur - 1);
        if (key == key_down) l.move(l.cur + 1);
        if (key == key_pgdn && l.top + Lijst::k_rows < (int)l.labels.size()) {
            l.top += Lijst::k_rows;
            l.cur = l.top;
        }
        if (key == key_pgup && l.top > 0) {
            l.top = std::max(0, l.top - Lijst::k_rows);
            l.cur = l.top;
        }
        if (key == '\n' && !l.labels.empty()) chosen = l.act();
    }
    WINCLOSE();
    return chosen;
}
