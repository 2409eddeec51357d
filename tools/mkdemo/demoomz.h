// The demo's payment means, turnover and customer files.
//
// DTBETM.TXT holds the five tables at full capacity with a few means in
// each (one not in use) and a mapping of two; DTBETMX.TXT its five texts.
// DTOMZET starts empty: the demo's journals were written as processed
// receipts, and the turnover of new ones is posted as they close. KSKV
// holds open sales on account (and a credit voucher) of the demo's
// customers; KSZI starts empty. With the customer flag (vlag1 bit 1) DTKLT
// and DTKLTEXT get customers, names in code page 850 ("Désirée", "Ærø").
#pragma once

#include "demoshop.h"

#include <cstdint>
#include <string>

namespace demo {

std::string build_betm(const std::string &dir, const Options &opt);
std::string build_omzet(const std::string &dir, const Options &opt);
std::string build_customers(const std::string &dir, const Options &opt);

// The customers of the demo: numbers 1001 and up (the last one given out is
// in system record 3).
int32_t customer_count(const Options &opt);

} // namespace demo
