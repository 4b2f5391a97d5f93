// The system log (liblog.so).
#pragma once

// Writes one message to the system log: `priority` 3 debug, 4 info, 5 warning, 6 error; `tag` names the writer;
// `format` and what follows are those of printf. May be called from any thread. The library ignores the result. Written
// in C: no exception leaves it.
extern "C" int __android_log_print(int priority, char const* tag, char const* format, ...) noexcept
    __attribute__((format(printf, 3, 4)));
