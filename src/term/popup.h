// The small dialogs every screen uses: the centred message box FFLASH, the
// error box FOUTMELDING, the J/N question INGAVEJN, the interruption check
// STOPCHECK of long jobs, the letter choice KEUZE on a prompt line, and the
// short display texts of yes/no, LAF bits and mailing codes.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

// FFLASH(option, scheme, attr, title, fmt, ...): the message box, centred.
//   option > 0: stays that many seconds; 0: shows and closes at once;
//   -1: waits for ENTER; -2: the last line of the text is a J/N question,
//   whose answer is the result. Other results are 1.
//   scheme 1: WINOPEN2, 2: WINOPEN3, others WINOPEN1. attr: of the text
//   lines. title: up to 65 characters, or null.
int FFLASH(int option, int scheme, int attr, const char *title, const char *fmt, ...)
    __attribute__((format(printf, 5, 6)));

// The error box " FOUTMELDING ": stays `seconds`, or waits for ENTER with 0.
void FOUTMELDING(const char *text, int seconds);

// The question "text? (J/N)" on a line; true for J. A leading "[+]" or "[-]"
// (and a comma behind it) sets the default answer; without it an answer is
// required. CANCEL and ESC count as N. An empty text asks "Akkoord".
bool INGAVEJN(int row, int col, const char *fmt, ...) __attribute__((format(printf, 3, 4)));

// Interruption of long jobs. STOPCHECK looks at the keyboard at most once a
// second; CANCEL or ESC asks "Onderbreken" and the answer is kept: true
// once the user has confirmed. STOPON/STOPOFF allow and forbid it (on at
// start), STOPGET reads that, STOPRESET forgets the answer and allows it.
bool STOPCHECK();
void STOPON();
void STOPOFF();
bool STOPGET();
void STOPRESET();
// The macro module hands in how to hold a running macro while STOPCHECK
// reads the keyboard, so that its keys are not taken for the user's.
void STOPMACROHOOKS(void (*suspend)(), void (*resume)());

// The letter choice: up to 32 choices whose texts (with "&" before the hot
// letter) stand in keuze_text. KEUZEINIT(count) enables choices 0..count-1
// and clears the default and the number; KEUZEADD/KEUZEDEL enable and
// disable one; KEUZEDEFAULT presets one (-1 none). KEUZENUMBER also accepts
// a number from low to high: it is stored in *variable and KEUZE returns
// `result`. KEUZE(row, col) returns the index of the choice, or -1 for
// another exit key (CANCEL, or a key the caller allowed beforehand) which
// the caller reads from ing_key.
constexpr int KEUZE_MAX = 32;
extern const char *keuze_text[KEUZE_MAX];
void KEUZEINIT(int count);
void KEUZEADD(int index);
void KEUZEDEL(int index);
void KEUZEDEFAULT(int index);
void KEUZENUMBER(int result, int32_t *variable, int32_t low, int32_t high);
int KEUZE(int row, int col);

// Display texts.
const char *JATEXT(int flag);    // "Ja " or "Nee"
const char *JNTEXT(int flag);    // "J" or "N"
const char *LAFTEXT(int bits);   // "L", "A", "F" for bits 1, 2, 4, blanks for the others
const char *MAILTEXT(int value); // 2, 4, 8, 16: the mailing kind in words
const char *MAILCODE(int value); // the same as "J", "P", "E", "N"

namespace nv {

// The box FFLASH makes of a text: its lines and size.
struct FlashBox {
    std::vector<std::string> lines; // the text lines (for -2 the last is the question)
    int rows = 0, cols = 0;         // window size
    int row = 0, col = 0;           // window place
    std::string title;              // " title ", or empty
};
FlashBox fflash_layout(int option, const char *title, const char *text);

// The clock STOPCHECK reads (tests replace it).
void stop_set_clock(time_t (*clock)());

} // namespace nv
