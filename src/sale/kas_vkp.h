// Sellers: the record store file DTVKP, key 1 on the number, maintained by
// another program of the suite. This is the rule part: reading a seller and
// the two orders of the seller list. The screen part (the field with its
// list) is kas_vkpscr.h.
//
// Record, 48 bytes, on disk: never move a field.
//   0  u16      nummer
//   2  u8       not used here
//   3  char[32] naam, scrambled: the name shown, in 30 positions
//  35  char[13] naam2, scrambled
// Number 999 is the system's own seller and is never listed.
#pragma once

#include "store/ix.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#pragma pack(push, 1)
struct vkp_rec {
    uint16_t nummer;
    uint8_t res2;
    char naam[32];
    char naam2[13];
};
#pragma pack(pop)
static_assert(sizeof(vkp_rec) == 48);
static_assert(offsetof(vkp_rec, nummer) == 0 && offsetof(vkp_rec, res2) == 2);
static_assert(offsetof(vkp_rec, naam) == 3 && offsetof(vkp_rec, naam2) == 35);

constexpr uint16_t VKP_EIGEN = 999; // the system's own seller

extern ICB *vkp_file; // DTVKP while the sale entry has it open, else null

// Opens DTVKP read-only for a session (fatal when it is missing) and
// closes it again. Without it the lookups open the file for the moment.
void vkp_open(const char *name = "DTVKP");
void vkp_close();

// Clears the record and reads seller `number`, both names unscrambled.
// False when there is no such seller.
bool vkp_lees(uint16_t number, vkp_rec *record);

namespace vkp {

// The name order: sellers sorted on the part of the upper-cased name
// behind its first blank (the surname; a name without a blank sorts on the
// whole name), 30 characters compared; equal keys keep the number order.
std::string sort_key(const char *naam);

struct NameEntry {
    uint16_t nummer;
    char naam[34]; // clear text
};

class NameTable {
  public:
    // Reads every seller but 999 into the table. False when there is no
    // memory for it (the table is then empty).
    bool build();
    int place(int32_t nummer) const; // -1 when the number isn't in the table
    int size() const { return (int)entries_.size(); }
    const NameEntry &at(int i) const { return entries_[(size_t)i]; }

  private:
    std::vector<NameEntry> entries_;
    std::vector<int16_t> place_; // by number
};

// Number order: from seller `from` (need not exist) `delta` sellers on,
// jumping over 999. *reached is the last seller reached (unchanged when
// none); the result is true when the full distance was gone.
bool step_by_number(int32_t from, int32_t delta, vkp_rec *reached);

} // namespace vkp
