// The words of a journal line's marks, for the reports, the corrections and
// jrnutil. See vwkas.h.
//
// The parts come in a fixed order, each followed by ", ": the receipt's
// notes (first line after an H only), then either the signal (why the line
// could not be booked) or the notes of a booked line. At the end the first
// letter goes to capitals when it is a lower-case letter, and the trailing
// blank and comma are cut.
#include "base/catalog.h"
#include "journal/vwkas.h"
#include "merch/ioeti.h"

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

char g_tekst[256];

void deel(const char *fmt, ...) {
    size_t len = std::strlen(g_tekst);
    if (len >= sizeof g_tekst - 1) return;
    va_list ap;
    va_start(ap, fmt);
    std::vsnprintf(g_tekst + len, sizeof g_tekst - len, fmt, ap);
    va_end(ap);
    std::strncat(g_tekst, ", ", sizeof g_tekst - std::strlen(g_tekst) - 1);
}

void bon_notities(uint8_t hflags) {
    if (!(hflags & HF_VERWERKT)) deel("%s", DET(10, 1, "NIET VERWERKT"));
    if (hflags & HF_DATACOM) deel("%s", DET(10, 2, "datacom"));
    if (hflags & HF_NIEUWE_KLANT) deel("%s", DET(10, 3, "nieuwe klant"));
    if (hflags & HF_ONGELDIG_KLANT) deel("%s", DET(10, 4, "ongeldig klantnr"));
}

void status_woord(uint8_t eti_status) {
    switch (eti_status) {
    case ETI_NOTA:
        deel("%s", DET(10, 5, "nota etiket"));
        break;
    case ETI_VOORRAAD:
        deel("%s", DET(10, 6, "niet verkocht"));
        break;
    case ETI_VERKOPEN:
        deel("%s", DET(10, 7, "reeds verkocht"));
        break;
    case ETI_CORRECTIES:
        deel("%s", DET(10, 8, "correctie"));
        break;
    default:
        break;
    }
}

void onbekend(char soort) {
    switch (soort) {
    case 0:
        deel("%s", DET(10, 9, "etiket onbekend"));
        break;
    case 'A':
        deel("%s", DET(10, 10, "artikel onbekend"));
        break;
    case 'E':
        deel("%s", DET(10, 11, "EAN-code onbekend"));
        break;
    case 'M':
        deel("%s", DET(10, 12, "serie/maat onbekend"));
        break;
    default:
        break;
    }
}

void signaal(const jrn_cursor *c, int niveau) {
    const jrn_regel &r = c->regel;
    if (r.lflags & LF_ONBEKEND) onbekend(r.soort);
    if (r.soort == 0) status_woord(r.eti_status);
    if (r.rest && niveau != 2) {
        if (vwkas_teken(c->letter) > 0)
            deel("%u %s", (unsigned)r.rest, DET(10, 13, "stks geen vrd."));
        else
            deel("%u %s", (unsigned)r.rest, DET(10, 14, "stks geen vrk."));
    }
}

// A price that is the amount paid but not the label's advice price.
bool afwijkende_adviesprijs(const jrn_regel &r) {
    if (r.prijs != r.bedrag || !ioeti_is_open()) return false;
    int32_t n = (int32_t)r.nummer;
    etiket_rec e{};
    return ioeti('R', &n, &e) == 1 && r.prijs != e.adviesprijs;
}

void notities(const jrn_regel &r) {
    if (r.soort == 0) {
        status_woord(r.eti_status);
        if (r.lflags & LF_ANDER_FIL) deel("%s %u", DET(10, 15, "afw.fil"), (unsigned)r.ander_fil);
        if (r.lflags & LF_ACTIE_VERVALLEN) deel("%s", DET(10, 16, "afprijzing"));
        if (afwijkende_adviesprijs(r)) deel("%s", DET(10, 17, "afw. adviesprijs"));
    }
    if (r.lflags & LF_MAAT_ETIKET) deel("%s", DET(10, 18, "serie heeft maatregistratie"));
    if (r.lflags & LF_ONDERWEG) deel("%s", DET(10, 19, "onderweg"));
}

} // namespace

const char *signaal_tekst(const jrn_cursor *c, int niveau, bool eerste_regel) {
    g_tekst[0] = 0;
    if (eerste_regel) bon_notities(c->h.hflags);
    if (c->regel.lflags & LF_SIGNAAL)
        signaal(c, niveau);
    else
        notities(c->regel);
    size_t len = std::strlen(g_tekst);
    if (!len) return g_tekst;
    unsigned char &eerste = reinterpret_cast<unsigned char &>(g_tekst[0]);
    if (std::islower(eerste)) eerste = (unsigned char)std::toupper(eerste);
    if (len && g_tekst[len - 1] == ' ') g_tekst[--len] = 0;
    if (len && g_tekst[len - 1] == ',') g_tekst[--len] = 0;
    return g_tekst;
}
