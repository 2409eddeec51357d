// PrintMenu: the preview of a finished print.
//
// State while it runs: the top of the page (page_off) and the top of what is
// shown (offset), both file offsets, the page number, and what the last
// paint found: where reading stopped (read_pos), the line break that ended
// the last line (last: form feed or newline) and whether the file ended.
// A page is the text between two form feeds; the head lines are the first
// pv_headlines lines of the page and stay on top while the rest of a long
// page scrolls under them.
//
// Window: the whole screen but the status line; the last row of it carries
// "Einde overzicht" and "(blad n van m)". A print wider than 80 columns is
// shown on the wide terminal.
#include "print/prtview.h"

#include "base/catalog.h"
#include "base/fatal.h"
#include "print/prtjob.h"
#include "term/ingave.h"
#include "term/scr.h"
#include "term/trmenu.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <vector>

int32_t pv_step = 52;
int32_t pv_headlines = 1;

namespace {

constexpr chtype ATTR_REVERSE = 0x40000;
constexpr chtype ATTR_DIMMED = 0x100000;

enum Command {
    NOTHING = -3,
    PREV_PAGE = 1001,
    NEXT_PAGE = 1002,
    NEXT_SCREEN = 1003,
    JUMP = 1004,
    SEPARATOR = 1005,
    COPIES = 1006,
    HEADLINES = 1007,
    LEFT = 1008,
    RIGHT = 1009,
    FIRST_PAGE = 1011,
    LAST_PAGE = 1012,
    SCROLLSTEP = 1013,
    PRINT = 1015,
    NO_PRINT = 1016,
    END_SEPARATOR = 1017,
};

std::string counted(const char *label, int value) {
    char text[64];
    std::snprintf(text, sizeof text, "%-.20s (%d)", label, value);
    return text;
}

// A number in a small boxed window: label and field on its one row. The
// value stays when the user cancels.
void ask_number(int row, int col, const char *title, const char *label, const char *format,
                int lower, int upper, int32_t *value) {
    WINOPEN1(row, col, 3, 40);
    WINBOX(" %s ", title);
    char text[64];
    int n = std::snprintf(text, sizeof text, "%s: ", label);
    WINTEXT(ATTR_LABEL, 1, 2, "%s", text);
    int16_t v = (int16_t)*value;
    term_state->term_set->lower = lower;
    term_state->term_set->upper = upper;
    INGAVE(1, 2 + n, format, &key_cancel, &v);
    if (term_state->ing_key != key_cancel) *value = v;
    WINCLOSE();
}

struct View {
    FILE *f = nullptr;
    long size = 0, begin = 0;
    long offset = 0, page_off = 0, read_pos = 0;
    int last = '\n';
    bool at_eof = false, page_changed = true;
    int32_t shift = 0;
    int page = 1, pages = 1;
    int width = 80;
    std::vector<char> line;
    TR_MENU *menu = nullptr;

    int rows() const { return term_state->term_lines - 1; }
    int cols() const { return term_state->term_cols; }

    // One line of at most width characters; the rest up to the line break
    // is skipped. A CR LF pair is one break. False at the end of the file.
    bool read_line(int *len) {
        int n = 0, c;
        while ((c = std::getc(f)) != EOF && c != '\r' && c != '\n' && c != '\f')
            if (n < width) line[(size_t)n++] = (char)c;
        if (c == EOF && n == 0) return false;
        if (c == '\r') {
            int d = std::getc(f);
            if (d != '\n' && d != EOF) std::ungetc(d, f);
            c = '\n';
        }
        last = c == EOF ? '\n' : c;
        *len = n;
        return true;
    }

    void show(int row, int len, chtype attr, bool fill) {
        std::string text;
        for (int i = shift; i < len && (int)text.size() < cols(); ++i) {
            unsigned char c = (unsigned char)line[(size_t)i];
            text += c < 32 ? '.' : (char)c;
        }
        if (fill) text.resize((size_t)cols(), ' ');
        WINTEXT(attr, row, 1, "%s", text.c_str());
    }

    void paint() {
        int body = pv_headlines + 1, len;
        WINCLREOS(page_changed ? 2 : body, 1);
        std::fseek(f, page_off, SEEK_SET);
        last = '\n';
        for (int r = 1; r <= pv_headlines && last != '\f' && read_line(&len); ++r)
            if (page_changed) show(r, len, ATTR_REVERSE, true);
        page_changed = false;
        long behind_head = std::ftell(f);
        if (last != '\f') {
            std::fseek(f, std::max(offset, behind_head), SEEK_SET);
            last = '\n';
            for (int r = body; r < rows() && read_line(&len); ++r) {
                show(r, len, 0, false);
                if (last == '\f') break;
            }
        }
        read_pos = std::ftell(f);
        at_eof = read_pos >= size;
        WINCLREOL(rows(), 1);
        if (at_eof) WINTEXT(ATTR_REVERSE, rows(), 1, "%s", KOR(4, 50, "Einde overzicht"));
        char info[80];
        std::snprintf(info, sizeof info, "(%-.12s %d %-.12s %d)", KOR(4, 29, "blad"), page,
                      KOR(4, 51, "van"), pages);
        WINTEXT(ATTR_DIMMED, rows(), cols() - (int)std::strlen(info) + 1, "%s", info);
    }

    // The offset behind the next form feed from `from`, or -1.
    long next_feed(long from) {
        std::fseek(f, from, SEEK_SET);
        for (int c; (c = std::getc(f)) != EOF;)
            if (c == '\f') return std::ftell(f);
        return -1;
    }

    // The top of the page before the one at page_off: behind the form feed
    // before the one that ends that page, searched backwards in blocks.
    long prev_top() {
        long end = page_off - 1; // the form feed that ends the previous page
        char block[1024];
        while (end > begin) {
            long from = std::max(begin, end - (long)sizeof block);
            std::fseek(f, from, SEEK_SET);
            size_t n = std::fread(block, 1, (size_t)(end - from), f);
            for (size_t i = n; i-- > 0;)
                if (block[i] == '\f') return from + (long)i + 1;
            end = from;
        }
        return begin;
    }

    void prev_page() {
        if (page > 1) {
            page_off = prev_top();
            --page;
        }
        offset = page_off;
        page_changed = true;
    }

    // False when there is no next page.
    bool next_page() {
        long next = page >= pages ? -1 : next_feed(offset);
        if (next < 0) {
            if (!at_eof && read_pos > offset) offset = read_pos; // the rest of the last page
            return false;
        }
        offset = page_off = next;
        ++page;
        page_changed = true;
        return true;
    }

    void next_screen() {
        offset = read_pos;
        if (last == '\f' && page < pages) {
            page_off = read_pos;
            ++page;
            page_changed = true;
        }
    }

    void enable(int32_t id, bool on) { TR_MENU_ENABLE(menu, id, on ? 1 : 0); }

    void set_items() {
        bool last_page = page >= pages;
        enable(NEXT_PAGE, !last_page);
        enable(LAST_PAGE, !last_page);
        enable(NEXT_SCREEN, !last_page || (last != '\f' && !at_eof));
        bool top = page == 1 && offset == page_off;
        enable(PREV_PAGE, !top);
        enable(FIRST_PAGE, !top);
        enable(JUMP, pages >= 2);
        bool wider = width > cols();
        enable(LEFT, wider && shift > 0);
        enable(RIGHT, wider && pv_step + shift < width);
        enable(SCROLLSTEP, wider);
        const char *dev = prt_job.job_device;
        enable(PRINT, *dev && std::strcmp(dev, "/dev/null") != 0);
    }

    // The command of a key: an item by its hot letter or its key. The last
    // item with either ("Niet printen") is left out of the search, so that
    // N opens the menu like any other unknown key.
    int32_t command(int key) {
        if (key == key_esc || key == key_cancel) return NO_PRINT;
        if (key >= 'b' && key <= 'y') key -= 'a' - 'A';
        std::vector<TR_ITEM *> keyed;
        for (int i = 0; i < menu->count; ++i) {
            TR_ITEM *it = menu->items[i];
            if (!it->separator && (it->hotkey || it->key)) keyed.push_back(it);
        }
        for (size_t i = 0; i + 1 < keyed.size(); ++i) {
            TR_ITEM *it = keyed[i];
            if ((it->hotkey && it->hotkey == key) || (it->key && it->key == key))
                return it->enabled ? it->id : NOTHING;
        }
        return TR_MENU_RUN(menu, 0);
    }

    void run_command(int32_t cmd) {
        switch (cmd) {
        case PREV_PAGE:
            prev_page();
            break;
        case NEXT_PAGE:
            next_page();
            break;
        case NEXT_SCREEN:
            next_screen();
            break;
        case JUMP: {
            int32_t to = 0;
            ask_number(18, 41, KOR(4, 55, "GA NAAR BLAD"), KOR(4, 29, "blad"), "4d,P", 1, pages,
                       &to);
            while (to > 0 && page > to)
                prev_page();
            while (to > 0 && page < to && next_page()) {
            }
            break;
        }
        case COPIES:
            ask_number(18, 41, KOR(4, 52, "Aantal Afdrukken"), KOR(4, 53, "Aantal"), "4d,P", 1, 20,
                       &prt_job.job_copies);
            break;
        case HEADLINES:
            ask_number(18, 41, KOR(4, 54, "Kopregels"), KOR(4, 53, "Aantal"), "4d,P", 1, 15,
                       &pv_headlines);
            TR_MENU_TEXT(menu, HEADLINES, counted(KOR(4, 35, "&Kopregels"), pv_headlines).c_str());
            page_changed = true;
            break;
        case LEFT:
            shift = std::max(0, shift - pv_step);
            break;
        case RIGHT:
            shift += pv_step;
            break;
        case FIRST_PAGE:
            while (page > 1)
                prev_page();
            prev_page();
            break;
        case LAST_PAGE:
            while (next_page()) {
            }
            break;
        case SCROLLSTEP:
            PRT_SCROLLSTEP();
            TR_MENU_TEXT(menu, SCROLLSTEP, counted(KOR(4, 36, "&Instellen"), pv_step).c_str());
            break;
        default:
            break;
        }
    }

