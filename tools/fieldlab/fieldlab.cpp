// fieldlab: runs one field on the terminal and prints what came out of it.
//
//   fieldlab FORMAT [--value V] [--lower L] [--upper U]
//            [--keys cancel,f5,up,down,...] [--list ITEM,ITEM,...] [--out FILE]
//
// The label "Veld" stands at row 10, column 1, the field at row 10, column
// 10 of a full-screen window. The initial value is a number for numeric
// types and for D (a day number), the text for c, C, s, S, the hex text
// for x, X, and 0 or 1 for b. With --list a selection list of the items
// comes first, each with its first letter as hot letter; the item chosen is
// the initial value. Texts on the command line are in the terminal's
// character set. Afterwards the terminal is closed and these lines go to
// stdout (or FILE) with the value's bytes as the field holds them (code
// page 850): value=, status=, key=, changed=.
#include "term/ingave.h"
#include "term/sel.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

struct Slot {
    const char *name;
    int index;
};
const Slot slots[] = {
    {"cancel", SLOT_CANCEL}, {"tab", SLOT_TAB},   {"help", SLOT_HELP},
    {"up", SLOT_UP},         {"down", SLOT_DOWN}, {"pgup", SLOT_PGUP},
    {"pgdn", SLOT_PGDN},     {"esc", SLOT_ESC},   {"shtab", SLOT_SHTAB},
};

int slot_of(const std::string &name) {
    for (const Slot &s : slots)
        if (name == s.name) return s.index;
    if (name.size() >= 2 && name[0] == 'f') {
        char *end;
        long n = std::strtol(name.c_str() + 1, &end, 10);
        if (!*end && n >= 1 && n <= 12) return SLOT_F1 + (int)n - 1;
    }
    return -1;
}

[[noreturn]] void usage(const char *why) {
    if (why) std::fprintf(stderr, "fieldlab: %s\n", why);
    std::fprintf(stderr, "usage: fieldlab FORMAT [--value V] [--lower L] [--upper U] "
                         "[--keys cancel,f5,up,down,...] [--out FILE]\n");
    std::exit(2);
}

// The type letter of a format: the first letter after length and precision.
char type_of(const char *format) {
    const char *p = format;
    while (*p == ' ')
        ++p;
    while ((*p >= '0' && *p <= '9') || *p == '.')
        ++p;
    return *p;
}

// The caller's variable, big enough for any field.
union Var {
    int32_t i32;
    int16_t i16;
    uint16_t u16;
    int8_t i8;
    uint8_t u8;
    double f;
    char text[512];
};

void load(Var &v, char type, const char *value) {
    std::memset(&v, 0, sizeof v);
    if (!value) return;
    double d = std::strtod(value, nullptr);
    switch (type) {
    case 'B':
    case 'l':
        v.i32 = (int32_t)std::strtol(value, nullptr, 10);
        break;
    case 'd':
        v.i16 = (int16_t)std::strtol(value, nullptr, 10);
        break;
    case 'u':
    case 'D':
        v.u16 = (uint16_t)std::strtoul(value, nullptr, 10);
        break;
    case 'n':
        v.i8 = (int8_t)std::strtol(value, nullptr, 10);
        break;
    case 'U':
    case 'b':
        v.u8 = (uint8_t)std::strtoul(value, nullptr, 10);
        break;
    case 'f':
        v.f = d;
        break;
    default:
        std::snprintf(v.text, sizeof v.text, "%s", value);
        break;
    }
}

std::string show(const Var &v, char type, int len) {
    char b[600];
    switch (type) {
    case 'B':
    case 'l':
        std::snprintf(b, sizeof b, "%d", (int)v.i32);
        break;
    case 'd':
        std::snprintf(b, sizeof b, "%d", (int)v.i16);
        break;
    case 'u':
    case 'D':
        std::snprintf(b, sizeof b, "%u", (unsigned)v.u16);
        break;
    case 'n':
        std::snprintf(b, sizeof b, "%d", (int)v.i8);
        break;
    case 'U':
    case 'b':
        std::snprintf(b, sizeof b, "%u", (unsigned)v.u8);
        break;
    case 'f':
        std::snprintf(b, sizeof b, "%.6f", v.f);
        break;
    case 's':
    case 'S':
        std::snprintf(b, sizeof b, "%s", v.text);
        break;
    default: // c, C, x, X: the bytes of the field up to the first NUL
        std::snprintf(b, sizeof b, "%.*s", len, v.text);
        break;
    }
    return b;
}

