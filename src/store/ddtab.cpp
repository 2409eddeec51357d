// The table of the data dictionary (dd.h) and the names the program knows
// its files by.
//
// Each file is written down in one line: number, record length, default
// title, and its keys. A key is its fields, a type letter with the first and
// last byte of the field in the record counted from 1 ("I9-12", "C5-14", one
// number for a single byte), separated by blanks; keys are separated by a
// semicolon and a key that allows duplicates starts with '*'. The rows of
// dd_lookup, one per key, are made from these lines once, at the first use.
#include "store/dd.h"

#include "base/catalog.h"
#include "base/fatal.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <strings.h>
#include <vector>

namespace {

struct FileDef {
    uint8_t nr;
    uint16_t reclen;
    const char *title; // nullptr: no title, the file's name is used
    const char *keys;
};

// On disk: every master file of the suite is made and checked from this.
constexpr FileDef k_files[] = {
    {1, 12, "vrk.transacties", "I1-4 I5-6 I7-8 I9-12"},
    {2, 36, "BEL_adressen", "C1-7 I9-10; C11-35"},
    {3, 64, "NLD_adressen", "C1-7"},
    {4, 304, "artikelgroepen", "I1-4; C7-17 I1-4; I31-32 I1-4"},
    {5, 80, nullptr, "C1-35; I73-76 C1-35"},
    {6, 60, "kleine_artikelen", "I1-2 I3"},
    {7, 400, "best.adv.orders", "I1-4 I5-6 I7-8 I13; I11-12 I1-4 I5-6 I7-8 I13"},
    {8, 32, "barcodereferentie", "C1-13; *I17-20 I15-16 I21-22 I24"},
    {9, 32, "best.adv.series", "I1-4 I5-6 I7-8"},
    {10, 80, "branchecodetabel", "I1-4; I41-44 I1-4"},
    {11, 36, "ext.ontvangsten",
     "I1-2 I3-4 I15 C17-29 I16; *C17-29; *I1-2 I3-4 I15 I5-8 I9-10 I11-12 I13-14"},
    {12, 108, nullptr, "C1-21 I23-24"},
    {13, 44, "datadictionary", "C5-14; *I1 I2"},
    {14, 412, "distributie", "I1 I3-4 I5-8 I9-10 I11-12 I2; *I17-20"},
    {15, 24, "doelgroepen", "I1; *C3-23 I1"},
    {16, 28, "EAN-relaties", "C1-13; C14 I17-20 I15-16 I21-22 I23"},
    {17, 32, "financieel", "I6 I2 I17-20 I7-8 I21-24; I17-20 I7-8 I21-24"},
    {18, 28, "goederen-onderweg", "I5-8; I1 I2 I5-8 I25-26; *I9-12 I13-14 I15-16"},
    {19, 16, nullptr, "I1 I3-4 I5-8; I5-8 I1 I3-4"},
    {20, 40, "prijssets", "I1-4 I5-6 I7-8 I9-10 I11-12; I9-10 I1-4 I5-6 I7-8 I11-12"},
    {21, 28, "ISO3166-landen", "I1-2; C3-4; C5-7; C8-27 I1-2"},
    {22, 36, "ISO4217-valuta", "C1-3"},
    {23, 80, nullptr, "C1-35; I37-40 C1-35"},
    {24, 312, "klanten", "I1-4; C5-14 C90-96 I1-4; C90-96 I1-4"},
    {25, 88, "klanten extern", "I1-4"},
    {26, 28, "klant kenmerken", "I1 I2; I1 C3-27 I2"},
    {27, 12, "valutakoersen", "C1-3 I11-12"},
    {28, 24, "9.10kltvrk",
     "I1 I2 I3 I5-8 I9-10 I11-12; *I3 I5-8 I9-10 I11-12 I1 I2; *I3 I9-10 I5-8 I11-12 I1 I2; *I23 "
     "I24"},
    {29, 32, "9.10zicht",
     "I1 I2 I5-8 I3-4 I9-10 I11-12; *I5-8 I3-4 I9-10 I11-12 I1 I2; *I3-4 I5-8 I9-10 I11-12 I1 I2; "
     "*C13-25 I5-8 I3-4 I9-10 I11-12 I1 I2; *C15-25 I5-8 I3-4 I9-10 I11-12 I1 I2"},
    {30, 332, "leveranciers", "I1-2; C3-12 I1-2; *C208-220"},
    {31, 164, "extra lev. info", "I1-2"},
    {32, 404, "maten", "I1 I2"},
    {33, 46, "menuteksten", "I46 I1-2"},
    {34, 76, "merken", "I1-2; C23-26; *C3-22"},
    {35, 10, "maatomschr.", "I1 I2 I3"},
    {36, 160, "modems", "I1-4; C5-24 C25-39 I1-4"},
    {37, 10, "merk maatsoort", "I1-2 I5-8; I1-2 I9 I5-8; I9 I1-2 I5-8"},
    {38, 40, "merk maatcodes", "I1-2 I3 C4-38; I3 C4-38 I1-2"},
    {39, 12, nullptr, "I5 I1-2 I3-4 I9-12"},
    {40, 24, "omzetgroepen", "I1-2; C3-17 I1-2"},
    {41, 44, "omzet", "C5 I3-4 I1 I2 I9-10 I11-12"},
    {42, 16, "ontvangsten", "I5-8; I1-2 I3-4 I9 I5-8; I9 I1-2 I3-4 I5-8"},
    {43, 48, nullptr, "I1-4; C5-39 I1-4; I43-44 C45 I1-4; I41-42 I1-4"},
    {44, 404, "verzamelopdrachten",
     "I2 I5-8 I9-10 I11-12 I3 I13-16; I5-8 I9-10 I11-12 I2 I3 I13-16; *I2 I3 I13-16"},
    {45, 36, "labels", "I1 I17 C4-16"},
    {47, 80, "RA scan retouren",
     "C1-13 I27-28; I27-28 I61-62 C29-43 I45-48 I49-50 I51-52 I44 I53-56"},
    {48, 80, "RA retourcondities", "I1-2"},
    {49, 180, "RA logboek", "I1-2 I3-4 I5-6 I7-8"},
    {50, 128, "RA stamgegevens", "I1-2 I3-4"},
    {51, 108, "RA kop/sluittekst", "I1 I3-4 I2"},
    {52, 164, nullptr, "I1-2; C5-24 I1-2"},
    {53, 6, "menurelaties", "I1-2 I3-4"},
    {54, 80, "remote_station", "C1-21"},
    {55, 200, "series", "I1-4 I5-6 I7-8; I9-10 I1-4 C20-34 I5-6 I7-8; I189-192"},
    {56, 53, "fotobestanden", "I1-4 I5-6 I7-8; *C9-18"},
    {57, 32, nullptr, "C1-13 I14; I14 I15-16 C1-13; I15-16 I14 C1-13"},
    {58, 48, "verkopers", "I1-2"},
    {59, 424, "voorverdelingen", "I1 I3-4 I5-6"},
    {60, 48, nullptr, "I1 I2 I3 C5-44"},
    {61, 512, nullptr, "I1 C2-11 I12"},
    {200, 32, "PLU_tabellen", "C1-13"},
    {201, 44, "KASSA_maat_etiket", "I1 I2 I3-4 I5-6"},
    {220, 64, nullptr, "I1-2 I3; *I1-2 C5-44; *I1-2 C45-64"},
    {221, 126, nullptr, "I1-2 I3 I4"},
    {222, 16, nullptr, "I1-2; *C5-16"},
    {223, 284, nullptr, "I1-2 I3; *I1-2 I5-6 I4; *I1-2 C9-40"},
};

constexpr uint8_t k_end = 250;

// The files the program uses under a name of its own.
struct NameDef {
    uint8_t nr;
    const char *name;
};
constexpr NameDef k_names[] = {
    {1, "DTAANV"},    {2, "DTADRBEL"},  {3, "DTADRNLD"},  {4, "DTART"},     {6, "DTARTREG"},
    {8, "DTBARC"},    {13, "DTDD"},     {15, "DTDOELGR"}, {16, "DTEAN"},    {17, "DTFIN"},
    {18, "DTGO"},     {19, "DTIO"},     {21, "DTISOLND"}, {22, "DTISOVAL"}, {24, "DTKLT"},
    {25, "DTKLTEXT"}, {26, "DTKLTKNM"}, {27, "DTKOERS"},  {30, "DTLEV"},    {32, "DTMAAT"},
    {34, "DTMERK"},   {35, "DTMTOM"},   {40, "DTOMZGRP"}, {41, "DTOMZET"},  {42, "DTONTV"},
    {45, "DTPRTL"},   {55, "DTSER"},    {58, "DTVKP"},
};

// "I9-12" or "C5": one field. False on anything else.
bool parse_field(const char *&s, uint8_t &type, uint8_t &first, uint8_t &last) {
    if (*s != 'I' && *s != 'C') return false;
    type = (uint8_t)*s++;
    if (!std::isdigit((unsigned char)*s)) return false;
    char *e;
    long a = std::strtol(s, &e, 10), b = a;
    s = e;
    if (*s == '-') {
        b = std::strtol(s + 1, &e, 10);
        if (e == s + 1) return false;
        s = e;
    }
    if (a < 1 || b < a || b > 255) return false;
    first = (uint8_t)a, last = (uint8_t)b;
    return true;
}

void parse_file(const FileDef &f, std::vector<dd_row> &rows) {
    size_t start = rows.size();
    const char *s = f.keys;
    int key = 0;
    while (*s) {
        dd_row r{};
        r.file = f.nr, r.reclen = f.reclen, r.key = (uint8_t)++key;
        while (*s == ' ')
            ++s;
        if (*s == '*') r.dups = 1, ++s;
        int n = 0;
        while (*s && *s != ';') {
            if (n == 10 || !parse_field(s, r.fld[n].type, r.fld[n].first, r.fld[n].last))
                nv::fatal("dd: file %d, key %d: field %d unreadable", f.nr, key, n + 1);
            ++n;
            while (*s == ' ')
                ++s;
        }
        if (*s == ';') ++s;
        rows.push_back(r);
    }
    for (size_t i = start; i < rows.size(); ++i)
        rows[i].nkeys = (uint8_t)key;
}

const std::vector<dd_row> &table() {
    static const std::vector<dd_row> rows = [] {
        std::vector<dd_row> v;
        for (const FileDef &f : k_files)
            parse_file(f, v);
        dd_row end{};
        end.file = k_end;
        v.push_back(end);
        return v;
    }();
    return rows;
}

const FileDef *file_def(int nr) {
    for (const FileDef &f : k_files)
        if (f.nr == nr) return &f;
    return nullptr;
}

} // namespace

