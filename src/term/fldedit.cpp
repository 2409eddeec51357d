// The plain line editor: see fldedit.h.
#include "term/fldedit.h"

#include "base/txt.h"
#include "term/scr.h"

#include <algorithm>
#include <cstring>

namespace {

void paint(int row, int col, const char *text, int length, char fill) {
    char disp[260];
    int n = std::min((int)std::strlen(text), length);
    std::memset(disp, fill, (size_t)length);
    std::memcpy(disp, text, (size_t)n);
    disp[length] = 0;
    WINTEXT(ATTR_DATA, row, col, "%s", disp);
}

} // namespace

int FLDEDIT(int row, int col, char *text, int length) {
    if (length < 1) return 27;
    if (length > 255) length = 255;
    if ((int)std::strlen(text) > length) text[length] = 0;
    int pos = 0;
    bool insert = false;
    int result;
    for (;;) {
        int len = (int)std::strlen(text);
        paint(row, col, text, length, '_');
        WINMOVE(row, col + std::min(pos, length - 1));
        SCRFLUSH(0);
        int key = KEYREAD(WINCUR());
        if (key == '\n' || key == '\r' || key == KEY_ENTER || key == KEY_F(2)) {
            result = KEY_F(2);
            break;
        }
        if (key == 27 || (key == key_cancel && pos == 0)) {
            result = 27;
            break;
        }
        if (key == key_cancel) key = '/';
        if (key >= 32 && key <= 255) {
            if (insert && len < length) {
                txt_insert_char(text, key, pos);
                ++pos;
            } else if (!insert && pos < length) {
                bool append = pos == len;
                text[pos] = (char)key;
                if (append) text[pos + 1] = 0;
                ++pos;
            }
            if ((int)std::strlen(text) >= length) {
                result = KEY_F(2);
                break;
            }
            continue;
        }
        switch (key) {
        case KEY_HOME:
            pos = 0;
            break;
        case KEY_END:
            pos = len;
            break;
        case KEY_LEFT:
            pos = std::max(0, pos - 1);
            break;
        case KEY_RIGHT:
            pos = std::min(len, pos + 1);
            break;
        case KEY_IC:
            insert = !insert;
            break;
        case KEY_DC:
            if (pos < len) txt_delete(text, pos, 1);
            break;
        case 8:
        case 127:
        case KEY_BACKSPACE:
            if (pos > 0) txt_delete(text, --pos, 1);
            break;
        default:
            break; // TAB, the cursor keys up and down, pages, function keys
        }
    }
    paint(row, col, text, length, ' ');
    return result;
}
