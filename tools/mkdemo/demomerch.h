// The merchandise side of the demo shop: articles, series and the label
// store with its chains.
//
// Every label block belongs to series (block % number of series), so the
// chains run through the file interleaved, several blocks long. Labels 1 and
// up are the ones of the sale plan (demosale.h), in its order: the booked
// sales are sold labels, the offline till's sales are still in stock in
// branch 0 until the till's journal is processed. The other slots hold
// labels in every status and a few free slots; behind the chains lies a
// free chain of four blocks. A label's series, size and price follow from
// its number (label_series, label_maat, series_price), which is how the
// sale plan gives its lines the right goods, group and amount.
#pragma once

#include "demoshop.h"

#include <cstdint>
#include <string>
#include <vector>

namespace demo {

struct Article {
    uint32_t art_nr;
    std::string omschrijving;
    uint16_t omzetgroep;
    uint8_t btw_code;
};

struct Series {
    uint32_t art_nr;
    uint16_t kleur, volgnr;
    std::string model;
    int32_t adviesprijs;
};

std::vector<Article> articles(const Options &opt);
std::vector<Series> series(const Options &opt);

// The place in series() of the label's series, and the label's size (1..6).
size_t label_series(const Options &opt, uint32_t label_no);
int label_maat(uint32_t label_no);
// The series' price of a size: XS to M the first price group, L to XXL the
// second.
int32_t series_price(const Series &s, int maat);
// Every fourth series keeps its stock by size (ser_maatreg): its labels are
// sold by series and size, on the size's EAN.
bool series_by_size(size_t series);
// The series and size number of a size of such a series (ser_nummer * 10 +
// size): "M" and this number at the till, its own code in DTEAN.
uint32_t size_number(size_t series, int maat);

// The barcode of size 1..6 of series number `series` (its place in
// series()), or of small article a (series 90000 + a, size 0).
std::string supplier_ean_of(uint32_t series, int size);

// The turnover group of the article of the label's series.
uint16_t label_omzetgroep(const Options &opt, uint32_t label_no);

// Blocks of the free chain behind the used blocks.
constexpr int k_demo_free_blocks = 4;

struct SalePlan;
// DTART, DTSER and DTETI.TXT, with system records 4 (allocation) and 20
// (transit option on), and the other files of the master file set:
// turnover groups, barcodes (DTEAN, DTBARC), small articles, suppliers,
// brands, the size table of size kind 1 (XS to XXL), the refill list.
// Needs DTSYS.TXT; the system file and the label store must not be open in
// this process.
std::string build_merch(const std::string &dir, const Options &opt, const SalePlan &plan);

} // namespace demo
