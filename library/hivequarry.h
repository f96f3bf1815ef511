/*
 * Hivequarry as a library: opens registry hive files, whatever their state, and walks what is left
 * of them. Nothing is ever written to a hive or its logs.
 *
 * - Texts are UTF-8; a lone surrogate is kept as three bytes, as if it were a character.
 * - Functions that give a text or bytes fill `out`, at most `size` bytes, and return how many there
 *   are in all, so that a call with a size of 0 asks how much room is needed. A text always ends
 *   with a zero, which its length does not count; it may have others inside.
 * - Times are FILETIMEs: units of 100 ns since 1601, UTC. 0 where there is none.
 * - Positions are bytes from the start of the file.
 * - A key or value that is not there gives 0, HQ_NO_KEY, or an empty text: no function fails
 *   loudly. Where memory runs out it is the same, and `out` stays as it was. Pointers are not
 *   looked at: a hive, path or `info` of null is allowed only where that is said.
 * - Whatever is filled belongs to the caller. The library hands out no memory but the hive itself,
 *   which lives until hq_close.
 * - The library is one room: one thread at a time may be in it, whichever hive it asks for. It need
 *   not always be the same one.
 */
#ifndef HIVEQUARRY_H
#define HIVEQUARRY_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#define HQ_API
#else
#define HQ_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* A hive in memory, with its tree: nothing is read from the file any more once it is open, so the
 * file may go away. */
typedef struct hq_hive hq_hive;

/* A key of one hive: a number from 0, the root, to below hq_key_count. A key is before all that is
 * below it, so a walk over all keys is a loop from 0 on. Numbers stay what they are as long as the
 * hive is open, and say nothing in another hive or another opening. */
typedef uint32_t hq_key;
#define HQ_NO_KEY ((hq_key)0xFFFFFFFF)
#define HQ_NO_POSITION UINT64_MAX

typedef enum hq_status {
  HQ_OK = 0,
  HQ_CANNOT_OPEN = 1, /* hq_open_error says why, in errno's numbers */
  HQ_NO_MEMORY = 2,   /* or the file is longer than a hive can be */
  HQ_TOO_MANY = 3,    /* 47 hives are open */
  HQ_NO_HIVE = 4,     /* nothing of a hive is in the file */
  HQ_IS_LOG = 5       /* a log: open the hive that it belongs to */
} hq_status;

/* What hq_open does about the logs beside a hive that was not closed. */
typedef enum hq_logs {
  HQ_LOGS_AUTO = 0, /* applies them in memory */
  HQ_LOGS_NONE = 1
} hq_logs;

/* Of the library: "1.0.0". Lives as long as the program. */
HQ_API const char* hq_version(void);

/* Opens a file (UTF-8 name) and makes the tree of all that is found in it, which takes time and
 * memory in proportion to the file. `*hive` is for hq_close, and null where it could not be opened.
 * A damaged hive is no error: what could be read of it is there, and hq_notices says the rest. */
HQ_API hq_status hq_open(const char* file_name, hq_logs logs, hq_hive** hive);
/* errno's number of the last HQ_CANNOT_OPEN, 0 where the system gave none. One that succeeds leaves
 * it as it was. */
HQ_API int hq_open_error(void);
/* Null is allowed. Frees all that belongs to the hive; its slot may be opened anew. Not from a
 * function that hq_check calls for the same hive. */
HQ_API void hq_close(hq_hive* hive);

/* Counts are those of the opening and do not change. */
typedef struct hq_summary {
  uint32_t keys;              /* recovered ones too */
  uint32_t connected_keys;    /* that the root leads to through lists */
  uint32_t disconnected_keys; /* that a list or their parent field no longer places */
  uint32_t values;            /* their records in the file */
  uint64_t begin;             /* position of the hive in the file */
  uint64_t length;            /* bytes of the file, from there on, that the hive is made of */
  uint64_t unread;            /* bytes that the medium did not give; zeros stand for them */
  int dirty;                  /* was not closed: its last changes may be in its logs alone */
  int replayed;               /* logs were applied */
  int sound_tree;             /* nothing had to be repaired to make the tree */
} hq_summary;
/* Fills all members. */
HQ_API void hq_summarize(const hq_hive* hive, hq_summary* summary);

/* What whoever reads the hive must know, a line each; empty for one that is whole: logs that were
 * applied or are missing, ranges that could not be read, moved bytes put back, and what was cut
 * short while it was opened. Lines end in a line feed. */
HQ_API size_t hq_notices(const hq_hive* hive, char* out, size_t size);

/* --- keys ----------------------------------------------------------------------------------- */

/* All numbers of keys, those of folders and copies too: may be more than
 * hq_summary.keys. */
HQ_API uint32_t hq_key_count(const hq_hive* hive);
/* In the order in which they are shown; HQ_NO_KEY after the last, for the parent of the root, and
 * for a number that is no key. */
HQ_API hq_key hq_first_child(const hq_hive* hive, hq_key key);
HQ_API hq_key hq_next_sibling(const hq_hive* hive, hq_key key);
HQ_API hq_key hq_parent(const hq_hive* hive, hq_key key);
/* By its path below the root, "Software\Vendor", or with the root's own path, as hq_key_path gives
 * it; case is ignored. The first of several that are named alike; HQ_NO_KEY for none. */
HQ_API hq_key hq_find(const hq_hive* hive, const char* path);

enum {
  HQ_KEY_RECOVERED = 1, /* no list leads to it from the root */
  HQ_KEY_MADE = 2,      /* stands for a key that others name and of which no record is left */
  HQ_KEY_FOLDER = 4,    /* no key: "Disconnected Keys" or "Disconnected Values" */
  HQ_KEY_COPY = 8       /* a connected key once more, as the way to a recovered one below it */
};
/* A copy and a folder have neither record nor values of their own. */
typedef struct hq_key_info {
  uint64_t position; /* of its record; HQ_NO_POSITION for one without */
  uint64_t last_write;
  uint32_t flags;  /* HQ_KEY_... */
  uint32_t values; /* entries of its list, also those that lead nowhere */
} hq_key_info;
/* 1, or 0 where there is no such key; `info` is filled in both cases. Reads the value list each
 * time it is asked. */
HQ_API int hq_key_info_of(const hq_hive* hive, hq_key key, hq_key_info* info);
/* As it is stored, with whatever characters are in it; of the root its path, of a folder its title,
 * of a key without a name the one that was made for it. */
HQ_API size_t hq_key_name(const hq_hive* hive, hq_key key, char* out, size_t size);
/* As it is shown, from the root's path in the registry on: what cannot be shown is escaped. One of
 * more than 32,767 characters is shortened, so that it still tells its key from all others. */
HQ_API size_t hq_key_path(const hq_hive* hive, hq_key key, char* out, size_t size);
/* How it came to be there, "recovered parent"; empty for a key that is simply there. */
HQ_API size_t hq_key_status(const hq_hive* hive, hq_key key, char* out, size_t size);

/* --- values --------------------------------------------------------------------------------- */

typedef struct hq_value_info {
  uint64_t position;      /* of its record; HQ_NO_POSITION where the list's entry leads nowhere */
  uint64_t data_position; /* of the first byte of its data */
  uint32_t type;          /* as the registry counts types: 1 text, 3 bytes, 4 a number ... */
  uint32_t size;          /* of its data, as its record says */
  int readable;           /* 0: its data are not where the record says, or are 5 MiB and more */
} hq_value_info;
/* By the number of its place in the key's list, below hq_key_info.values. 1, or 0 where there is
 * none; `info` is filled in both cases. The lists of the key asked for last are kept, so the values
 * of one key are best asked for one after another: this is why `hive` may change here. */
HQ_API int hq_value_info_of(hq_hive* hive, hq_key key, uint32_t index, hq_value_info* info);
/* As it is stored; empty for the default value. */
HQ_API size_t hq_value_name(hq_hive* hive, hq_key key, uint32_t index, char* out, size_t size);
/* As they are stored: texts are UTF-16, low byte first. 0 for data that are not readable. */
HQ_API size_t hq_value_data(hq_hive* hive, hq_key key, uint32_t index, void* out, size_t size);

/* --- bytes and structure -------------------------------------------------------------------- */

/* Bytes of the hive from a position in the file on, as its logs leave them; returns how many were
 * copied, fewer than `size` at its end. */
HQ_API size_t hq_bytes(const hq_hive* hive, uint64_t position, void* out, size_t size);

/* Texts are never null; "found" and "expected" are empty where a fault has no such pair. */
typedef struct hq_finding {
  int level; /* 0 a note, 1 an oddity, 2 a fault */
  uint64_t position;
  const char* code; /* "H2" */
  const char* what; /* what the code stands for */
  const char* key;  /* path of the key it belongs to; empty for none */
  const char* found;
  const char* expected;
} hq_finding;
/* Judges the file's structure as a system reads it, before any log, and calls `each` (null: nobody)
 * for every finding, by position, until it returns 0. `context` is handed on as it is. Finding and
 * texts live until it returns. Nothing may be thrown through it. Returns the worst level of all
 * findings, also of those after it returned 0; -1 for no finding, -2 where there was no memory. */
HQ_API int hq_check(const hq_hive* hive, int (*each)(void* context, const hq_finding* finding),
                    void* context);

#ifdef __cplusplus
}
#endif

#endif /* HIVEQUARRY_H */