    void build_menu() {
        struct Item {
            int32_t id;
            std::string text;
            int flags, key;
        };
        const Item items[] = {
            {PREV_PAGE, KOR(4, 37, "Vorig blad      <Pg&Up>"), 0, key_pgup},
            {NEXT_PAGE, KOR(4, 38, "Volgend blad    <Pg&Dn>"), 1, key_pgdn},
            {NEXT_SCREEN, KOR(4, 39, "Volgend scherm <&Enter>"), 1, '\n'},
            {JUMP, KOR(4, 40, "&Spring naar blad  <F6>"), 1, key_f6},
            {SEPARATOR, KOR(4, 41, "Scrollen"), 2, 0},
            {FIRST_PAGE, KOR(4, 42, "Eerste blad     <&Home>"), 1, KEY_HOME},
            {LAST_PAGE, KOR(4, 43, "Laa&tste blad     <End>"), 1, KEY_END},
            {LEFT, KOR(4, 44, "&Links              <--"), 1, KEY_LEFT},
            {RIGHT, KOR(4, 45, "&Rechts             -->"), 1, KEY_RIGHT},
            {SCROLLSTEP, counted(KOR(4, 36, "&Instellen"), pv_step), 1, 0},
            {SEPARATOR, "", 2, 0},
            {COPIES, KOR(4, 46, "&Aantal afdrukken  <F4>"), 1, key_f4},
            {HEADLINES, counted(KOR(4, 35, "&Kopregels"), pv_headlines), 1, 0},
            {END_SEPARATOR, KOR(4, 47, "Einde"), 2, 0},
            {PRINT, KOR(4, 48, "&Printen"), 1, 0},
            {NO_PRINT, KOR(4, 49, "&Niet printen"), 1, key_esc},
        };
        menu = TR_MENU_NEW(33, 3, 3, 0, KOR(4, 33, "PrintMenu"));
        size_t longest = 0;
        for (const Item &it : items) {
            TR_MENU_ITEM(menu, -1, it.text.c_str(), it.id, it.flags, it.key, nullptr);
            longest = std::max(longest, it.text.size());
        }
        TR_MENU_PLACE(menu, term_state->term_lines - 18, cols() - (int)longest - 3);
    }
};

} // namespace

void PRT_SCROLLSTEP() {
    ask_number(10, 36, KOR(4, 30, "INGAVE SCROLL LENGTE"), KOR(4, 31, "Aantal posities"), "3d,P", 1,
               term_state->term_cols, &pv_step);
}

bool PrintMenu() {
    if (!term_state) return true; // no screen to show it on
    struct stat st;
    if (::stat(prt_job.job_temp, &st) != 0) {
        error("%s", KOR(4, 32, "Kan tijdelijk print bestand niet openen !"));
        return false;
    }
    View v;
    v.size = (long)st.st_size;
    v.width = std::max(1, (int)prt_cols);
    v.line.resize((size_t)v.width + 1);
    bool wide = v.width > 80;
    if (wide) SCRTERM("-w");
    v.f = std::fopen(prt_job.job_temp, "r+");
    if (!v.f) {
        if (wide) WINCLOSE();
        error("%s", KOR(4, 32, "Kan tijdelijk print bestand niet openen !"));
        return false;
    }
    v.build_menu();
    WINOPEN1(1, 1, term_state->term_lines - 1, term_state->term_cols);
    v.begin = v.offset = v.page_off = prt_job.job_begin;
    v.pages = std::max(1, (int)prt_pages - 1);
    // One run with ESC waiting: the menu lays itself out once.
    TR_MENU_FEED(key_esc);
    TR_MENU_RUN(v.menu, 0);

    int32_t cmd = 0;
    while (cmd != PRINT && cmd != NO_PRINT) {
        if (cmd != NOTHING) v.paint();
        v.set_items();
        SCRFLUSH(0);
        curs_set(0);
        int key = KEYREAD(WINCUR());
        cmd = v.command(key);
        v.run_command(cmd);
    }
    std::fclose(v.f);
    TR_MENU_FREE(v.menu);
    WINCLOSE();
    if (wide) WINCLOSE();
    curs_set(1);
    return cmd == PRINT;
}
