// Payload lengths and the successor table of the journal: see jrnrec.h.
#include "sale/jrnrec.h"

#include <cstring>

int jrn_payload_len(char letter) {
    switch (letter) {
    case 'H':
        return 20;
    case 'V':
    case 'R':
    case 'Z':
    case 'z':
        return 60;
    case 'D':
        return 52;
    case 'S':
        return 56;
    case 'E':
        return 0;
    case 'I':
        return 32;
    case 'T':
        return 52;
    case 'B':
        return 12;
    case 'U':
        return 44;
    case 'X':
        return 0;
    default:
        return -1;
    }
}

// Only V and I may be followed by E, so a group can't end on a return; S
// takes only V or E; a U transaction holds nothing but U records; an I can
// follow neither a D nor another I.
bool jrn_may_follow(char prev, char letter) {
    const char *next;
    switch (prev) {
    case ' ':
        next = "H";
        break;
    case 'H':
        next = "VRSDUZz";
        break;
    case 'V':
        next = "VRSDTEZzI";
        break;
    case 'R':
    case 'Z':
    case 'z':
        next = "VRSDTZzI";
        break;
    case 'D':
    case 'E':
        next = "VRSDTZz";
        break;
    case 'I':
        next = "VRSDTEZz";
        break;
    case 'S':
        next = "VE";
        break;
    case 'T':
    case 'B':
        next = "BX";
        break;
    case 'U':
        next = "UX";
        break;
    case 'X':
        next = "H~";
        break;
    default:
        return false;
    }
    return letter != 0 && std::strchr(next, letter) != nullptr;
}
