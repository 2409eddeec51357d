// The demo shop builder: see demoshop.h.
#include "demoshop.h"
#include "demoomz.h"
#include "demomerch.h"
#include "demosale.h"

#include "base/datum.h"
#include "base/scramble.h"
#include "frame/iosys.h"
#include "frame/sysrec.h"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <sys/stat.h>
#include <vector>

namespace demo {

void scrambled(char *field, size_t size, const std::string &name, uint8_t key) {
    char buf[64] = {};
    std::snprintf(buf, sizeof buf, "%.*s", (int)size - 2, name.c_str());
    nv::scramble_with_key(buf, key);
    std::memset(field, 0, size);
    std::memcpy(field, buf, std::strlen(buf));
}

namespace {

void put(std::vector<uint8_t> &file, const sysmap::Table &t, long nr, const void *rec, size_t size) {
    std::memcpy(file.data() + t.base + (nr - 1) * t.length, rec, size);
}

void put_text(char *field, size_t size, const std::string &s) {
    std::memset(field, 0, size);
    std::memcpy(field, s.data(), std::min(size, s.size()));
}

bool write_file(const std::string &path, const void *data, size_t size) {
    FILE *f = std::fopen(path.c_str(), "wb");
    if (!f) return false;
    bool ok = std::fwrite(data, 1, size, f) == size;
    ok = std::fclose(f) == 0 && ok;
    chmod(path.c_str(), 0660);
    return ok;
}

uint16_t today() { return datum_vandaag(); }

std::string build_sys(const std::string &dir, const Options &opt) {
    std::vector<uint8_t> f(sysmap::FILE_SIZE, 0);
    sys_bedrijf b{};
    put_text(b.bedrijf, sizeof b.bedrijf, "Modehuis Brandel Demo");
    b.vlag1 = opt.vlag1;
    b.vlag2 = opt.vlag2;
    b.vlag3 = opt.vlag3;
    b.artikel_breedte = 5;
    b.kleur_breedte = 3;
    b.aantal_fil = (uint8_t)opt.branches;
    b.maatsoort = 1;
    const int16_t btw[11] = {0, 90, 210, 0, 0, 0, 0, 0, 0, 0, 0};
    std::memcpy(b.btw_tarief, btw, sizeof btw);
    put(f, sysmap::FIXED, sysmap::REC_COMPANY, &b, sizeof b);

    uint32_t lastcust = 1000 + (uint32_t)customer_count(opt);
    put(f, sysmap::FIXED, sysmap::REC_CUSTNR, &lastcust, sizeof lastcust);

    sys_release rel{};
    std::memcpy(rel.release, opt.release.data(), std::min<size_t>(5, opt.release.size()));
    put(f, sysmap::FIXED, sysmap::REC_RELEASE, &rel, sizeof rel);

    sys_land land{};
    std::memcpy(land.valuta, "EUR", 3);
    std::memcpy(land.land, "NLD", 3);
    land.etiket_breedte = 7;
    put(f, sysmap::FIXED, sysmap::REC_COUNTRY, &land, sizeof land);

    long nr = 1;
    for (const User &u : opt.users) {
        sys_gebruiker g{};
        scrambled(g.naam, sizeof g.naam, u.name, opt.scramble_key);
        put_text(g.printer, sizeof g.printer, "P1");
        put_text(g.tty, sizeof g.tty, u.tty);
        g.status = u.status;
        g.rechten = u.rechten;
        put_text(g.programma, sizeof g.programma, u.programma);
        g.werkdatum = today();
        put(f, sysmap::USERS, nr++, &g, sizeof g);
    }

    const char *currencies[] = {"EUR Euro", "USD Amerikaanse dollar", "GBP Engels pond"};
    for (long i = 0; i < 3; ++i) {
        char rec[36] = {};
        std::snprintf(rec, sizeof rec, "%s", currencies[i]);
        put(f, sysmap::CURRENCIES, i + 1, rec, sizeof rec);
    }
    const char *colours[] = {"zwart", "wit", "rood", "blauw", "groen", "bruin", "grijs", "beige"};
    for (long i = 0; i < 8; ++i) {
        char rec[20] = {};
        std::snprintf(rec, sizeof rec, "%s", colours[i]);
        put(f, sysmap::COLOURS, i + 1, rec, sizeof rec);
    }
    sys_actie a{};
    a.vanaf = (uint16_t)(today() - 7);
    a.tot = (uint16_t)(today() + 21);
    a.actiecode = 1;
    for (int br = 0; br < opt.branches; ++br) a.filialen[br / 8] |= (uint8_t)(1u << (br % 8));
    put_text(a.omschrijving, sizeof a.omschrijving, "Najaarsactie");
    put(f, sysmap::ACTIONS, 1, &a, sizeof a);

    if (!write_file(dir + "/DTSYS.TXT", f.data(), f.size())) return "kan DTSYS.TXT niet schrijven";
    return "";
}

std::string build_branches(const std::string &dir, const Options &opt) {
    std::vector<fil_rec> slots((size_t)opt.branches + 1);
    std::memset(slots.data(), 0, slots.size() * sizeof(fil_rec));
    const char *names[] = {"Centrum", "Noord", "Zuid", "Oost", "West", "Station", "Markt", "Haven"};
    for (int br = 0; br < opt.branches; ++br) {
        fil_rec &r = slots[(size_t)br + 1];
        char name[40];
        std::snprintf(name, sizeof name, "Filiaal %s", names[br % 8]);
        scrambled(r.naam, sizeof r.naam, name, opt.scramble_key);
        r.kas_modus = br == 0 ? 2 : 1;
        r.kassa_map[0] = 0x02; // till 1
    }
    if (!write_file(dir + "/DTFILGEG.TXT", slots.data(), slots.size() * sizeof(fil_rec)))
        return "kan DTFILGEG.TXT niet schrijven";
    return "";
}

std::string build_kasparm(const std::string &dir) {
    kas_parm k{};
    k.bonnummer = 1;
    std::memcpy(k.valuta[0], "EUR", 3);
    std::memcpy(k.valuta[1], "USD", 3);
    const char *texts[] = {"Aanbetaling", "Cadeaubon", "Reparatie"};
    for (int i = 0; i < 3; ++i) std::snprintf(k.ontvangst[i].tekst, sizeof k.ontvangst[i].tekst, "%s", texts[i]);
    if (!write_file(dir + "/KASPARM.TXT", &k, sizeof k)) return "kan KASPARM.TXT niet schrijven";
    return "";
}

} // namespace

std::string build(const std::string &dir, const Options &opt) {
    mkdir(dir.c_str(), 0775);
    if (opt.branches < 1 || opt.branches > 99) return "aantal filialen moet 1 t/m 99 zijn";
    if (opt.users.size() > 99) return "te veel gebruikers";
    for (auto step : {build_sys(dir, opt), build_branches(dir, opt), build_kasparm(dir),
                      build_printers(dir)})
        if (!step.empty()) return step;
    if (std::string e = build_sellers(dir, opt); !e.empty()) return e;
    for (auto step : {build_betm(dir, opt), build_customers(dir, opt), build_omzet(dir, opt)})
        if (!step.empty()) return step;
    SalePlan plan = sale_plan(opt);
    if (std::string e = build_journals(dir, plan); !e.empty()) return e;
    return build_merch(dir, opt, plan);
}

bool set_program(const std::string &dir, long user_nr, const char *program) {
    iosys_filename((dir + "/DTSYS.TXT").c_str());
    long n = 1;
    sys_gebruiker u{};
    iosys('O', &n, &u, sysmap::USERS);
    n = user_nr;
    bool ok = iosys('X', &n, &u, sysmap::USERS);
    if (ok) {
        std::memset(u.programma, 0, sizeof u.programma);
        std::memcpy(u.programma, program, std::min(std::strlen(program), sizeof u.programma));
        ok = iosys('W', &n, &u, sysmap::USERS);
    }
    iosys('C', &n, &u, sysmap::USERS);
    iosys_filename("DTSYS.TXT");
    return ok;
}

} // namespace demo