char *dd_title(int filenr, char *buf) {
    buf[0] = 0;
    const FileDef *f = file_def(filenr);
    if (!f || !f->title) return buf;
    const char *t = DET(40, filenr, f->title);
    int n = 0;
    for (; t[n] && n < 18; ++n)
        buf[n] = t[n] == ' ' ? '_' : t[n];
    buf[n] = 0;
    return buf;
}

bool dd_lookup(int filenr, int keynr, dd_row *row) {
    for (const dd_row &r : table()) {
        if (r.file > 249) {
            *row = r;
            return false;
        }
        if (r.file == filenr && r.key == keynr) {
            *row = r;
            return true;
        }
    }
    return false;
}

namespace nv::store {

int dd_rows() {
    return (int)table().size() - 1;
}

const uint8_t *dd_files(int *count) {
    static const std::vector<uint8_t> nrs = [] {
        std::vector<uint8_t> v;
        for (const FileDef &f : k_files)
            v.push_back(f.nr);
        return v;
    }();
    *count = (int)nrs.size();
    return nrs.data();
}

const char *dd_name(int filenr) {
    for (const NameDef &n : k_names)
        if (n.nr == filenr) return n.name;
    return nullptr;
}

int dd_number(const char *name) {
    const char *base = std::strrchr(name, '/');
    base = base ? base + 1 : name;
    for (const NameDef &n : k_names)
        if (strcasecmp(n.name, base) == 0) return n.nr;
    return 0;
}

} // namespace nv::store