std::vector<std::string> split(const std::string &list) {
    std::vector<std::string> out;
    for (std::string rest = list; !rest.empty();) {
        size_t comma = rest.find(',');
        std::string name = rest.substr(0, comma);
        rest = comma == std::string::npos ? "" : rest.substr(comma + 1);
        if (!name.empty()) out.push_back(name);
    }
    return out;
}

std::vector<std::string> g_items;
SEL *g_list;
int32_t g_cur;

bool list_step(int32_t delta) {
    int32_t p = (delta == 0 ? g_list->sel_pos : g_cur) + delta;
    if (p < 0 || p >= (int32_t)g_items.size()) return false;
    g_cur = g_list->sel_pos = p;
    return true;
}

const char *list_row() {
    static std::string row;
    row = "&" + g_items[(size_t)g_cur];
    return row.c_str();
}

// The list; the item chosen, or null when none was.
const char *choose() {
    g_list = SELNEW(list_step, nullptr, nullptr, list_row);
    g_list->sel_pos = 0;
    g_list->sel_array = true;
    std::snprintf(g_list->sel_title, sizeof g_list->sel_title, "Keuze");
    const char *chosen = SELRUN(g_list, 1) ? g_items[(size_t)g_list->sel_pos].c_str() : nullptr;
    SELFREE(g_list);
    return chosen;
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 2) usage(nullptr);
    const char *format = argv[1];
    const char *value = nullptr, *out = nullptr, *keys = "", *list = nullptr;
    const char *lower = nullptr, *upper = nullptr;
    for (int i = 2; i < argc; ++i) {
        std::string a = argv[i];
        if (i + 1 >= argc) usage(("missing value after " + a).c_str());
        const char *v = argv[++i];
        if (a == "--value")
            value = v;
        else if (a == "--lower")
            lower = v;
        else if (a == "--upper")
            upper = v;
        else if (a == "--keys")
            keys = v;
        else if (a == "--out")
            out = v;
        else if (a == "--list")
            list = v;
        else
            usage(("unknown option " + a).c_str());
    }
    std::vector<int> slotlist;
    for (const std::string &name : split(keys)) {
        int s = slot_of(name);
        if (s < 0) usage(("unknown key " + name).c_str());
        slotlist.push_back(s);
    }
    char type = type_of(format);
    static Var var;

    SCRINIT();
    std::string start = nv::scr::from_terminal(value ? value : "");
    WINTEXT(ATTR_LABEL, 10, 1, "Veld");
    if (list) {
        for (const std::string &item : split(list))
            g_items.push_back(nv::scr::from_terminal(item.c_str()));
        if (const char *c = g_items.empty() ? nullptr : choose()) start = c;
    }
    load(var, type, value || list ? start.c_str() : nullptr);
    if (lower) term_state->term_set->lower = std::strtod(lower, nullptr);
    if (upper) term_state->term_set->upper = std::strtod(upper, nullptr);
    std::vector<int *> exitkeys;
    for (int s : slotlist)
        exitkeys.push_back(&term_state->term_keys[s]);
    int changed = nv::ingave_call(10, 10, format, exitkeys.data(), (int)exitkeys.size(),
                                  nv::ing_var_of((void *)&var));
    int status = term_state->ing_status, key = term_state->ing_key, len = term_state->ing_len;
    SCREND();

    FILE *f = out ? std::fopen(out, "w") : stdout;
    if (!f) {
        std::perror(out);
        return 1;
    }
    std::fprintf(f, "value=%s\nstatus=%d\nkey=%d\nchanged=%d\n", show(var, type, len).c_str(),
                 status, key, changed ? 1 : 0);
    if (out) std::fclose(f);
    return 0;
}
