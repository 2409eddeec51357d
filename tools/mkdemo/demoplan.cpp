// The goods of the demo's receipts: see demosale.h. Labels are numbered
// from 1 in the order of sale, the articles without labels are 1 to 20,
// and turnover group 30 takes the lines sold on a group alone. Booked
// sales run over the last weeks (a year for the large shop) through all
// branches; the till sold in the last three days.
//
// A label of a series kept by size is not sold by its number: the back
// office entered the series and size (an 'M' line on the size's own code),
// the till scanned the supplier's EAN and left it unresolved ('E'). The
// label behind such a line is the one the booking picked (back office) or
// one the processing will find in stock (till).
#include "demomerch.h"
#include "demosale.h"

#include "base/datum.h"
#include "merch/ean.h"

#include <random>

namespace demo {
namespace {

struct Maker {
    const Options &opt;
    std::vector<Series> ser = series(opt);
    std::mt19937 rnd{20160405};
    uint32_t next_label = 1;

    int pick(int n) { return (int)(rnd() % (unsigned)n); }

    static std::string own_code(int soort, long nummer) {
        char code[14];
        eti_ean(soort, nummer, code);
        return code;
    }

    SaleItem item(uint32_t bon, uint8_t branch, uint16_t day, uint16_t seller, bool till) {
        SaleItem it;
        it.bon = bon;
        it.filiaal = branch;
        it.datum = day;
        it.verkoper = seller;
        int kind = till ? 0 : pick(10);
        if (kind < 8) {
            uint32_t label = next_label++;
            size_t s = label_series(opt, label);
            int maat = label_maat(label);
            it.etiket = label;
            it.prijs = series_price(ser[s], maat);
            it.omzetgroep = label_omzetgroep(opt, label);
            if (!series_by_size(s)) {
                it.nummer = label;
                it.invoer = own_code(EAN_LABEL, label);
            } else if (till) {
                it.soort = 'E';
                it.invoer = supplier_ean_of((uint32_t)s, maat);
            } else {
                it.soort = 'M';
                it.nummer = size_number(s, maat);
                it.invoer = own_code('M', it.nummer);
            }
        } else if (kind == 8) {
            it.soort = 'A';
            it.nummer = (uint32_t)(1 + pick(20));
            it.prijs = 295 + 100 * (int32_t)(it.nummer % 8);
            it.omzetgroep = 20;
            it.invoer = own_code('A', it.nummer);
        } else {
            it.soort = 'O';
            it.nummer = 30;
            it.prijs = 500 + 250 * pick(8);
            it.btw = 1;
            it.omzetgroep = 30;
            it.invoer = "30";
        }
        return it;
    }

    // `count` receipts of one to three lines, dates rising over `days`.
    void receipts(std::vector<SaleItem> &out, long count, int days, int branches, bool till) {
        uint16_t today = datum_vandaag();
        for (long r = 0; r < count; ++r) {
            auto day = (uint16_t)(today - days + (long)days * r / count);
            auto branch = (uint8_t)(till ? 0 : r % branches);
            auto seller = (uint16_t)(1 + pick(10));
            int lines = 1 + pick(3);
            for (int l = 0; l < lines; ++l)
                out.push_back(item((uint32_t)r + 1, branch, day, seller, till));
        }
    }
};

} // namespace

SalePlan sale_plan(const Options &opt) {
    bool large = opt.size == "large";
    Maker m{opt};
    SalePlan p;
    m.receipts(p.verkocht, large ? 90000 : 40, large ? 365 : 14, opt.branches, false);
    m.receipts(p.kassa, large ? 10000 : 12, 3, opt.branches, true);
    return p;
}

} // namespace demo
