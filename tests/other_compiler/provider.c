/* An address book provider and its service entry in plain C: one container with no entries. It looks at every slot of
 * the support object and of the profile section that it is given, and counts the calls that reach it. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "abi.h"

#if defined(_WIN32)
#define EXPORTED __declspec(dllexport)
#else
#define EXPORTED __attribute__((visibility("default")))
#endif

static const uint8_t kUid[16] = {'o', 't', 'h', 'e', 'r', ' ', 'c', 'o', 'm', 'p', 'i', 'l', 'e', 'r', 0, 1};

typedef int32_t (*allocate_function)(uint32_t size, void** buffer);
typedef int32_t (*allocate_more_function)(uint32_t size, void* head, void** buffer);

typedef struct {
  const slot_function* slots;
  int32_t references;
  shared_record* record;
  allocate_function allocate;
  allocate_more_function allocate_more;
  void* support;
} provider;

static int32_t add_ref(provider* self) { return ++self->references; }

static int32_t release(provider* self) {
  int32_t left = --self->references;
  if (left == 0) {
    ++self->record->released;
    SLOT(self->support, 3, 0);
    free(self);
  }
  return left;
}

static int32_t query(provider* self, const void* iid, void** object) {
  (void)iid;
  *object = self;
  add_ref(self);
  return OK;
}

/* ---- A container, a list or a user: what the provider hands out, and the library calls. */
typedef struct {
  const slot_function* slots;
  int32_t references;
  provider* owner;
  uint8_t kind; /* 'C', 'L' or 'U': the 21st byte of its identifier, 'C' also with 20 */
} entry;

/* ---- Its members, or the templates of new ones: a user, once or twice. */
typedef struct {
  const slot_function* slots;
  int32_t references;
  provider* owner;
  uint32_t rows, position;
  tag_array columns;
} table;

static int32_t make_values(provider* self, uint8_t kind, const tag_array* tags, value** values) {
  static const unit name[] = u"Container in C", type[] = u"FAX";
  if (self->allocate(tags->count * (uint32_t)sizeof(value), (void**)values) != OK) return FAIL;
  int32_t result = OK;
  for (uint32_t i = 0; i < tags->count; ++i) {
    value* v = &(*values)[i];
    v->tag = tags->tags[i];
    switch (v->tag) {
      case 0x3001001Fu:
        v->v.text = name;
        break;
      case 0x3002001Fu:
        v->v.text = type;
        break;
      case 0x0FFE0003u:
        v->v.ul = kind == 'C' ? 4 : kind == 'L' ? 8 : 6;
        break;
      case 0x36000003u:
        v->v.ul = 5;
        break;
      case 0x30050003u:
        v->v.ul = 0;
        break;
      case 0x39000003u:
        v->v.ul = 0;
        break;
      case 0x0FFF0102u:
        v->v.bin.size = kind == 'C' ? 20 : 21;
        if (self->allocate_more(21, *values, (void**)&v->v.bin.bytes) != OK) return FAIL;
        memcpy(v->v.bin.bytes + 4, kUid, 16);
        v->v.bin.bytes[20] = kind;
        break;
      default:
        v->tag = (v->tag & 0xFFFF0000u) | 10, v->v.err = NOT_FOUND, result = ERRORS_RETURNED;
    }
  }
  return result;
}

static int32_t get_props(provider* self, const tag_array* tags, uint32_t flags, uint32_t* count, value** values) {
  (void)flags;
  ++self->record->calls[6];
  *count = tags->count;
  return make_values(self, 'C', tags, values);
}

static int32_t refuse(void* self) {
  (void)self;
  return NO_SUPPORT;
}
static int32_t accept_entry(entry* self, int slot) { return ++self->owner->record->entry_calls[slot], OK; }
static int32_t save_changes(entry* self) { return accept_entry(self, 5); }
static int32_t set_props(entry* self) { return accept_entry(self, 9); }
static int32_t copy_entries(entry* self, const void* list, any ui, void* progress, uint32_t flags) {
  CHECK(self->owner->record, *(const uint32_t*)list == 1 && ui == 0 && progress == NULL && flags == 1);
  return accept_entry(self, 21);
}
static int32_t delete_entries(entry* self, const void* list, uint32_t flags) {
  CHECK(self->owner->record, *(const uint32_t*)list == 1 && flags == 0);
  return accept_entry(self, 22);
}

static int32_t set_columns(table* self, const tag_array* columns) {
  ++self->owner->record->table_calls[8];
  self->columns.count = columns->count;
  memcpy(self->columns.tags, columns->tags, columns->count * sizeof(uint32_t));
  return OK;
}
static int32_t seek_row(table* self, uint64_t bookmark, int32_t count, void* sought) {
  CHECK(self->owner->record, bookmark == 0 && count == 0 && sought == NULL);
  ++self->owner->record->table_calls[11];
  self->position = 0;
  return OK;
}
static int32_t query_rows(table* self, int32_t count, uint32_t flags, row_set** rows) {
  CHECK(self->owner->record, count == 1 && flags == 0);
  ++self->owner->record->table_calls[20];
  if (self->owner->allocate(24, (void**)rows) != OK) return FAIL;
  (*rows)->count = self->position < self->rows;
  if (self->position++ < self->rows) {
    (*rows)->rows[0].count = self->columns.count;
    int32_t made = make_values(self->owner, 'U', &self->columns, &(*rows)->rows[0].values);
    CHECK(self->owner->record, made >= 0);
  }
  return OK;
}

static int32_t release_other(entry* self) { /* an entry or a table: they begin alike */
  int32_t left = --self->references;
  if (left == 0) --self->owner->record->live, free(self);
  return left;
}

#define R (slot_function) refuse
static const slot_function kTableSlots[26] = {(slot_function)query,
                                              (slot_function)add_ref,
                                              (slot_function)release_other,
                                              R,
                                              R,
                                              R,
                                              R,
                                              (slot_function)set_columns,
                                              R,
                                              R,
                                              (slot_function)seek_row,
                                              R,
                                              R,
                                              R,
                                              R,
                                              R,
                                              R,
                                              R,
                                              R,
                                              (slot_function)query_rows,
                                              R,
                                              R,
                                              R,
                                              R,
                                              R,
                                              R};

static int32_t make_table(entry* self, int slot, uint32_t rows, void** object) {
  ++self->owner->record->entry_calls[slot];
  table* made = calloc(1, sizeof *made);
  *made = (table){kTableSlots, 1, self->owner, rows, 0, {1, {1}}};
  ++self->owner->record->live;
  *object = made;
  return OK;
}
static int32_t open_property(entry* self, uint32_t tag, const void* iid, uint32_t options, uint32_t flags,
                             void** object) {
  (void)iid;
  CHECK(self->owner->record, tag == 0x3604000Du && options == 0 && flags == 0);
  return make_table(self, 8, 1, object);
}
static int32_t contents(entry* self, uint32_t flags, void** object) {
  CHECK(self->owner->record, flags == 0x80000000u);
  return make_table(self, 15, 2, object); /* the same user twice */
}
static int32_t hierarchy(entry* self, uint32_t flags, void** object) {
  CHECK(self->owner->record, flags == 0x80000001u);
  return make_table(self, 16, 1, object);
}
static int32_t get_prop_list(entry* self, uint32_t flags, tag_array** tags) {
  (void)flags;
  ++self->owner->record->entry_calls[7];
  if (self->owner->allocate(8, (void**)tags) != OK) return FAIL;
  (*tags)->count = 1, (*tags)->tags[0] = 0x3001001Fu;
  return OK;
}
static int32_t entry_props(entry* self, const tag_array* tags, uint32_t flags, uint32_t* count, value** values) {
  static const tag_array all = {1, {0x3001001Fu}};
  (void)flags;
  ++self->owner->record->entry_calls[6];
  if (tags == NULL) tags = &all;
  *count = tags->count;
  return make_values(self->owner, self->kind, tags, values);
}
static int32_t open_member(entry* self, uint32_t size, const uint8_t* id, const guid* iid, uint32_t flags,
                           uint32_t* type, void** object);
