// Message catalogues. Every text the user sees goes through nv_catgets with
// its Dutch default in the code; a catalogue that is missing (the normal case
// on a fresh installation) changes nothing. Two catalogues exist: KOR351 for
// the framework (store, screen layer, field engine) and DETAIL for the
// application. Both are opened by the start-up and closed at hand-over.
#pragma once

#include <nl_types.h>

namespace nv {

enum class Cat { kor351, detail };

// Opens both catalogues (names assembled at run time). Safe to call twice.
void catalogs_open();
void catalogs_close();

// The text of (set, number) in the catalogue, or the default. An entry whose
// printf conversions differ from the default's is not used.
const char *catgets(Cat cat, int set, int number, const char *dflt);

// True when `text` reads the same arguments as the format `builtin`: count,
// order (also through %n$ positions) and type, '*' widths included. Always
// true when `builtin` is no valid format.
bool same_conversions(const char *builtin, const char *text);

} // namespace nv

// Short forms used all over the code.
#define KOR(set, nr, txt) ::nv::catgets(::nv::Cat::kor351, (set), (nr), (txt))
#define DET(set, nr, txt) ::nv::catgets(::nv::Cat::detail, (set), (nr), (txt))
