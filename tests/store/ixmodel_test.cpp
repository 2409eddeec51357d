// The store against a simple in-memory model: long random sequences of
// writes, updates that move secondary keys, deletes and re-inserts, checked
// every few steps by exact finds, ordered walks both ways, distinct-value
// walks, IXSKIP and IXUNIQK. The model orders keys with the collation done
// the slow way (two passes written out into work strings), so that the
// fast comparison of the store is checked too. The seed is printed; set
// NV_SEED to repeat a run.
#include "store/ix.h"
#include "store/ixcheck.h"
#include "store/ixcoll.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

using namespace nv::store;
using Rec = std::vector<uint8_t>;

namespace {

struct Field {
    char type;
    int first, last; // from 1
    int width() const { return last - first + 1; }
};
struct Key {
    bool dups;
    std::vector<Field> fields;
};
struct Layout {
    const char *name;
    int reclen;
    std::vector<Key> keys;
};

// ---- the model's own key order

int slow_text_compare(const uint8_t *a, const uint8_t *b, int w) {
    auto pass1 = [w](const uint8_t *s, std::vector<uint8_t> &out) {
        out.assign((size_t)(2 * w + 1), 0);
        int n = 0, expand = 0;
        for (int i = 0; i < w; ++i) {
            const CollWeight &cw = coll_weight(s[i]);
            if (cw.cls == CollClass::expanding) {
                out[(size_t)n++] = cw.primary;
                out[(size_t)n++] = cw.secondary;
                ++expand;
            } else if (cw.cls != CollClass::dropped) {
                out[(size_t)n++] = cw.primary;
            }
        }
        return w + expand;
    };
    auto pass2 = [w](const uint8_t *s, std::vector<uint8_t> &out) {
        out.assign((size_t)(2 * w + 1), 0);
        int n = 0;
        for (int i = 0; i < w; ++i)
            if (coll_weight(s[i]).cls != CollClass::expanding)
                out[(size_t)n++] = coll_weight(s[i]).secondary;
    };
    std::vector<uint8_t> x, y;
    int lx = pass1(a, x), ly = pass1(b, y);
    for (int i = 0; i < std::max(lx, ly); ++i)
        if (x[(size_t)i] != y[(size_t)i]) return x[(size_t)i] - y[(size_t)i];
    pass2(a, x);
    pass2(b, y);
    for (int i = 0; i < w; ++i)
        if (x[(size_t)i] != y[(size_t)i]) return x[(size_t)i] - y[(size_t)i];
    return 0;
}

// The field's bytes as they stand in a key.
Rec key_field(const Rec &r, const Field &f) {
    Rec out((size_t)f.width(), 0);
    const uint8_t *s = r.data() + f.first - 1;
    if (f.type == 'C') {
        for (int i = 0; i < f.width() && s[i]; ++i)
            out[(size_t)i] = s[i];
    } else if (f.width() == 1 || f.width() == 2 || f.width() == 4) {
        for (int i = 0; i < f.width(); ++i)
            out[(size_t)i] = s[f.width() - 1 - i];
    }
    return out;
}

int compare_fields(const Key &k, const Rec &a, const Rec &b, int nfields) {
    for (int i = 0; i < nfields; ++i) {
        const Field &f = k.fields[(size_t)i];
        Rec x = key_field(a, f), y = key_field(b, f);
        int c = f.type == 'C' ? slow_text_compare(x.data(), y.data(), f.width())
                              : std::memcmp(x.data(), y.data(), x.size());
        if (c) return c < 0 ? -1 : 1;
    }
    return 0;
}

// ---- the model

struct Model {
    const Layout *lay = nullptr;
    std::map<int32_t, Rec> live;     // slot -> record
    std::vector<int32_t> free_stack; // top at the back
    int32_t count = 0;

