/* SPDX-License-Identifier: MIT */
/**
 * \file
 * Contexts and errors: what every call takes and gives. The rules that hold for all of them stand
 * in zav/zav.h.
 */
#pragma once

#include "zav/codes.h"
#include "zav/version.h"

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/**
 * The version of the library that the program runs with, such as "0.1.0". Compare with ZAV_VERSION.
 * The text is a constant. Runs nothing, cannot fail.
 */
const char* zav_version(void);

/* ---- Errors ---- */

#define ZAV_ERROR_COMMAND_SIZE 256
#define ZAV_ERROR_OUTPUT_SIZE 1024

/**
 * How a call ended. The caller provides it, the call fills it, whether it fails or not. The texts
 * behind pointers are constants: they outlive the context.
 */
typedef struct zav_error {
    int code;             /**< ZAV_OK, or a zav_code */
    const char* name;     /**< of the code, such as "no_such_disk"; "ok" */
    const char* sentence; /**< what it means; empty for ZAV_OK */
    const char* left;     /**< what is left behind; empty when there is nothing to say */
    const char* next;     /**< what to do next; empty when there is nothing to say */

    /** The outside command that failed last during the call, cut to fit; empty when none did. It
     *  may have failed without the call failing. */
    char command[ZAV_ERROR_COMMAND_SIZE];
    int command_status; /**< as wait(2) tells it; -1 when it was not started or took too long */
    /** The end of what it wrote to standard error; empty when it wrote nothing, or the command's
     *  own text sends that elsewhere. */
    char command_output[ZAV_ERROR_OUTPUT_SIZE];
} zav_error;

/**
 * What a code means, in a sentence without a full stop. Of a number with several names the first
 * one's. "" for ZAV_OK, "unknown code" for a number that is none. The text is a constant. Runs
 * nothing, cannot fail.
 */
const char* zav_strerror(int code);

/** The name of a code, such as "no_such_disk"; "ok", "unknown". As zav_strerror(). */
const char* zav_error_name(int code);

/** What is left behind by a command that ends with the code; "" when nothing is known. As
 *  zav_strerror(). */
const char* zav_error_left(int code);

/** What to do next; "" when nothing is known. As zav_strerror(). */
const char* zav_error_advice(int code);

/** The same for a code that `command`, such as "sharemanage", returns: it tells several names of a
 *  number apart. A null or unknown command is as zav_error_advice(). */
const char* zav_error_advice_for(int code, const char* command);

/**
 * All texts of a code that `command` returns, in an error as a call would fill it, without an
 * outside command. A null or unknown command, or one that does not return the code, gets the texts
 * of zav_strerror() and the others. ZAV_OK, or ZAV_E_INVALID_ARGUMENT for a null error. Runs
 * nothing, needs no root.
 */
int zav_error_explain(int code, const char* command, zav_error* error);

/* ---- Contexts ---- */

/** What a program has asked for: where messages go, how long a command may take. */
typedef struct zav_ctx zav_ctx;

/**
 * A new context: messages go to the log file, commands take as long as they take. The caller owns
 * it and frees it with zav_ctx_free(). Null when there is not enough memory. Runs nothing, needs no
 * root.
 */
zav_ctx* zav_ctx_new(void);

/** Frees a context; null is accepted. What was made with it stays valid. */
void zav_ctx_free(zav_ctx* ctx);

typedef enum zav_severity { ZAV_SEVERITY_ERROR = 0, ZAV_SEVERITY_DEBUG = 1 } zav_severity;

/** Where messages go; any of them may be combined. */
typedef enum zav_log_target {
    ZAV_LOG_NOWHERE = 0,
    ZAV_LOG_FILE = 1, /**< /var/log/log.libzav, which needs root */
    ZAV_LOG_CALLBACK = 2
} zav_log_target;

/**
 * Gets a message, without time, process and line feed, which is valid during the call. It is called
 * by the thread that is inside a function with the context, and must return: no exception, no
 * longjmp(3). It must not use the context.
 */
typedef void (*zav_log_callback)(void* user, zav_severity severity, const char* text);

/**
 * Where the messages of later calls with this context go: `targets` is a combination of
 * zav_log_target. `callback` gets `user` as it is; both are not touched without ZAV_LOG_CALLBACK.
 * ZAV_OK, or ZAV_E_INVALID_ARGUMENT for a null context, a null callback with ZAV_LOG_CALLBACK, or
 * an unknown target: the context then stays as it is.
 */
int zav_ctx_set_log(zav_ctx* ctx, unsigned targets, zav_log_callback callback, void* user);

/**
 * How long each outside command may take, in milliseconds; 0, as at first, for as long as it takes.
 * One that takes longer is ended together with all that it has started: asked to end, and two
 * seconds later killed. It counts as failed, and a message tells why. A time limit on a command
 * that changes something may leave the change half done. ZAV_OK, or ZAV_E_INVALID_ARGUMENT for a
 * null context.
 */
int zav_ctx_set_command_time_limit(zav_ctx* ctx, unsigned milliseconds);

/**
 * Is called before each outside command that changes something: `step` is its text, valid during
 * the call, `steps` how many came before it in this call. The rules are those of
 * zav_log_callback().
 */
typedef void (*zav_progress_callback)(void* user, const char* step, unsigned steps);

/** Who hears of the progress of later calls with this context; null, as at first, for nobody.
 *  ZAV_OK, or ZAV_E_INVALID_ARGUMENT for a null context. */
int zav_ctx_set_progress(zav_ctx* ctx, zav_progress_callback callback, void* user);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif
