// Scrambling of user and branch names as the suite stores them.
//
// SCRAMBLE: key k = (time mod 94 + 32) | 128, step = k/10 + 1,
// offset = k%10 + 5. Character i (from 0) becomes
//   ((c - 32 + (i+1)*step*sign + offset) mod 222, made positive) + 32
// with sign -1, +1, -1, ... The output is these characters in reverse order
// followed by the key character, so it is one byte longer than the input:
// the buffer must have room for strlen + 2 bytes. The same text scrambles
// differently from one second to the next.
//
// UNSCRAMBLE: reads the key from the last character. A key above 127 is used
// as it stands with modulus 222; otherwise it is masked with 127 and the
// modulus is 94 (the older form). Runs backward from the character before the
// key. The key alone gives the empty text.
#pragma once

void SCRAMBLE(char *text);
void UNSCRAMBLE(char *text);

namespace nv {
// SCRAMBLE with a given key character, for tests and reproducible files.
void scramble_with_key(char *text, unsigned char key);
} // namespace nv
