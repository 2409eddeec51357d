// Sellers, the rule part: see kas_vkp.h.
#include "sale/kas_vkp.h"

#include "base/cp850.h"
#include "base/scramble.h"

#include <algorithm>
#include <cstring>
#include <new>

ICB *vkp_file = nullptr;

namespace {

const char *const k_name = "DTVKP";

// The file for one lookup: the session's, or one opened for the moment.
struct Handle {
    ICB *icb;
    bool own;
    Handle() : icb(vkp_file ? vkp_file : IXOPEN(k_name, 0)), own(!vkp_file) {}
    ~Handle() {
        if (own) IXCLOSE(icb);
    }
    Handle(const Handle &) = delete;
    Handle &operator=(const Handle &) = delete;
};

template <size_t N> void unscramble_field(char (&field)[N]) {
    char tmp[N + 1];
    std::memcpy(tmp, field, N);
    tmp[N] = 0;
    UNSCRAMBLE(tmp);
    std::memset(field, 0, N);
    std::memcpy(field, tmp, std::strlen(tmp));
}

bool read_raw(ICB *icb, uint16_t number, vkp_rec *rec) {
    std::memset(rec, 0, sizeof *rec);
    rec->nummer = number;
    IXSWITCH(icb, 1);
    return IXREAD(icb, rec) != 0;
}

} // namespace

void vkp_open(const char *name) {
    if (!vkp_file) vkp_file = IXOPEN(name, 0);
}

void vkp_close() {
    if (vkp_file) IXCLOSE(vkp_file);
    vkp_file = nullptr;
}

bool vkp_lees(uint16_t number, vkp_rec *record) {
    Handle h;
    if (!read_raw(h.icb, number, record)) {
        std::memset(record, 0, sizeof *record);
        record->nummer = number;
        return false;
    }
    unscramble_field(record->naam);
    unscramble_field(record->naam2);
    return true;
}

namespace vkp {

std::string sort_key(const char *naam) {
    std::string s(naam, strnlen(naam, 32));
    size_t b = s.find_first_not_of(' '), e = s.find_last_not_of(' ');
    s = b == std::string::npos ? "" : s.substr(b, e - b + 1);
    size_t blank = s.find(' ');
    if (blank != std::string::npos) s = s.substr(blank + 1);
    for (char &c : s)
        c = (char)cp850::upper((unsigned char)c);
    return s.substr(0, 30);
}

bool NameTable::build() {
    entries_.clear();
    place_.clear();
    std::vector<std::string> keys;
    try {
        place_.assign(1000, -1);
        Handle h;
        IXSWITCH(h.icb, 1);
        vkp_rec r{};
        for (int ok = IXFIRST(h.icb, &r); ok; ok = IXNEXTR(h.icb, &r)) {
            if (r.nummer == VKP_EIGEN || r.nummer >= 1000) continue;
            NameEntry e{r.nummer, {}};
            unscramble_field(r.naam);
            std::memcpy(e.naam, r.naam, sizeof r.naam);
            std::string key = sort_key(e.naam);
            // Insertion behind the equal keys keeps the number order.
            size_t at = (size_t)(std::upper_bound(keys.begin(), keys.end(), key) - keys.begin());
            keys.insert(keys.begin() + (long)at, key);
            entries_.insert(entries_.begin() + (long)at, e);
        }
    } catch (const std::bad_alloc &) {
        entries_.clear();
        place_.clear();
        return false;
    }
    for (size_t i = 0; i < entries_.size(); ++i)
        place_[entries_[i].nummer] = (int16_t)i;
    return true;
}

int NameTable::place(int32_t nummer) const {
    if (nummer < 0 || nummer >= (int32_t)place_.size()) return -1;
    return place_[(size_t)nummer];
}

bool step_by_number(int32_t from, int32_t delta, vkp_rec *reached) {
    Handle h;
    IXSWITCH(h.icb, 1);
    int32_t want = delta < 0 ? -delta : delta, moved = 0;
    vkp_rec r{};
    r.nummer = (uint16_t)std::clamp(from, 0, 65535);
    while (moved < want) {
        if (!(delta > 0 ? IXNEXTR(h.icb, &r) : IXPREVR(h.icb, &r))) break;
        if (r.nummer == VKP_EIGEN) continue;
        ++moved;
        *reached = r;
    }
    return moved == want;
}

} // namespace vkp
