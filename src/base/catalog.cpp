// Message catalogues: see catalog.h.
//
// A catalogue text is used where the built-in text would be, and most of the
// built-in texts are printf formats. A translation with a conversion too
// many, in another order or of another type would make printf read arguments
// that aren't there, so every entry is compared with the built-in text
// before use: the arguments the two formats consume (count, order, type,
// the int of a '*' width or precision) must be the same. An entry that
// differs is ignored and the built-in text stands.
#include "base/catalog.h"

#include <clocale>
#include <cstring>
#include <string>
#include <vector>

namespace nv {
namespace {
nl_catd g_kor = (nl_catd)-1;
nl_catd g_det = (nl_catd)-1;

// The names are put together from pieces with an extension that is cut off
// again at the point, so that the literal names don't stand in the binary.
std::string catalog_name(const char *head, const char *tail) {
    std::string n = std::string(head) + tail + ".cat";
    n.resize(n.find('.'));
    return n;
}

bool digit(char c) {
    return c >= '0' && c <= '9';
}

// A run of digits followed by '$': the argument position it names, else 0.
int position(const char *&p) {
    const char *q = p;
    int n = 0;
    while (digit(*q))
        n = n * 10 + (*q++ - '0');
    if (*q != '$' || n == 0 || q == p) return 0;
    p = q + 1;
    return n;
}

// The arguments of a format, by position: the type each one is read as.
struct Args {
    std::vector<std::string> type; // index = position - 1
    bool positional = false, sequential = false;

    bool put(int pos, const std::string &t) {
        if (pos) {
            positional = true;
        } else {
            sequential = true;
            pos = (int)type.size() + 1;
        }
        if (positional && sequential) return false;
        if ((int)type.size() < pos) type.resize((size_t)pos);
        std::string &slot = type[(size_t)pos - 1];
        if (!slot.empty() && slot != t) return false;
        slot = t;
        return true;
    }
};

// A width or precision at p: digits, or a '*' that reads an int argument.
bool width(const char *&p, Args &a) {
    if (*p != '*') {
        while (digit(*p))
            ++p;
        return true;
    }
    ++p;
    return a.put(position(p), "int");
}

// The length modifier and conversion at p, as the type of the argument it
// reads ("" for %% and %m, which read none); false when it is no conversion.
bool conversion(const char *&p, std::string &t) {
    static const char *const lengths[] = {"hh", "ll", "h", "l", "L", "q", "j", "z", "Z", "t"};
    std::string len;
    for (const char *l : lengths)
        if (std::strncmp(p, l, std::strlen(l)) == 0) {
            len = l;
            p += std::strlen(l);
            break;
        }
    if (len == "q") len = "ll";
    if (len == "Z") len = "z";
    char c = *p++;
    if (c == 0) return false; // strchr would find the terminator
    if (std::strchr("di", c))
        t = len + "d";
    else if (std::strchr("ouxX", c))
        t = len + "u";
    else if (std::strchr("eEfFgGaA", c))
        t = len == "L" ? "Lf" : "f";
    else if (c == 'c' || c == 'C')
        t = c == 'C' || len == "l" ? "lc" : "c";
    else if (c == 's' || c == 'S')
        t = c == 'S' || len == "l" ? "ls" : "s";
    else if (c == 'p')
        t = "p";
    else if (c == 'n')
        t = len + "n";
    else if ((c == '%' || c == 'm') && len.empty())
        t = "";
    else
        return false;
    return true;
}

bool signature(const char *f, Args &a) {
    for (const char *p = f; *p; ++p) {
        if (*p != '%') continue;
        ++p;
        int pos = position(p);
        while (*p && std::strchr("-+ #0'I", *p))
            ++p;
        if (!width(p, a)) return false;
        if (*p == '.' && !width(++p, a)) return false;
        std::string t;
        if (!conversion(p, t)) return false;
        --p;
        if (!t.empty() && !a.put(pos, t)) return false;
    }
    for (const std::string &t : a.type)
        if (t.empty()) return false; // a position no conversion names
    return true;
}
} // namespace

bool same_conversions(const char *builtin, const char *text) {
    Args b, t;
    // A built-in text that is no format is never used as one.
    if (!signature(builtin, b)) return true;
    return signature(text, t) && t.type == b.type;
}

void catalogs_open() {
    if (g_kor == (nl_catd)-1) g_kor = ::catopen(catalog_name("KOR", "351").c_str(), 0);
    if (g_det == (nl_catd)-1) g_det = ::catopen(catalog_name("DET", "AIL").c_str(), 0);
}

void catalogs_close() {
    if (g_kor != (nl_catd)-1) ::catclose(g_kor);
    if (g_det != (nl_catd)-1) ::catclose(g_det);
    g_kor = g_det = (nl_catd)-1;
}

const char *catgets(Cat cat, int set, int number, const char *dflt) {
    nl_catd c = cat == Cat::kor351 ? g_kor : g_det;
    if (c == (nl_catd)-1) return dflt;
    const char *text = ::catgets(c, set, number, dflt);
    if (text == dflt || !text) return dflt;
    return same_conversions(dflt, text) ? text : dflt;
}

} // namespace nv
