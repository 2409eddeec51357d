// The demo's sellers: see demosale.h.
#include "demosale.h"

#include "sale/kas_vkp.h"
#include "store/dd.h"
#include "store/ix.h"

#include <cstdio>
#include <cstring>

namespace demo {

std::vector<Seller> sellers(const Options &opt) {
    std::vector<Seller> v = {
        {1, "Anna de Vries", "Anna"},
        {2, "Piet Jansen", "Piet"},
        {3, "Sanne Bakker", "Sanne"},
        {4, "Mohammed el Amrani", "Mo"},
        {5, "Kees", "Kees"},
        {6, "Fatima Yilmaz", "Fatima"},
        {7, "Joost van Dijk", "Joost"},
        {8, "Lotte Visser", "Lotte"},
        // Code page 850, as every name in the files: E acute, e and u diaeresis.
        {9, "\x90mile Dubois", "\x90mile"},
        {10, "Zo\x89 M\x81ller", "Zo\x89"},
    };
    if (opt.size == "large") {
        const char *first[] = {"Bram", "Iris", "Noah", "Julia", "Sem", "Tess", "Luuk", "Mila"};
        const char *last[] = {"de Jong",  "Bos",    "Meijer",  "de Boer",  "Peters",
                              "Hendriks", "Dekker", "Brouwer", "de Groot", "Vos"};
        for (uint16_t n = 11; n <= 250; ++n)
            v.push_back({n, std::string(first[n % 8]) + " " + last[(n / 8) % 10], first[n % 8]});
    }
    v.push_back({999, "Systeem", "Systeem"});
    return v;
}

std::string build_sellers(const std::string &dir, const Options &opt) {
    std::string name = dir + "/DTVKP";
    if (!dd_create_pair(58, name.c_str())) return "DTVKP: not in the data dictionary";
    ICB *icb = IXOPEN(name.c_str(), 1);
    for (const Seller &s : sellers(opt)) {
        vkp_rec r{};
        r.nummer = s.nummer;
        scrambled(r.naam, sizeof r.naam, s.naam, opt.scramble_key);
        scrambled(r.naam2, sizeof r.naam2, s.naam2, opt.scramble_key);
        IXWRITE(icb, &r);
    }
    IXCLOSE(icb);
    return "";
}

} // namespace demo
