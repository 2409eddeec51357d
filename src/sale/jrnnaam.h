// The names of journals, receipt work files and damaged journals.
//
// The branch decides the pattern: up to 99 "VRK%02d%02d.JRN" (branch, till),
// above 99 "VR%03d%02d.JRN", so that a name stays eight plus three
// characters. The receipt work file of a branch is "VRK%02d00.BON" or
// "VR%03d00.BON"; a crashed one is moved aside to the same name with the
// extension "OLD". A damaged journal is appended to "%-7.7s.BAD": the first
// seven characters of its name, so that all damaged journals of one till
// gather in one file.
#pragma once

#include <cstddef>

constexpr int JRN_ALLE = 255; // branch or till: all of them (patterns), or not a journal name

// out: at least 13 bytes.
void jrn_naam(char *out, int branch, int till);
void bon_naam(char *out, int branch);
void bon_oud_naam(char *out, int branch);

// The ".BAD" file of a journal; a directory in front of the name is kept.
void jrn_bad_naam(char *out, size_t size, const char *journal);

// Branch and till out of a name (a directory in front is skipped): "VRK"
// has the branch in characters 4 and 5, otherwise "VR" in 3 to 5; the till
// stands in 6 and 7. Any other name gives JRN_ALLE for both.
void jrn_naam_uit(const char *name, int *branch, int *till);

// The wildcard pattern of the journals of one branch and till, where
// JRN_ALLE stands for all branches or all tills. out: at least 13 bytes.
void jrn_patroon(char *out, int branch, int till);