static int32_t create_entry(entry* self, uint32_t size, const uint8_t* id, uint32_t flags, void** object);

static const slot_function kEntrySlots[23] = {(slot_function)query,
                                              (slot_function)add_ref,
                                              (slot_function)release_other,
                                              R,
                                              (slot_function)save_changes,
                                              (slot_function)entry_props,
                                              (slot_function)get_prop_list,
                                              (slot_function)open_property,
                                              (slot_function)set_props,
                                              R,
                                              R,
                                              R,
                                              R,
                                              R,
                                              (slot_function)contents,
                                              (slot_function)hierarchy,
                                              (slot_function)open_member,
                                              R,
                                              R,
                                              (slot_function)create_entry,
                                              (slot_function)copy_entries,
                                              (slot_function)delete_entries,
                                              R};

static int32_t make_entry(provider* owner, uint8_t kind, void** object) {
  entry* made = calloc(1, sizeof *made);
  *made = (entry){kEntrySlots, 1, owner, kind};
  ++owner->record->live;
  *object = made;
  return OK;
}

static int32_t open_any(provider* owner, uint32_t size, const uint8_t* id, uint32_t* type, void** object) {
  if (size < 20 || memcmp(id + 4, kUid, 16) != 0) return NOT_FOUND;
  uint8_t kind = size == 20 ? 'C' : id[20];
  *type = kind == 'C' ? 4 : kind == 'L' ? 8 : 6;
  return make_entry(owner, kind, object);
}
static int32_t open_member(entry* self, uint32_t size, const uint8_t* id, const guid* iid, uint32_t flags,
                           uint32_t* type, void** object) {
  CHECK(self->owner->record, iid == NULL && flags == 0);
  ++self->owner->record->entry_calls[17];
  return open_any(self->owner, size, id, type, object);
}
static int32_t create_entry(entry* self, uint32_t size, const uint8_t* id, uint32_t flags, void** object) {
  CHECK(self->owner->record, size == 21 && id[20] == 'U' && flags == 0);
  ++self->owner->record->entry_calls[20];
  return make_entry(self->owner, 'U', object);
}

/* ---- The provider's own calls. */
static int32_t open_entry(provider* self, uint32_t size, const uint8_t* id, const guid* iid, uint32_t flags,
                          uint32_t* type, void** object) {
  (void)iid, (void)flags;
  ++self->record->calls[15];
  return open_any(self, size, id, type, object);
}

static int32_t advise(provider* self, uint32_t size, const void* id, uint32_t mask, void* sink, any* connection) {
  (void)size, (void)id, (void)sink;
  ++self->record->calls[17];
  CHECK(self->record, mask == 0x4u);
  *connection = (any)0x1234567890u; /* written as 8 bytes */
  return OK;
}

static int32_t unadvise(provider* self, uint32_t connection) {
  ++self->record->calls[18];
  self->record->provider_connection = connection;
  return OK;
}

static int32_t new_entry(provider* self, any ui, uint32_t flags) {
  ++self->record->calls[20];
  CHECK(self->record, ui == 77 && flags == 5);
  return ACCESSDENIED;
}

/* Copies a list's members into a container on the way. */
static int32_t details(provider* self) {
  static const guid kList = MAPI_GUID(0x30E), kContainer = MAPI_GUID(0x30D);
  static tag_array members = {1, {0x360F000Du}}, name = {1, {0x3001001Fu}};
  void *list = NULL, *container = NULL;
  ++self->record->calls[23];
  make_entry(self, 'L', &list);
  make_entry(self, 'C', &container);
  CHECK(self->record, SLOT(self->support, 9, P(&kList), P(list), P(&members), 0, 0, P(&kContainer), P(container),
                           0x80000000u, 0) == OK);
  CHECK(self->record, SLOT(self->support, 8, P(&kList), P(list), 0, 0, P(&name), 0, 0, P(&kContainer), P(container),
                           0x80000000u, 0) == OK);
  SLOT(list, 3, 0);
  SLOT(container, 3, 0);
  return ACCESSDENIED;
}