    // Live slots in the order of key k (0-based): fields, then slot number
    // for a duplicates key (and for equal values of a unique key, where the
    // store puts the newer first; the model avoids such pairs).
    std::vector<int32_t> order(int k) const {
        std::vector<int32_t> v;
        for (auto &[slot, r] : live)
            v.push_back(slot);
        const Key &key = lay->keys[(size_t)k];
        std::stable_sort(v.begin(), v.end(), [&](int32_t a, int32_t b) {
            int c = compare_fields(key, live.at(a), live.at(b), (int)key.fields.size());
            return c ? c < 0 : a < b;
        });
        return v;
    }
    // The slot whose key 1 equals r's, or -1.
    int32_t find1(const Rec &r) const {
        const Key &k = lay->keys[0];
        for (auto &[slot, x] : live)
            if (compare_fields(k, x, r, (int)k.fields.size()) == 0) return slot;
        return -1;
    }
    void write(const Rec &r) {
        int32_t s = find1(r);
        if (s >= 0) {
            live[s] = r;
            return;
        }
        if (!free_stack.empty()) {
            s = free_stack.back();
            free_stack.pop_back();
        } else {
            s = count++;
        }
        live[s] = r;
    }
    void erase(int32_t slot) {
        live.erase(slot);
        free_stack.push_back(slot);
    }
};

std::string desc(const Key &k, int nr) {
    std::string s = "k" + std::to_string(nr);
    if (!k.dups) s += ",NODUPS";
    for (const Field &f : k.fields)
        s += "," + std::string(1, f.type) + "," + std::to_string(f.first) + "," +
             std::to_string(f.last);
    return s;
}

// ---- random records

const char *const k_names[] = {
    "jan",
    "Jan",
    "JAN",
    "j\x84n",
    "J\x8En",
    "piet",
    "Piet",
    "\x82mile",
    "Emile",
    "emile",
    "\x91sop",
    "aesop",
    "AESOP",
    "stra\xE1"
    "e",
    "strasse",
    "\x01jan",
    "zo\x89",
    "Zoe",
    "\xA4o",
    "no",
    "\x90le",
    "ale",
    "ALE",
    "\x9B",
    "o",
    "",
    "x\x7Fy",
    "xy",
};

struct Gen {
    std::mt19937 rng;
    const Layout *lay;
    int pick(int n) { return (int)(rng() % (unsigned)n); }
    // A name of the list; with a tail, one of many more values.
    void put_text(Rec &r, const Field &f, bool tail = false) {
        std::string n = k_names[pick((int)(sizeof k_names / sizeof *k_names))];
        if (tail) n += std::string(1, "aBc\x85"[pick(4)]) + std::to_string(pick(40));
        uint8_t *d = r.data() + f.first - 1;
        std::memset(d, 0, (size_t)f.width());
        std::memcpy(d, n.data(), std::min((size_t)f.width(), n.size()));
        // garbage behind the NUL must not count
        if ((int)n.size() + 1 < f.width()) d[n.size() + 1] = (uint8_t)pick(256);
    }
    void put_int(Rec &r, const Field &f, int range) {
        uint32_t v = (uint32_t)pick(range);
        if (pick(8) == 0) v |= 0x80000000u >> (8 * (4 - f.width())); // high bit set
        for (int i = 0; i < f.width(); ++i)
            r[(size_t)(f.first - 1 + i)] = (uint8_t)(v >> (8 * i));
    }
    // A record; key 1 from a small domain so that writes often update.
    Rec make(int key1_range) {
        Rec r((size_t)lay->reclen);
        for (auto &b : r)
            b = (uint8_t)pick(256);
        r[0] = (uint8_t)pick(0xFF); // not free-looking by chance
        for (size_t k = 0; k < lay->keys.size(); ++k)
            for (const Field &f : lay->keys[k].fields) {
                if (k > 0 && in_key1(f)) continue;
                if (f.type == 'C')
                    put_text(r, f, k == 0);
                else
                    put_int(r, f, k == 0 ? key1_range : 7);
            }
        return r;
    }
    bool in_key1(const Field &f) const {
        for (const Field &g : lay->keys[0].fields)
            if (f.first <= g.last && g.first <= f.last) return true;
        return false;
    }
    // Changes the fields of the secondary keys only.
    void move_secondary(Rec &r) {
        for (size_t k = 1; k < lay->keys.size(); ++k)
            for (const Field &f : lay->keys[k].fields) {
                if (in_key1(f)) continue;
                if (f.type == 'C')
                    put_text(r, f);
                else
                    put_int(r, f, 7);
            }
    }
};

class StoreModel : public ::testing::Test {
  protected:
    std::string dir, name;
    unsigned seed = 0;
    int rebuild_every = 0; // steps between rebuilds of the index from the data
    void SetUp() override {
        char tmpl[] = "/tmp/nvstoreXXXXXX";
        dir = mkdtemp(tmpl);
        name = dir + "/DTMODEL";
        const char *s = std::getenv("NV_SEED");
        seed = s ? (unsigned)std::strtoul(s, nullptr, 10) : (unsigned)std::random_device{}();
        std::printf("seed %u (NV_SEED=%u repeats it)\n", seed, seed);
    }
    void TearDown() override {
        set_exclusive_cache_blocks(16384);
        set_exclusive_data_pages(1024);
        std::string cmd = "rm -rf " + dir;
        if (std::system(cmd.c_str()) != 0) std::perror("rm");
    }

