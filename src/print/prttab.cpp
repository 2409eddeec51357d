// Layouts and first rows of the printer tables (see prttab.h). This file
// needs the record store only, so that the demo builder can make tables
// without a terminal.
#include "print/prttab.h"

#include "store/ix.h"
#include "store/ixcheck.h"

#include <cstring>

const PrtLayout prt_layouts[PRT_TABLE_COUNT] = {
    {"TR_PTRG", "TR_PTR_general,16", {"tr_code,I,1,2", "name,C,5,16", nullptr}, 2},
    {"TR_PTRC",
     "TR_PTR_connections,64",
     {"code-id,I,1,2,I,3,3", "code-dev,I,1,2,C,5,44", "cd-name,I,1,2,C,45,64"},
     3},
    {"TR_PTRP",
     "TR_PTR_properties,284",
     {"code-id,I,1,2,I,3,3", "cd-cols,I,1,2,I,5,6,I,4,4", "cd-desc,I,1,2,C,9,40"},
     3},
    {"TR_PTRCA", "TR_PTR_codes,126", {"code-cap,I,1,2,I,3,3,I,4,4", nullptr, nullptr}, 1},
};

namespace nv::prt {

void put_field(char *field, size_t size, const char *text) {
    size_t n = strnlen(text, size);
    std::memcpy(field, text, n);
    std::memset(field + n, 0, size - n);
}

namespace {

void first_rows(PrtTable t, ICB *icb) {
    switch (t) {
    case PRT_GENERAL: {
        TR_PTRG_REC g{};
        g.tr_code = 1;
        put_field(g.name, sizeof g.name, "SCR");
        IXWRITE(icb, &g);
        break;
    }
    case PRT_CONNECTIONS: {
        TR_PTRC_REC c{};
        c.tr_code = 1;
        c.cd_id = 1;
        put_field(c.cd_name, sizeof c.cd_name, "SCR");
        IXWRITE(icb, &c);
        break;
    }
    case PRT_PROPERTIES: {
        struct {
            const char *desc;
            int16_t cols, rows;
        } const formats[] = {{"SCR-40", 40, PRT_ENDLESS}, {"SCR-80", 80, 64}, {"SCR-132", 132, 64}};
        uint8_t id = 0;
        for (const auto &f : formats) {
            TR_PTRP_REC p{};
            p.tr_code = 1;
            p.pp_id = ++id;
            p.pp_portrait = 1;
            p.pp_cols = f.cols;
            p.pp_rows = f.rows;
            put_field(p.pp_desc, sizeof p.pp_desc, f.desc);
            IXWRITE(icb, &p);
        }
        break;
    }
    default:
        break;
    }
}

} // namespace

namespace {
// The pair created afresh with the table's layout; `mode` as IXCREATE takes
// it (k_retry_open keeps the data file).
ICB *create_with_layout(PrtTable t, const char *path, int mode) {
    const PrtLayout &l = prt_layouts[t];
    ICB *icb = IXCREATE(path, mode);
    IXUPDFCB(icb, 0, l.title);
    for (int k = 0; k < l.nkeys; ++k)
        IXUPDFCB(icb, k + 1, l.keys[k]);
    return icb;
}
} // namespace

void table_create(PrtTable t, const char *path) {
    ICB *icb = create_with_layout(t, path, 1);
    IXINIT(icb);
    first_rows(t, icb);
    IXCLOSE(icb);
}

bool table_repair(PrtTable t, const char *path) {
    ICB *icb = create_with_layout(t, path, 1 | nv::store::k_retry_open);
    IXINITIX(icb);
    IXCLOSE(icb);
    return IXBLDIX(path) && IXCHECK(path) >= 0;
}

} // namespace nv::prt
