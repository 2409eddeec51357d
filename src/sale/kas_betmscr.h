// The list to choose payment means from (the tables of kas_betm.h).
#pragma once

// A browse of the means in use at row 5, column 30, 15 rows. With a (fixed)
// letter of "QAPWOV" only that table, under its own title; with another
// letter all tables in the order Q A P W O V, and the letter ' ' adds cash,
// 'F' invoicing, 'R' on account. Rows "%c%-02d %-20.20s": local letter,
// number in the table (from 1), name. The search field "Code" takes a
// letter and a number. Each choice sets marks[slot] to 1 (marks has
// BETM_SLOTS bytes) and the list opens again until it is left. The result
// is whether anything was chosen. Without tables: the warning "Geen
// betaalmiddelen informatie".
bool betm_kies(char letter, unsigned char *marks);
