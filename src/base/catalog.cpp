// Message catalogues: see catalog.h.
#include "base/catalog.h"

#include <clocale>
#include <cstring>
#include <string>

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
} // namespace

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
    return ::catgets(c, set, number, dflt);
}

} // namespace nv