    ICB *create(const Layout &lay) {
        ICB *icb = IXCREATE(name.c_str(), 1);
        IXUPDFCB(icb, 0, ("model," + std::to_string(lay.reclen)).c_str());
        for (size_t k = 0; k < lay.keys.size(); ++k)
            IXUPDFCB(icb, (int)k + 1, desc(lay.keys[k], (int)k + 1).c_str());
        IXINIT(icb);
        return icb;
    }

    void check(ICB *icb, const Model &m, Gen &g, int step);
    void run(const Layout &lay, int steps, int cache_blocks);
};

std::string hex(const Rec &r) {
    std::string s;
    char b[3];
    for (uint8_t c : r)
        std::snprintf(b, sizeof b, "%02x", c), s += b;
    return s;
}

void StoreModel::check(ICB *icb, const Model &m, Gen &g, int step) {
    const Layout &lay = *m.lay;
    SCOPED_TRACE("seed " + std::to_string(seed) + " step " + std::to_string(step));
    ASSERT_EQ(icb->hdr.reccount, m.count);
    Rec rec((size_t)lay.reclen);
    int nkeys = (int)lay.keys.size();

    // Exact finds on key 1, and on every key by its full set of fields.
    for (auto &[slot, r] : m.live) {
        IXSWITCH(icb, 1);
        rec = r;
        ASSERT_EQ(IXREAD(icb, rec.data()), 1) << hex(r);
        ASSERT_EQ(icb->cur_rec, slot);
        ASSERT_EQ(rec, r);
        for (int k = 2; k <= nkeys; ++k) {
            IXSWITCH(icb, k);
            rec = r;
            icb->cur_rec = slot;
            ASSERT_EQ(IXFOUND(icb, rec.data()), 1) << "key " << k;
            ASSERT_EQ(icb->cur_rec, slot);
        }
    }

    for (int k = 1; k <= nkeys; ++k) {
        IXSWITCH(icb, k);
        std::vector<int32_t> want = m.order(k - 1);
        // Forward.
        std::fill(rec.begin(), rec.end(), 0);
        std::vector<int32_t> got;
        for (int ok = IXFIRST(icb, rec.data()); ok; ok = IXNEXTR(icb, rec.data())) {
            got.push_back(icb->cur_rec);
            ASSERT_EQ(rec, m.live.at(icb->cur_rec));
            ASSERT_LE(got.size(), want.size());
        }
        ASSERT_EQ(got, want) << "forward on key " << k;
        ASSERT_EQ(icb->cur_rec, -1);
        // Backward from beyond the end.
        std::fill(rec.begin(), rec.end(), 0xFF);
        icb->cur_rec = -1;
        got.clear();
        for (int ok = IXPREVR(icb, rec.data()); ok; ok = IXPREVR(icb, rec.data())) {
            got.push_back(icb->cur_rec);
            ASSERT_LE(got.size(), want.size());
        }
        std::reverse(got.begin(), got.end());
        ASSERT_EQ(got, want) << "backward on key " << k;

        // Distinct values of the first field, and IXUNIQK on it.
        const Key &key = lay.keys[(size_t)k - 1];
        std::vector<int32_t> firsts; // first slot of each distinct value
        for (int32_t s : want)
            if (firsts.empty() ||
                compare_fields(key, m.live.at(firsts.back()), m.live.at(s), 1) != 0)
                firsts.push_back(s);
        std::fill(rec.begin(), rec.end(), 0);
        got.clear();
        for (int ok = IXFIRSTK(icb, rec.data(), 1); ok; ok = IXNEXTK(icb, rec.data(), 1)) {
            ASSERT_LT(got.size(), firsts.size());
            ASSERT_EQ(compare_fields(key, rec, m.live.at(firsts[got.size()]), 1), 0);
            got.push_back(icb->cur_rec);
        }
        ASSERT_EQ(got.size(), firsts.size()) << "distinct values on key " << k;
        // Backwards through the distinct values.
        size_t back = 0;
        std::fill(rec.begin(), rec.end(), 0xFF);
        for (int ok = IXPREVK(icb, rec.data(), 1); ok; ok = IXPREVK(icb, rec.data(), 1)) {
            ASSERT_LT(back, firsts.size());
            ASSERT_EQ(compare_fields(key, rec, m.live.at(firsts[firsts.size() - 1 - back]), 1), 0);
            ++back;
        }
        ASSERT_EQ(back, firsts.size());
        std::fill(rec.begin(), rec.end(), 0);
        // On the last field of a duplicates key IXUNIQK counts entries.
        size_t values = key.dups && key.fields.size() == 1 ? want.size() : firsts.size();
        ASSERT_EQ(IXUNIQK(icb, rec.data(), 1), values == 1 ? 1 : 0);

        // Under one value of field 1: the values of field 2, and IXUNIQK.
        if (key.fields.size() >= 2 && !want.empty()) {
            const Rec &base = m.live.at(want[(size_t)g.pick((int)want.size())]);
            std::vector<int32_t> sub;
            for (int32_t s : want)
                if (compare_fields(key, m.live.at(s), base, 1) == 0 &&
                    (sub.empty() ||
                     compare_fields(key, m.live.at(sub.back()), m.live.at(s), 2) != 0))
                    sub.push_back(s);
            // IXUNIQK on the last field of a duplicates key counts entries.
            size_t entries = 0;
            for (int32_t s : want)
                if (compare_fields(key, m.live.at(s), base, 1) == 0) ++entries;
            bool whole = key.dups && key.fields.size() == 2;
            rec = base;
            int want_uniq = (whole ? entries : sub.size()) == 1 ? 1 : 0;
            ASSERT_EQ(IXUNIQK(icb, rec.data(), 2), want_uniq) << "IXUNIQK key " << k;
            if (want_uniq) {
                ASSERT_EQ(compare_fields(key, rec, m.live.at(sub[0]), 2), 0);
            }
            rec = base;
            std::memset(rec.data() + key.fields[1].first - 1, 0, (size_t)key.fields[1].width());
            size_t n = 0;
            for (int ok = IXFIRSTK(icb, rec.data(), 2); ok; ok = IXNEXTK(icb, rec.data(), 2)) {
                ASSERT_LT(n, sub.size());
                ASSERT_EQ(compare_fields(key, rec, m.live.at(sub[n]), 2), 0);
                ++n;
            }
            ASSERT_EQ(n, sub.size()) << "values of field 2 on key " << k;
            // Exact find on one field: present values are found.
            rec = base;
            ASSERT_EQ(IXFINDK(icb, rec.data(), 1), 1);
        }

        // IXSKIP over whole keys from a random record, both ways.
        if (!want.empty()) {
            size_t at = (size_t)g.pick((int)want.size());
            int count = g.pick(7) - 3;
            int32_t nr = want[at];
            rec = m.live.at(nr);
            int ok = IXSKIP(icb, rec.data(), 0, count, &nr);
            long target = std::clamp((long)at + count, 0L, (long)want.size() - 1);
            bool moved_off = (long)at + count != target;
            if (!moved_off) {
                ASSERT_EQ(ok, 1);
                ASSERT_EQ(nr, want[(size_t)target]) << "IXSKIP " << count;
                ASSERT_EQ(rec, m.live.at(nr));
            } else {
                ASSERT_EQ(nr, want[(size_t)target]) << "IXSKIP stops at the edge";
            }
        }
    }
}

void StoreModel::run(const Layout &lay, int steps, int cache_blocks) {
    set_exclusive_cache_blocks(cache_blocks);
    Gen g{std::mt19937(seed), &lay};
    Model m;
    m.lay = &lay;
    ICB *icb = create(lay);
    int key1_range = 900;
    Rec rec((size_t)lay.reclen);
    for (int step = 1; step <= steps; ++step) {
        int op = g.pick(100);
        if (op < 55 || m.live.empty()) { // write: insert or update by key 1
            Rec r = g.make(key1_range);
            int32_t before = m.find1(r);
            m.write(r);
            rec = r;
            ASSERT_EQ(IXWRITE(icb, rec.data()), 1);
            if (before >= 0) {
                ASSERT_EQ(icb->cur_rec, before) << "an update keeps the slot";
            }
        } else {
            auto it = m.live.begin();
            std::advance(it, g.pick((int)m.live.size()));
            int32_t slot = it->first;
            Rec r = it->second;
            if (op < 75) { // update that moves the secondary keys
                g.move_secondary(r);
                m.live[slot] = r;
                rec = r;
                ASSERT_EQ(IXWRITE(icb, rec.data()), 1);
                ASSERT_EQ(icb->cur_rec, slot);
            } else { // delete, found by key 1 from another key
                IXSWITCH(icb, lay.keys.size() > 1 ? 2 : 1);
                rec = r;
                IXSWITCH(icb, 1);
                ASSERT_EQ(IXREAD(icb, rec.data()), 1);
                IXSWITCH(icb, (int)lay.keys.size());
                IXDELETE(icb, rec.data());
                ASSERT_EQ(rec, r) << "IXDELETE leaves the caller's record";
                m.erase(slot);
                Rec got((size_t)lay.reclen);
                ASSERT_EQ(IXGET(icb, got.data(), slot), 0);
            }
        }
        if (step % 400 == 0) { // the header must survive a close
            IXCLOSE(icb);
            icb = IXOPEN(name.c_str(), 1);
        }
        if (rebuild_every && step % rebuild_every == 0) {
            // A rebuilt free list hands out the highest free slot first.
            IXCLOSE(icb);
            ASSERT_EQ(IXBLDIX(name.c_str()), 1);
            ASSERT_EQ(IXCHECK(name.c_str()), (int)m.free_stack.size());
            std::sort(m.free_stack.begin(), m.free_stack.end());
            icb = IXOPEN(name.c_str(), 1);
        }
        if (step % 150 == 0 || step == steps) {
            check(icb, m, g, step);
            if (HasFatalFailure()) break;
        }
    }
    IXCLOSE(icb);
    if (HasFatalFailure()) return;
    std::printf("%zu live records, %d slots\n", m.live.size(), m.count);
    // Read-only, straight from disk.
    icb = IXOPEN(name.c_str(), 0);
    check(icb, m, g, steps + 1);
    IXCLOSE(icb);
}

// Integer key 1; a text key with accents and mixed case over a number; a
// duplicates key of text and a 2-byte integer.
const Layout k_customers = {"customers",
                            24,
                            {{false, {{'I', 1, 4}}},
                             {true, {{'C', 5, 14}, {'I', 1, 4}}},
                             {true, {{'C', 15, 20}, {'I', 21, 22}}}}};

// Text key 1 (updates by collation), a key of many duplicates, a mixed key.
const Layout k_codes = {
    "codes",
    16,
    {{false, {{'C', 1, 8}}}, {true, {{'I', 9, 10}}}, {true, {{'I', 11, 11}, {'C', 12, 16}}}}};

// Long text key: ten entries to a block, so trees grow several levels high.
const Layout k_long = {"long", 48, {{false, {{'I', 1, 4}}}, {true, {{'C', 5, 44}, {'I', 45, 46}}}}};

} // namespace

TEST_F(StoreModel, CustomersWithBlockCache) {
    run(k_customers, 2400, 16384);
}
TEST_F(StoreModel, CustomersWithoutCacheThroughTheDisk) {
    run(k_customers, 1200, 0);
}
TEST_F(StoreModel, TextKeyOneAndManyDuplicates) {
    run(k_codes, 2400, 16384);
}
TEST_F(StoreModel, RebuiltIndexesSearchAsBefore) {
    rebuild_every = 500;
    run(k_long, 3000, 16384);
}
TEST_F(StoreModel, DeepTreesWithASmallEvictingCache) {
    set_exclusive_data_pages(2); // slots of 48 bytes straddle the 4096-byte pages
    run(k_long, 3000, 6);
    // The long key's root has split several times: four levels or more.
    ICB *icb = IXOPEN(name.c_str(), 0);
    IXSWITCH(icb, 2);
    EXPECT_GE(icb->blk.level, 4);
    IXCLOSE(icb);
}
