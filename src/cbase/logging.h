// Reporting: printf-style functions that every unit uses. A message goes to standard output as a coloured line with the
// process ID and, for the error, warning and debug levels, to the system log. There is no level switch.
//
// All functions may be called from signal handlers: short messages take no heap, signals whose handlers log wait while
// the system log is written, and a console that nobody reads neither blocks nor signals the process. Every message
// keeps errno as it was.
#pragma once

#include <cstddef>

// Syslog facility joined to every priority.
extern int otm_log_facility;

void openlogfile();
void closelogfile();

// Red console line with the text "velklib " before the message, and the system log at error priority.
[[gnu::format(printf, 1, 2)]] void error(const char* format, ...);
// The same in yellow, at warning priority.
[[gnu::format(printf, 1, 2)]] void warning(const char* format, ...);
// The same in blue, at debug priority.
[[gnu::format(printf, 1, 2)]] void debug(const char* format, ...);
// As debug, without the text "velklib ".
[[gnu::format(printf, 1, 2)]] void verbose_debug(const char* format, ...);
// Console only: no process ID, no system log.
[[gnu::format(printf, 1, 2)]] void info(const char* format, ...);

// Levels that are switched off on purpose: they discard what they get.
[[gnu::format(printf, 1, 2)]] void byteinfo(const char* format, ...);
[[gnu::format(printf, 1, 2)]] void verbose_info(const char* format, ...);
[[gnu::format(printf, 1, 2)]] void logged_info(const char* format, ...);

// Writes `length` bytes to standard output at once. A slow reader is waited for a second at most; after that not at all
// until it has taken a whole line again. A reader that has gone costs nothing. What could not be written is dropped.
void console_write(const char* data, std::size_t length);
