/* What a host or provider written elsewhere knows of KELUAB: widths, layouts and slot numbers, written down here once more and
 * in C, so that nothing of the library's own headers can hide a mistake of theirs. */
#ifndef OTHER_COMPILER_ABI_H
#define OTHER_COMPILER_ABI_H

#include <stdint.h>
#include <uchar.h>

typedef char16_t unit; /* one UTF-16 code unit */

typedef struct {
  uint32_t a;
  uint16_t b, c;
  uint8_t d[8];
} guid;

#define MAPI_GUID(low) {0x00020000u | (low), 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}}

typedef struct {
  uint32_t tag, pad;
  union {
    int16_t i;
    uint32_t ul;
    int32_t err;
    const unit* text;
    const char* text8;
    struct {
      uint32_t size, pad;
      uint8_t* bytes;
    } bin;
    uint64_t words[2];
  } v;
} value;

typedef struct {
  uint32_t pad, count;
  value* values;
} row;

typedef struct {
  uint32_t count, pad;
  row rows[64];
} row_set;

typedef struct {
  uint32_t count;
  uint32_t tags[16];
} tag_array;

typedef struct {
  uint32_t count;
  struct {
    uint32_t index, tag;
    int32_t code;
  } problems[4];
} problem_array;

_Static_assert(sizeof(value) == 24 && sizeof(row) == 16 && sizeof(guid) == 16, "64-bit layouts");

enum {
  OK = 0,
  UNICODE_FLAG = (int)0x80000000u,
  ERRORS_RETURNED = 0x00040380,
  NO_SUPPORT = (int)0x80040102u,
  BAD_CHARWIDTH = (int)0x80040103u,
  UNKNOWN_FLAGS = (int)0x80040106u,
  INVALID_ENTRYID = (int)0x80040107u,
  NOT_FOUND = (int)0x8004010Fu,
  UNKNOWN_ENTRYID = (int)0x80040201u,
  END_OF_SESSION = (int)0x80040200u,
  COMPUTED = (int)0x8004011Au,
  COLLISION = (int)0x80040604u,
  INVALID_BOOKMARK = (int)0x80040405u,
  TABLE_EMPTY = (int)0x80040402u,
  INVALIDARG = (int)0x80070057u,
  ACCESSDENIED = (int)0x80070005u,
  NOINTERFACE = (int)0x80004002u,
  FAIL = (int)0x80004005u
};

/* Slot n (from 1) of an object, called with up to eleven arguments: all are registers or 8-byte stack places on a 64-bit
 * system, and a callee that takes fewer leaves the rest alone. */
typedef uintptr_t any;
typedef int32_t (*slot_function)(void* self, any, any, any, any, any, any, any, any, any, any, any);

static inline int32_t call_slot(void* object, int n, const any* arguments) {
  slot_function function = (*(slot_function**)object)[n - 1];
  return function(object, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4], arguments[5], arguments[6],
                  arguments[7], arguments[8], arguments[9], arguments[10]);
}

#define SLOT(object, n, ...) call_slot((object), (n), (const any[12]){__VA_ARGS__})
#define P(pointer) ((any)(pointer))

/* What the host hands to the provider as the host value. */
typedef struct {
  int failures;            /* counted by both sides */
  int opened, released;    /* provider objects */
  int services;            /* calls of the service entry */
  int calls[40];           /* by slot number, of the provider object */
  int entry_calls[24];     /* of its containers, lists and users */
  int table_calls[27];     /* of their tables */
  int live;                /* of all these */
  uint32_t flags;          /* that the provider was opened with */
  any caller_param;
  uint64_t provider_connection;
} shared_record;

#define CHECK(record, condition)                                              \
  do {                                                                        \
    if (!(condition)) {                                                       \
      ++(record)->failures;                                                   \
      fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition); \
    }                                                                         \
  } while (0)

#endif
