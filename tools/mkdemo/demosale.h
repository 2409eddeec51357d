// The sale side of the demo shop: sellers, and the journals of the
// back office and of an offline till.
//
// The journals are written from a sale plan: the goods that were sold, each
// with its branch, date and seller. demoplan.cpp says where the goods come
// from; demojrn.cpp turns a plan into receipts, so that pointing the demo's
// journals at other goods touches the plan alone.
#pragma once

#include "demoshop.h"

#include <cstdint>
#include <string>
#include <vector>

namespace demo {

struct Seller {
    uint16_t nummer;
    std::string naam;  // the name shown, at most 30 characters
    std::string naam2; // short name, at most 11 characters
};

// The sellers of the shop (999 is the system's own).
std::vector<Seller> sellers(const Options &opt);
// DIR/DTVKP with those sellers, names scrambled as the suite keeps them.
std::string build_sellers(const std::string &dir, const Options &opt);

// One thing sold on a receipt line.
struct SaleItem {
    char soort = 0;          // 0 label, 'A' article, 'O' turnover group, 'M' series and
                             // size, 'E' a supplier's EAN not yet resolved
    uint32_t nummer = 0;     // label, article, group, series and size number; 'E' 0
    uint32_t etiket = 0;     // the label sold (label, 'M' and 'E' lines), else 0
    std::string invoer;      // the number as entered
    int32_t prijs = 0;       // unit price, cents
    uint8_t btw = 2;         // VAT code (index into the company's rates)
    uint16_t omzetgroep = 0; // turnover group
    uint8_t filiaal = 0;     // branch that sold it
    uint16_t datum = 0;      // day of the sale
    uint16_t verkoper = 1;   // seller
    uint32_t bon = 0;        // items with the same number, one after another, share a receipt
};

struct SalePlan {
    // Booked sales: the receipts of the back-office journals, processed;
    // in the order of their dates.
    std::vector<SaleItem> verkocht;
    // Sold at the offline till 1 of branch 0 and not yet booked: its
    // journal holds them as unprocessed receipts, in the order of dates.
    std::vector<SaleItem> kassa;
};

// The goods of the demo's receipts.
SalePlan sale_plan(const Options &opt);

// Writes the journals of the plan into DIR: VRKbb00.JRN per branch with
// sales, VRK0001.JRN for the till.
std::string build_journals(const std::string &dir, const SalePlan &plan);

} // namespace demo
