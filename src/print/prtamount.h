// Amounts in print and on the screen, and the arithmetic of amounts. An
// amount is a signed 32-bit number of cents; a terminal without decimals
// (KPOS set) works in whole units, and then the same number is shown as it
// stands.
#pragma once

#include <cstdint>

// The text of an amount right-aligned in width positions, into buffer
// (width + 1 bytes at least; a wider value takes more, like printf). With
// two decimals a value from -99 to -1 cents reads "-0.45".
char *AMOUNTTEXT(int32_t value, int width, char *buffer);
// The same text straight into the print file, and in bold on the screen.
void AMOUNTPRINT(int32_t value, int width);
void AMOUNTSCREEN(int row, int col, int32_t value, int width);

// Whole units, half away from zero.
int32_t AMOUNTWHOLE(int32_t value);
// An amount from a number of units (cents when the terminal has two
// decimals), rounded half away from zero.
int32_t AMOUNTOFDOUBLE(double value);
// value + value * permille / 1000, rounded half away from zero.
int32_t ADDPERMILLE(int32_t value, int32_t permille);
// value / (1 + permille / 1000), rounded: the amount before a surcharge.
int32_t LESSPERMILLE(int32_t value, int32_t permille);

namespace nv::prt {
int decimals(); // 2, or 0 when the terminal has no decimals
} // namespace nv::prt
