// Collation of text key fields: code page 850 in two passes. The first pass
// compares base letters (case ignored, accents mapped to their letter,
// control characters dropped, ligatures expanded to two letters); only when
// that ties does the second pass compare the marks (accent, case-free
// secondary weights). The table is part of the file format: an index written
// under another order would not search correctly.
#pragma once

#include <cstdint>

namespace nv::store {

enum class CollClass : uint8_t { own, mapped, dropped, expanding };

struct CollWeight {
    uint8_t primary;   // expanding: the first letter
    uint8_t secondary; // expanding: the second letter
    CollClass cls;
};

// The weight of one character of code page 850.
const CollWeight &coll_weight(uint8_t c);

// Compares two text fields of the same width: negative, 0 or positive.
// No allocation; equal bytes short-circuit.
int coll_compare(const uint8_t *a, const uint8_t *b, int width);

} // namespace nv::store
