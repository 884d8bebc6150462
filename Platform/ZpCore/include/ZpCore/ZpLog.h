#ifndef ZPCORE_ZPLOG_H
#define ZPCORE_ZPLOG_H

/*
 * The platform's diagnostic log.
 *
 * Conventions:
 *  (1) Every ZpLog* call that logs anything produces exactly one line. The line is
 *      written to standard error (unless the host turned that off), appended to
 *      the log file (when the host configured one) and handed to every registered
 *      sink, in that order, all under one lock: lines from different threads never
 *      interleave and every sink sees them in the same order as the file.
 *  (2) Line format, stable and meant to be parsed:
 *
 *          <time> [<level>] <category>: <message>
 *          <time> [<level>] <message>                 (no category)
 *
 *      <time> is UTC, ISO 8601 with milliseconds: 2026-11-21T14:11:05.123Z.
 *      <level> is one letter for the named levels (W, N, S, I; see below) and the
 *      decimal number for any other value, e.g. [7].
 *      ZpLogEvent lines read "event <code> at <sourcePath>:<line>" as their message
 *      ("event <code>" when the path is NULL).
 *      Carriage returns and line feeds inside the message are written as the two
 *      characters \r and \n so that one call stays one line; trailing ones are
 *      dropped. On standard error and in the file every line ends with '\n'; the
 *      lineText a sink receives does not.
 *  (3) All functions are thread-safe and may be called from any thread,
 *      including before main() and from pool threads.
 *  (4) A NULL format logs nothing. Arguments that do not match the format are the
 *      caller's mistake, exactly as with printf.
 *  (5) Strings are UTF-8 unless stated otherwise.
 */

#include <ZpCore/ZpCoreExport.h>

#include <CoreFoundation/CoreFoundation.h>

#include <stdint.h>
#ifndef __cplusplus
#include <stdbool.h>
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Severity of a line; a smaller number is more important. The product itself
 * uses kZpLogLevelWarning and kZpLogLevelInfo. */
enum {
    kZpLogLevelWarning = 0, /* [W] something went wrong but the process carries on */
    kZpLogLevelNotice = 1,  /* [N] a noteworthy, expected event */
    kZpLogLevelStatus = 2,  /* [S] progress of a longer operation */
    kZpLogLevelInfo = 3     /* [I] informational detail; ZpLog and ZpLogUTF8 use it */
};

/* Writes one informational line without a category. The format is a
 * CoreFoundation format: %@ inserts the description of a CF object, the other
 * conversions are printf's. */
ZPCORE_EXPORT void ZpLog(CFStringRef format, ...);

/* Writes one line with the given level and category (NULL or empty: none). flags is
 * reserved; pass 0. */
ZPCORE_EXPORT void ZpLogWithParams(int32_t level, CFStringRef category, int32_t flags,
                                   CFStringRef format, ...);

#if defined(__GNUC__)
#define ZPCORE_PRINTF_FORMAT(formatIndex, firstArgument) \
    __attribute__((format(printf, formatIndex, firstArgument)))
#else
#define ZPCORE_PRINTF_FORMAT(formatIndex, firstArgument)
#endif

/* Writes one informational line from a printf format. */
ZPCORE_EXPORT void ZpLogUTF8(const char* format, ...) ZPCORE_PRINTF_FORMAT(1, 2);

/* Records an internal-failure event: a warning line naming the event code and
 * the place in the source (sourcePath may be NULL). */
ZPCORE_EXPORT void ZpLogEvent(int32_t eventCode, const char* sourcePath, int32_t line);

/* Appends every following line to the file at utf8Path, creating it readable
 * and writable by the user only (0600) when it does not exist; an existing file
 * keeps its permissions. The previous log file, if any, is closed first. NULL
 * closes the log file and returns true. Returns false when the file cannot be
 * opened; no file is written to then, and a warning line says why. */
ZPCORE_EXPORT bool ZpLogSetFilePath(const char* utf8Path);

/* Turns writing to standard error on or off (on by default). Sinks and the log
 * file are not affected. */
ZPCORE_EXPORT void ZpLogSetStandardErrorEnabled(bool enabled);

/* One logged line, as handed to a sink. Every pointer is borrowed and valid only
 * during the sink call. */
typedef struct ZpLogRecord {
    int32_t level;          /* kZpLogLevel... or any value a caller passed */
    const char* category;   /* NULL when the line has none (never empty) */
    const char* message;    /* the formatted text alone, exactly as formatted */
    int32_t eventCode;      /* ZpLogEvent's code; 0 for other lines */
    const char* sourcePath; /* ZpLogEvent's source path; NULL for other lines */
    int32_t line;           /* ZpLogEvent's source line; 0 for other lines */
    const char* lineText;   /* the whole line as written, without its '\n' */
} ZpLogRecord;

/* Receives every logged line. Called on the thread that logs, with the log's lock
 * held: keep it short. A sink may log itself (such nested lines are written but
 * not handed to sinks) and may add or remove sinks. */
typedef void (*ZpLogSink)(void* context, const ZpLogRecord* record);

/* Registers sink with context; adding a pair that is already registered does
 * nothing. A NULL sink is ignored. */
ZPCORE_EXPORT void ZpLogAddSink(ZpLogSink sink, void* context);

/* Unregisters the pair. Once this returns (on a thread other than one inside a
 * sink call) the sink is not running and will not be called again, so context
 * may be destroyed. */
ZPCORE_EXPORT void ZpLogRemoveSink(ZpLogSink sink, void* context);

#ifdef __cplusplus
}
#endif

#endif
