/* The host app's side of the Velmora widgets: writes the records the widgets read into the app
 * group's shared store, and asks the running widget host to reload them.
 *
 * Every function is safe to call from any thread at once; the library keeps no state between
 * calls but what a store handle holds, which does not change after it is opened. Nothing has to
 * be set up first. A function that can fail returns a status and, when `error` is not NULL and it
 * fails, sets `*error` to an error the caller frees with velmora_appgroup_error_free; `*error` is
 * left alone on success. */
#ifndef VELMORA_APPGROUP_H
#define VELMORA_APPGROUP_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define VELMORA_APPGROUP_API __attribute__((visibility("default")))
#else
#define VELMORA_APPGROUP_API
#endif

/* The keys of the three records the widgets read (JSON objects, UTF-8). */
#define VELMORA_APPGROUP_KEY_DAILY_BRIEF "vmDailyBrief"
#define VELMORA_APPGROUP_KEY_WATCHLIST_TICKERS "vmWatchlistTickers"
#define VELMORA_APPGROUP_KEY_PORTFOLIO_SNAPSHOT "vmPortfolioSnapshot"

/* The widget kinds a reload may name. */
#define VELMORA_APPGROUP_KIND_DAILY_BRIEF "DailyBrief"
#define VELMORA_APPGROUP_KIND_WATCHLIST_GLANCE "WatchlistGlance"

/* The largest value the store holds, in bytes. */
#define VELMORA_APPGROUP_VALUE_SIZE_LIMIT ((size_t)1 << 20)

typedef enum velmora_appgroup_status {
    VELMORA_APPGROUP_OK = 0,
    /* read, delete: the key holds no data value. */
    VELMORA_APPGROUP_NOT_FOUND = 1,
    /* reload: no session bus, or no widget host running on it. Nothing failed. */
    VELMORA_APPGROUP_NONE_RUNNING = 2,
    /* write_record: the widgets would not decode the bytes as the key's record; the message says
     * where (offset, key path). Nothing was written. */
    VELMORA_APPGROUP_INVALID_RECORD = 3,
    /* A NULL argument that must not be, a key that is no record's (write_record). */
    VELMORA_APPGROUP_INVALID_ARGUMENT = 4,
    /* A value above VELMORA_APPGROUP_VALUE_SIZE_LIMIT. Nothing was written. */
    VELMORA_APPGROUP_TOO_LARGE = 5,
    /* The store could not be opened, read or written (a damaged file, a full disk, locked by
     * another writer past its wait); the message names the file. */
    VELMORA_APPGROUP_STORE_FAILED = 6,
    /* reload: a widget host was running but did not take the request. */
    VELMORA_APPGROUP_RELOAD_FAILED = 7,
    VELMORA_APPGROUP_OUT_OF_MEMORY = 8
} velmora_appgroup_status;

typedef struct velmora_appgroup_error velmora_appgroup_error;
typedef struct velmora_appgroup_store velmora_appgroup_store;

/* The failure's status and its message (UTF-8, one line), valid until the error is freed. */
VELMORA_APPGROUP_API velmora_appgroup_status
velmora_appgroup_error_status(const velmora_appgroup_error* error);
VELMORA_APPGROUP_API const char* velmora_appgroup_error_message(
    const velmora_appgroup_error* error);
/* Frees an error; NULL is ignored. */
VELMORA_APPGROUP_API void velmora_appgroup_error_free(velmora_appgroup_error* error);

/* Opens the app group's store in `directory`, or, when it is NULL or empty, where the widgets
 * look: $VELMORA_STORE_DIR, else $XDG_DATA_HOME/velmora, else ~/.local/share/velmora. The folder
 * and the database are created when missing. Close it with velmora_appgroup_store_close. */
VELMORA_APPGROUP_API velmora_appgroup_status velmora_appgroup_store_open(
    const char* directory, velmora_appgroup_store** store, velmora_appgroup_error** error);
/* NULL is ignored. */
VELMORA_APPGROUP_API void velmora_appgroup_store_close(velmora_appgroup_store* store);
/* The store's folder, valid until the store is closed. */
VELMORA_APPGROUP_API const char* velmora_appgroup_store_directory(
    const velmora_appgroup_store* store);

/* Stores `size` bytes as the data value under `key`, replacing what it held, in one
 * transaction: a reader sees the old value or the new one. */
VELMORA_APPGROUP_API velmora_appgroup_status
velmora_appgroup_write_data(velmora_appgroup_store* store, const char* key, const void* bytes,
                            size_t size, velmora_appgroup_error** error);

/* The same for one of the three record keys, after checking the bytes with the widgets' own
 * decoder: a record they would not show is refused with VELMORA_APPGROUP_INVALID_RECORD and
 * nothing is written. */
VELMORA_APPGROUP_API velmora_appgroup_status
velmora_appgroup_write_record(velmora_appgroup_store* store, const char* key, const void* bytes,
                              size_t size, velmora_appgroup_error** error);

/* The data value under `key`: `*bytes` (freed with velmora_appgroup_free, NUL-terminated beyond
 * its `*size` bytes) on VELMORA_APPGROUP_OK, VELMORA_APPGROUP_NOT_FOUND when the key holds none. */
VELMORA_APPGROUP_API velmora_appgroup_status
velmora_appgroup_read_data(velmora_appgroup_store* store, const char* key, void** bytes,
                           size_t* size, velmora_appgroup_error** error);
/* Frees what velmora_appgroup_read_data gave; NULL is ignored. */
VELMORA_APPGROUP_API void velmora_appgroup_free(void* bytes);

/* Removes `key`: VELMORA_APPGROUP_NOT_FOUND when it held nothing. */
VELMORA_APPGROUP_API velmora_appgroup_status velmora_appgroup_delete(
    velmora_appgroup_store* store, const char* key, velmora_appgroup_error** error);

/* Asks the widget host running on the session bus to reload the widgets of `kind` (one of the
 * VELMORA_APPGROUP_KIND_ names), or of every kind when `kind` is NULL or empty. Returns
 * VELMORA_APPGROUP_OK when a host took the request, VELMORA_APPGROUP_NONE_RUNNING when there is
 * no bus or no host (with an error saying which, when asked for); no host is started. Each step
 * on the bus waits at most one second. */
VELMORA_APPGROUP_API velmora_appgroup_status
velmora_appgroup_reload(const char* kind, velmora_appgroup_error** error);

/* The library's version, "MAJOR.MINOR". */
VELMORA_APPGROUP_API const char* velmora_appgroup_version(void);

#ifdef __cplusplus
}
#endif

#endif
