// Field input: every key the user types into a screen goes through INGAVE.
// A call names a place in the current window, a short format, the exit keys
// it wants back and the caller's variable:
//
//     INGAVE(5, 20, "8B,E", &key_cancel, &key_f5, &bedrag);
//
// The format is  [length][.precision]type[[charset]][,][flags]  (see
// ingfmt.cpp for the letters). The exit keys are addresses of slots of the
// key table in the terminal state; the variable comes last. In this C++ form
// the leading arguments must be int* slots and the last one the typed
// variable, whose size is checked against the type letter at run time
// (void* skips the check). Afterwards the screen reads term_state->ing_key
// (the key that ended the field) and ing_status (the bits below).
//
// A format error is a programming error: INGAVEFATAL ends the program with
// the fatal box.
#pragma once

#include "term/scr.h"

#include <cstddef>
#include <tuple>
#include <type_traits>
#include <utility>

// The field buffer, the numeric value of the field and the kind of [...]
// set of the format (0 none, 1 positive, 2 negated).
extern char ing_text[256];
extern double ing_value;
extern int ing_charset;

// Bits of ing_status.
enum : int {
    ING_FRESH = 1,   // nothing typed yet: the next printable key replaces the text
    ING_CHANGED = 4, // the value differs from the value on entry
    ING_EMPTY = 8,   // nothing was entered
    ING_ERROR = 128, // validation failed, the field stays open
};

const char *INGAVEPREP(const char *format); // set-up of a field; returns the flags
[[noreturn]] void INGAVEFATAL(const char *format, const char *reason);
int INGAVEEDIT();                   // the editing loop; returns ing_status
void INGAVEHELP();                  // the help screen of the current field
int INGAVECHECK();                  // numeric validation; 1 when it failed
void INGAVEERROR(const char *text); // "<buffer> text" on the status line, error pending
int INGAVEENTER(int row, int col);  // "<ENTER> voor vervolg" and wait for ENTER

// printf formats for screen and print texts, in one static buffer.
const char *FMT_C(int n);
const char *FMT_S(int n);
const char *FMT_D(int n);
const char *FMT_HD(int n);
const char *FMT_LD(int n);
const char *FMT_U(int n);
const char *FMT_HU(int n);
const char *FMT_LU(int n);
const char *FMT_LS(int n);    // left-justified text cut at n
const char *FMT_RS(int n);    // right-justified text cut at n
const char *FMT_LABEL(int n); // left-justified, cut at n, then ": "
const char *FMT_BLANKS(int n);

namespace nv {

// What INGAVE knows of the caller's variable.
struct IngVar {
    void *p = nullptr;
    int size = 0; // bytes of one element; 0: unchecked
    bool floating = false;
    long extent = -1; // elements of an array argument, -1 unknown
};

// The variable argument: a pointer to a number or to bytes, an array of
// bytes (its size is then checked too), or void* for no check at all.
template <typename V> IngVar ing_var_of(V &&v) {
    using R = std::remove_reference_t<V>;
    if constexpr (std::is_array_v<R>) {
        using E = std::remove_extent_t<R>;
        static_assert(std::is_arithmetic_v<E> && !std::is_const_v<E>, "INGAVE: writable variable");
        return IngVar{(void *)v, (int)sizeof(E), std::is_floating_point_v<E>,
                      (long)std::extent_v<R>};
    } else {
        static_assert(std::is_pointer_v<R>, "INGAVE: the variable is passed by its address");
        using E = std::remove_pointer_t<R>;
        static_assert(!std::is_const_v<E>, "INGAVE: writable variable");
        if constexpr (std::is_void_v<E>) {
            return IngVar{v, 0, false, -1};
        } else {
            static_assert(std::is_arithmetic_v<E>, "INGAVE: a number, a byte or a text");
            return IngVar{(void *)v, (int)sizeof(E), std::is_floating_point_v<E>, -1};
        }
    }
}

// The engine behind INGAVE and INGAVEKEY, with the exit keys as an array.
int ingave_call(int row, int col, const char *format, int *const *keys, int nkeys, IngVar var);
int ingavekey_call(int *const *keys, int nkeys, const char *chars);

template <typename Tuple, std::size_t... I>
int ingave_split(int row, int col, const char *format, Tuple &&t, std::index_sequence<I...>) {
    constexpr std::size_t n = sizeof...(I);
    static_assert(
        (std::is_convertible_v<std::tuple_element_t<I, std::decay_t<Tuple>>, int *> && ...),
        "INGAVE: exit keys are addresses of key-table slots (int*)");
    int *keys[n + 1] = {std::get<I>(t)..., nullptr};
    return ingave_call(row, col, format, keys, (int)n, ing_var_of(std::get<n>(t)));
}

template <typename Tuple, std::size_t... I>
int ingavekey_split(Tuple &&t, std::index_sequence<I...>) {
    constexpr std::size_t n = sizeof...(I);
    static_assert(
        (std::is_convertible_v<std::tuple_element_t<I, std::decay_t<Tuple>>, int *> && ...),
        "INGAVEKEY: exit keys are addresses of key-table slots (int*)");
    int *keys[n + 1] = {std::get<I>(t)..., nullptr};
    return ingavekey_call(keys, (int)n, std::get<n>(t));
}

} // namespace nv

// INGAVE(row, col, format, &key_..., ..., variable): returns non-zero when
// the value of the field changed.
template <typename... A> int INGAVE(int row, int col, const char *format, A &&...args) {
    static_assert(sizeof...(A) >= 1, "INGAVE: the variable comes last");
    return nv::ingave_split(row, col, format, std::forward_as_tuple(args...),
                            std::make_index_sequence<sizeof...(A) - 1>{});
}

// INGAVEKEY(&key_..., ..., chars): waits for one of the exit keys or one of
// the characters of chars (plus any key allowed beforehand) and returns it.
template <typename... A> int INGAVEKEY(A &&...args) {
    static_assert(sizeof...(A) >= 1, "INGAVEKEY: the character text comes last");
    return nv::ingavekey_split(std::forward_as_tuple(args...),
                               std::make_index_sequence<sizeof...(A) - 1>{});
}
