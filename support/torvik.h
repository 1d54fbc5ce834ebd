/*
 * torvik.h: the provider's support library (libtorvik.so.4) as the helper uses it.
 *
 * The provider ships a closed build of this library; the open build in this
 * folder implements the same calls so that the helper runs and is tested
 * anywhere. Only the calls and records below are part of the interface.
 */
#ifndef TORVIK_H
#define TORVIK_H

#include <stddef.h>
#include <wchar.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define TORVIK_API __attribute__((visibility("default")))
#else
#define TORVIK_API
#endif

/* ---- Log -------------------------------------------------------------------
 * Records go to the file named by TORVIK_LOG (appended, one record a line) or,
 * when it is unset, to syslog under the module name. Never to standard output.
 */
typedef struct TSupportPrint TSupportPrint;

/* Opens a log for `module`. `config` is reserved (0), `options` is reserved (0)
 * and `levels` is a mask of enabled levels (bit n-1 enables level n; 127 enables
 * 1 to 7). Returns null on failure. */
TORVIK_API TSupportPrint* support_print_init(const char* config, const char* module,
                                             unsigned long options, unsigned long levels);
/* Non-zero when records of `level` are written. A null handle gives 0. */
TORVIK_API int support_print_is(const TSupportPrint* handle, unsigned long level);
/* Writes one error-level (1) record; `format` and the arguments are printf-style. */
TORVIK_API void support_elprint_print_(const TSupportPrint* handle, const char* format,
                                       const char* file, int line, const char* function, ...)
    __attribute__((format(printf, 2, 6)));
/* Closes the log and frees the handle; null is ignored. */
TORVIK_API void support_print_done(TSupportPrint* handle);

/* ---- Settings --------------------------------------------------------------
 * `path` is "\local\" or "\global\" followed by keys and a value name, for
 * example "\local\KeyDevices\passwd_time". Returns 0 and stores the value, or
 * one of the non-zero codes below and leaves `value` untouched. */
TORVIK_API unsigned int support_registry_get_long(const char* path, long* value);

enum {
    TORVIK_ERROR_FILE_NOT_FOUND = 2,     /* no such file, section or key */
    TORVIK_ERROR_ACCESS_DENIED = 5,      /* the file cannot be read */
    TORVIK_ERROR_INVALID_DATA = 13,      /* the value is not a whole number */
    TORVIK_ERROR_INVALID_PARAMETER = 87, /* null or malformed path */
    TORVIK_ERROR_MORE_DATA = 234,        /* the caller's buffer is too small */
    TORVIK_ERROR_NOT_FOUND = 1168        /* no such text in the catalogue */
};

/* ---- Installation paths ----------------------------------------------------
 * A table of TORVIK_PATH_COUNT directory strings (never null; unused ones are
 * empty). Entry 10 holds the provider's message catalogues, entry 13 the ones
 * of the Russian locale. */
enum {
    TORVIK_PATH_CATALOG = 10,
    TORVIK_PATH_LOCALE_CATALOG = 13,
    TORVIK_PATH_COUNT = 16
};
TORVIK_API const char* const* csp_get_paths(void);

/* ---- Catalogue texts -------------------------------------------------------
 * A resource descriptor is a set of static records supplied by the caller.
 * The library runs the catalogue record's `init` exactly once (guarded by
 * `once`), which opens the catalogue and stores it in `catalog`; lookups then
 * read set 1 of that catalogue. Every field is one machine word. */
typedef struct TSupportResourceCatalog {
    long once;                 /* once-control word, initially 0 */
    void (*init)(void);        /* opens the catalogue into `catalog` */
    void* reserved[5];         /* 0 */
    void* catalog;             /* nl_catd from catopen(), initially (void*)-1 */
} TSupportResourceCatalog;

typedef struct TSupportResourceVersion {
    const wchar_t* name;       /* L"UNDEFINED" */
    const wchar_t* name2;      /* the same pointer again */
    void* reserved[2];
} TSupportResourceVersion;

typedef struct TSupportResourceTable {
    TSupportResourceCatalog* catalog;
    TSupportResourceVersion* version;
    void* reserved[2];
} TSupportResourceTable;

typedef struct TSupportResource {
    TSupportResourceTable* table;
} TSupportResource;

/* Text `id` of set 1. With a null `buffer`, stores the text's length (bytes,
 * without the terminating zero) in `*length`. With a buffer, `*length` is its
 * capacity without the terminator (the buffer holds *length + 1 bytes); the text
 * and a terminating zero are copied, and `*length` receives the text's length.
 * Returns 0, or non-zero when the catalogue is not open, has no such text, or
 * the buffer is too small (then `*length` receives the length needed). */
TORVIK_API unsigned int support_resource_string(const TSupportResource* handle, unsigned int id,
                                                char* buffer, size_t* length);

/* ---- Code pages ------------------------------------------------------------
 * The usual semantics: a source length of -1 means zero-terminated (and the
 * count includes the terminator); an output size of 0 only measures; 0 is
 * returned on failure. Code page 0 is the provider's default, CP1251; 1251,
 * 866, 20866 (KOI8-R), 28595 (ISO-8859-5) and 65001 (UTF-8) are supported.
 * Input that has no character in the source code page, and a character that
 * the target code page lacks, fail the call: nothing is substituted. */
enum {
    TORVIK_CP_DEFAULT = 0,
    TORVIK_CP_UTF8 = 65001
};
TORVIK_API int MultiByteToWideChar(unsigned int codePage, unsigned long flags,
                                   const char* source, int sourceLength,
                                   wchar_t* target, int targetLength);
TORVIK_API int WideCharToMultiByte(unsigned int codePage, unsigned long flags,
                                   const wchar_t* source, int sourceLength,
                                   char* target, int targetLength,
                                   const char* defaultChar, int* usedDefaultChar);

#ifdef __cplusplus
}
#endif

#endif /* TORVIK_H */
