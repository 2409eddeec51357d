// The demo's customers: see demoomz.h. Names and places in code page 850,
// as the terminals of the suite write them.
#include "demoomz.h"

#include "base/datum.h"
#include "customer/kltrec.h"
#include "store/dd.h"
#include "store/ix.h"

#include <cstdio>
#include <cstring>

namespace demo {
namespace {

struct Person {
    const char *voornaam, *voorletters, *voorvoegsels, *naam, *adres, *postcode, *plaats;
    const char *email;
};

// \x82 e acute, \x8a e grave, \x92 AE, \x9b o stroke, \x81 u diaeresis, \x89 e diaeresis.
const Person people[] = {
    {"D\x82sir\x82\x65", "D.", "", "Lambert", "Hoofdstraat 12", "1234 AB", "Utrecht",
     "desiree@example.nl"},
    {"Jens", "J.", "", "\x92r\x9b", "Havnegade 4", "5960", "Marstal", ""},
    {"Jan", "J.P.", "van der", "Berg", "Kerkweg 3a", "2011 CD", "Haarlem", "jp@example.nl"},
    {"Ang\x8ale", "A.", "", "Dupr\x82", "Rue Neuve 8", "1000", "Bruxelles", ""},
    {"Fenna", "F.", "de", "Vries", "Molenlaan 77", "8911 AA", "Leeuwarden", ""},
    {"J\x81rgen", "J.", "", "M\x81ller", "Lindenstra\xe1\x65 5", "4711", "K\x94ln", ""},
    {"No\x89l", "N.", "", "Jansen", "Dorpsstraat 1", "3811 EF", "Amersfoort", "noel@example.nl"},
    {"Sanne", "S.", "", "Bakker", "Kade 19", "1234 AB", "Utrecht", ""},
};
constexpr int32_t n_people = sizeof people / sizeof people[0];

void text(char *field, size_t size, const char *s) {
    std::memset(field, 0, size);
    std::memcpy(field, s, strnlen(s, size));
}

} // namespace

int32_t customer_count(const Options &opt) {
    return opt.size == "large" ? 100000 : n_people;
}

std::string build_customers(const std::string &dir, const Options &opt) {
    if (!(opt.vlag1 & 1)) return "";
    if (!dd_create_pair(24, (dir + "/DTKLT").c_str()) ||
        !dd_create_pair(25, (dir + "/DTKLTEXT").c_str()))
        return "DTKLT: not in the data dictionary";
    ICB *klt = IXOPEN((dir + "/DTKLT").c_str(), 1);
    ICB *ext = IXOPEN((dir + "/DTKLTEXT").c_str(), 1);
    uint16_t today = datum_vandaag();
    for (int32_t i = 0; i < customer_count(opt); ++i) {
        const Person &p = people[i % n_people];
        klt_rec k{};
        k.kltnr = 1001 + i;
        text(k.voornaam, sizeof k.voornaam, p.voornaam);
        text(k.voorletters, sizeof k.voorletters, p.voorletters);
        text(k.voorvoegsels, sizeof k.voorvoegsels, p.voorvoegsels);
        text(k.naam, sizeof k.naam, p.naam);
        text(k.adres, sizeof k.adres, p.adres);
        text(k.postcode, sizeof k.postcode, p.postcode);
        text(k.woonplaats, sizeof k.woonplaats, p.plaats);
        text(k.land, sizeof k.land, i % n_people == 1 ? "DNK" : "NLD");
        k.titel = (uint8_t)(1 + i % 2);
        std::memset(k.kenmerken, ' ', sizeof k.kenmerken);
        k.mailing = KLT_POST_EMAIL;
        k.eerste_datum = (uint16_t)(today - 400 + i % 300);
        // Statistics of this year: a few sales of kind 0 and one of another kind.
        k.laatste_aankoop = (uint16_t)(today - i % 20);
        k.aantal[0] = (uint16_t)(1 + i % 4);
        k.bedrag[0] = 4995 * k.aantal[0];
        k.aantal[1] = 1;
        k.bedrag[1] = 1995;
        if (p.email[0]) {
            k.ext_stempel = k.eerste_datum;
            kltext_rec e{};
            e.kltnr = k.kltnr;
            text(e.email, sizeof e.email, p.email);
            e.ext_stempel = k.ext_stempel;
            IXWRITE(ext, &e);
        }
        IXWRITE(klt, &k);
    }
    IXCLOSE(ext);
    IXCLOSE(klt);
    return "";
}

} // namespace demo
