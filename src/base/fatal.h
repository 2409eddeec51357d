// The fatal path. An internal failure ends the program through one handler:
// the terminal layer installs SCRFATAL (the boxed "PROGRAMMA AFGEBROKEN"),
// tools and tests keep the default, which writes the text to stderr and
// exits with status 1. Lower layers call the reporters below with a module
// tag and a step number that tells the support desk which check failed.
#pragma once

#include <cstdarg>

namespace nv {

using FatalHandler = void (*)(const char *text); // must not return
void set_fatal_handler(FatalHandler h);

[[noreturn]] void fatal(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
[[noreturn]] void vfatal(const char *fmt, va_list ap);

// The tag loses any directory, becomes upper case and is cut at the first dot.
void fatal_tag(const char *tag, char *out, int size);

// Files whose state lives in memory (the record store's exclusive files with
// their caches) must be closed when the program stops on a fatal error or a
// hang-up. Their module registers a closer once; fatal_stop_files runs every
// closer, the last registered first, once per process. The fatal handlers
// call it before they show anything.
void on_fatal_stop(void (*closer)());
void fatal_stop_files();

} // namespace nv

// The reporters, under their system names.
[[noreturn]] void mem_fatal(const char *tag, int nr);
[[noreturn]] void open_fatal(const char *tag, const char *file);
[[noreturn]] void errno_fatal(const char *tag, int nr);
