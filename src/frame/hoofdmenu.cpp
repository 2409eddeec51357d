// The main program and main menu: see hoofdmenu.h.
//
// Menu contents (F1/F2/F4: bits of vlag1, G1: bit 1 of vlag2; rights from the
// user record, 'I' look only, 'S' supervisor). The block from TRANSACTIES to
// NULSTELLEN is left out for look-only users.
//   TRANSACTIES            always: sale entry, two ways of changing a sale
//   DATACOMMUNICATIE       G1; its items only when DTDCVK.TXT is not empty
//   JOURNAALS              F4 or G1; processing needs F4 and a branch with tills
//   OVERZICHTEN            always; the journal searches need F4
//   NULSTELLEN             supervisors
//   OVERIGE FUNCTIES       F4; sorting return labels not for look-only users
//   (Filiaal) bijvullijst  always, under whatever group stands before it
#include "frame/hoofdmenu.h"

#include "base/catalog.h"
#include "base/txt.h"
#include "exchange/iokasmut.h"
#include "frame/iosys.h"
#include "frame/menuhdl.h"
#include "frame/start.h"
#include "frame/werkset.h"
#include "journal/batchvw.h"
#include "merch/ioeti.h"
#include "merch/stam.h"
#include "sale/vrktran.h"
#include "term/ingave.h"
#include "term/popup.h"
#include "term/scr.h"

#include <cstdio>
#include <cstring>
#include <sys/stat.h>

namespace hoofd {

bool leave_flag = false;
bool has_offline_tills = false;
uint16_t rapport_van = 0, rapport_tot = 0;

namespace {

Hooks g_hooks{};
bool g_dcinput_warned[2] = {false, false};

long file_size_of(const char *name) {
    struct stat st;
    return stat(name, &st) == 0 ? (long)st.st_size : -1;
}

// An item whose function comes with a later version of the program. Each
// item has its own instance so that the menu remembers which was chosen.
template <int N> void nog_niet() {
    FFLASH(-1, 0, A_BOLD, nullptr, "%s", DET(1, 300, "Deze functie is nog niet beschikbaar."));
}

void dcinput_warning(int which) {
    if (g_dcinput_warned[which]) return;
    g_dcinput_warned[which] = true;
    if (file_size_of("DCINPUT.TXT") < 0) return;
    FFLASH(-1, 0, A_BOLD, nullptr, "%s\n%s\n%s",
           DET(1, 301, "Er is een nog niet verwerkt bestand met voorraadmutaties van Tarvex"),
           DET(1, 302, "en/of handterminal(s) aangetroffen."),
           DET(1, 303, "U kunt dit bestand onder Datacommunicatie verwerken."));
}

void verwerken_verkopen() {
    dcinput_warning(0);
    nog_niet<10>();
}

void verwijderen_verkopen() {
    dcinput_warning(1);
    nog_niet<11>();
}

void bijvullijst() { leave_flag = true; }

void compute_offline_tills() {
    has_offline_tills = false;
    for (int b = 0; b < frame::company.aantal_fil; ++b) {
        fil_rec r{};
        if (iofil('R', b, &r) && r.kas_modus > 1) has_offline_tills = true;
    }
}

void write_title() {
    char title[48];
    std::snprintf(title, sizeof title, "%.40s", DET(1, 304, "verkoopregistratie"));
    txt_trim(title);
    txt_upper(title);
    int col = (term_state->term_cols - (int)std::strlen(title)) / 2 + 1;
    WINTEXT(A_BOLD, 1, col, "%s", title);
}

// The sale entry paints the whole screen, title row too.
void verkopen_item() {
    verkopen();
    write_title();
}

} // namespace

void set_hooks(const Hooks &h) { g_hooks = h; }

void build_menu() {
    const sys_bedrijf &b = frame::company;
    char rights = frame::user.rechten;
    bool f4 = b.vlag1 & 4, g1 = b.vlag2 & 1;
    bool look = rights == 'I', super = rights == 'S';
    bool dcvk = file_size_of("DTDCVK.TXT") > 0;

    menu_start(0);
    if (!look) {
        menu_groep(true, DET(7, 560, "TRANSACTIES"));
        menu_item(true, true, DET(7, 561, "Verkopen/retouren"), verkopen_item);
        menu_item(true, true, DET(7, 562, "Wijzigen via etiketnummer"), nog_niet<2>);
        menu_item(true, true, DET(7, 563, "Wijzigen via EAN/maatnummer"), nog_niet<3>);
        menu_groep(g1, DET(7, 564, "DATACOMMUNICATIE"));
        menu_item(g1, dcvk, DET(7, 565, "Verwerken verkopen"), verwerken_verkopen);
        menu_item(g1, dcvk, DET(7, 566, "Verwijderen verkopen"), verwijderen_verkopen);
        menu_groep(f4 || g1, DET(7, 567, "JOURNAALS"));
        menu_item(f4 && has_offline_tills, true, DET(7, 568, "Verwerken journaals"), nog_niet<4>);
        menu_item(f4 || g1, true, DET(7, 569, "Automatisch corrigeren"), nog_niet<5>);
        menu_item(f4 || g1, true, DET(7, 570, "Handmatig corrigeren"), nog_niet<6>);
        menu_kolom();
        menu_groep(true, DET(7, 571, "OVERZICHTEN"));
        menu_item(true, true, DET(7, 572, "Etiketregels (scherm)"), nog_niet<7>);
        menu_item(true, true, DET(7, 573, "Transactieverslag"), nog_niet<8>);
        menu_item(f4, true, DET(7, 574, "Etikettransactie(s)"), nog_niet<9>);
        menu_item(f4, true, DET(7, 575, "EAN-maattransactie(s)"), nog_niet<12>);
        menu_groep(super, DET(7, 576, "NULSTELLEN"));
        menu_item(super, true, DET(7, 577, "Transactieverslag (journaals)"), nog_niet<13>);
    }
    menu_groep(f4, DET(7, 578, "OVERIGE FUNCTIES"));
    menu_item(f4 && !look, true, DET(7, 579, "Sorteren retouretiketten"), nog_niet<14>);
    menu_item(true, true,
              b.aantal_fil >= 2 ? DET(7, 580, "Filiaal bijvullijst") : DET(7, 581, "Bijvullijst"),
              bijvullijst);
    if (std::strcmp(frame::caller, "norbilst") == 0) {
        menu_voorkeur(bijvullijst);
        frame::caller[0] = 0;
    }
}

void hoofdprogramma() {
    write_title();
    char caller[sizeof frame::caller];
    std::memcpy(caller, frame::caller, sizeof caller);
    (void)caller;
    werkset_open();
    fil_rec central{};
    iofil('R', frame::company.aantal_fil, &central);
    compute_offline_tills();
    rapport_van = rapport_tot = frame::user.werkdatum;
    ioeti_set_user(frame::user_nr);
    batchvw_set_user(frame::user_nr);
    kasmut_set_batch(batchvw_enter, batchvw_leave); // writers of KASMUT.TXT hold group 1
    int32_t none = 0;
    ioeti('O', &none, nullptr);
    stam_open();
    if (g_hooks.open) g_hooks.open();
    bool normal = true;
    for (;;) {
        if (g_hooks.pass) g_hooks.pass();
        werkset_ronde();
        build_menu();
        if (!menu_run() || leave_flag) break;
    }
    if (normal && g_hooks.close) g_hooks.close();
    if (normal) werkset_sluit();
    if (normal) {
        ioeti('C', &none, nullptr);
        stam_close();
    }
    frame::start_program(leave_flag ? "norbilst" : "norpot");
}

} // namespace hoofd
