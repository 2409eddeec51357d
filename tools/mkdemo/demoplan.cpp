// The goods of the demo's receipts: see demosale.h. Labels are numbered
// from 1 in the order of sale, the articles without labels are 1 to 20,
// and turnover group 30 takes the lines sold on a group alone. Booked
// sales run over the last weeks (a year for the large shop) through all
// branches; the till sold in the last three days.
#include "demomerch.h"
#include "demosale.h"

#include "base/datum.h"

#include <random>

namespace demo {
namespace {

struct Maker {
    std::mt19937 rnd{20160405};
    uint32_t next_label = 1;

    int pick(int n) { return (int)(rnd() % (unsigned)n); }

    SaleItem item(uint32_t bon, uint8_t branch, uint16_t day, uint16_t seller, bool labels_only) {
        SaleItem it;
        it.bon = bon;
        it.filiaal = branch;
        it.datum = day;
        it.verkoper = seller;
        int kind = labels_only ? 0 : pick(10);
        if (kind < 8) {
            it.nummer = next_label++;
            it.prijs = 1995 + 500 * pick(26);
            it.omzetgroep = label_omzetgroep(it.nummer);
            pick(6); // keeps the rest of the plan as it was
        } else if (kind == 8) {
            it.soort = 'A';
            it.nummer = (uint32_t)(1 + pick(20));
            it.prijs = 295 + 100 * (int32_t)(it.nummer % 8);
            it.omzetgroep = 20;
        } else {
            it.soort = 'O';
            it.nummer = 30;
            it.prijs = 500 + 250 * pick(8);
            it.btw = 1;
            it.omzetgroep = 30;
        }
        it.invoer = std::to_string(it.nummer);
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
    Maker m;
    SalePlan p;
    m.receipts(p.verkocht, large ? 90000 : 40, large ? 365 : 14, opt.branches, false);
    m.receipts(p.kassa, large ? 10000 : 12, 3, opt.branches, true);
    return p;
}

} // namespace demo