static int32_t prepare_recips(provider* self) {
  ++self->record->calls[32];
  return OK;
}

static const slot_function kSlots[32] = {(slot_function)query,
                                         (slot_function)add_ref,
                                         (slot_function)release,
                                         R,
                                         R,
                                         (slot_function)get_props,
                                         R,
                                         R,
                                         R,
                                         R,
                                         R,
                                         R,
                                         R,
                                         R,
                                         (slot_function)open_entry,
                                         R,
                                         (slot_function)advise,
                                         (slot_function)unadvise,
                                         R,
                                         (slot_function)new_entry,
                                         R,
                                         R,
                                         (slot_function)details,
                                         R,
                                         R,
                                         R,
                                         R,
                                         R,
                                         R,
                                         R,
                                         R,
                                         (slot_function)prepare_recips};

static void look_at_support(void* support, shared_record* record, int bound) {
  static const guid kSupport = MAPI_GUID(0x3A1), kSession = MAPI_GUID(0x3A0);
  void *object = record, *allocate = NULL, *more = NULL, *release_buffer = NULL;
  CHECK(record, SLOT(support, 1, P(&kSession), P(&object)) == NOINTERFACE && object == NULL);
  CHECK(record, SLOT(support, 1, P(&kSupport), P(&object)) == OK && object == support);
  CHECK(record, SLOT(support, 3, 0) > 0);
  CHECK(record, SLOT(support, 4, 0) == OK);
  CHECK(record, SLOT(support, 5, 0, P(&more), P(&release_buffer)) == INVALIDARG);
  CHECK(record, SLOT(support, 5, P(&allocate), 0, P(&release_buffer)) == INVALIDARG);
  CHECK(record, SLOT(support, 5, P(&allocate), P(&more), 0) == INVALIDARG && !allocate && !more && !release_buffer);
  CHECK(record,
        SLOT(support, 5, P(&allocate), P(&more), P(&release_buffer)) == OK && allocate && more && release_buffer);
  CHECK(record, SLOT(support, 6, P(kUid), 0xFFFFFFFFu) == (bound ? OK : NO_SUPPORT));
  CHECK(record, SLOT(support, 6, P(kUid), 0) == (bound ? COLLISION : NO_SUPPORT));
  CHECK(record, SLOT(support, 6, 0, 0) == (bound ? INVALIDARG : NO_SUPPORT));
  CHECK(record, SLOT(support, 7, 0) == NO_SUPPORT && SLOT(support, 10, 0) == NO_SUPPORT);
  CHECK(record, SLOT(support, 8, 0) == INVALIDARG && SLOT(support, 9, 0) == INVALIDARG);
}

EXPORTED int32_t ABProviderOpen(const unit* app_key, void* resources, void* support, void* section, any caller_param,
                                uint32_t flags, void* allocate, void* more, void* free_buffer, void** object,
                                any host_value) {
  shared_record* record = (shared_record*)host_value;
  (void)resources, (void)free_buffer;
  CHECK(record, app_key[0] == u'o' && section != NULL && *object == NULL);
  record->flags = flags;
  record->caller_param = caller_param;
  look_at_support(support, record, 1);
  provider* self = calloc(1, sizeof *self);
  self->slots = kSlots;
  self->references = 1;
  self->record = record;
  self->allocate = (allocate_function)allocate;
  self->allocate_more = (allocate_more_function)more;
  self->support = support; /* kept: with a reference of its own */
  SLOT(support, 2, 0);
  ++record->opened;
  *object = self;
  return OK;
}

EXPORTED int32_t OtherServiceEntry(void* resources, any ui, uint32_t flags, uint32_t context, uint32_t count,
                                   const value* values, void* section, void* support, any host_value) {
  shared_record* record = (shared_record*)host_value;
  (void)resources, (void)ui;
  ++record->services;
  CHECK(record, flags & 0x80000000u);
  if (context == 16) CHECK(record, count == 1 && values[0].tag == 0 && values[0].v.text[0] == u'!');
  look_at_support(support, record, 0);
  CHECK(record, section != NULL);
  return OK;
}
