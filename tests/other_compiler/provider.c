/* An address book provider and its service entry in plain C: one container with no entries. It looks at every slot of the
 * support object and of the profile section that it is given, and counts the calls that reach it. */
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

static int32_t get_props(provider* self, const tag_array* tags, uint32_t flags, uint32_t* count, value** values) {
  static const unit name[] = u"Container in C";
  (void)flags;
  ++self->record->calls[6];
  uint32_t n = tags->count;
  if (self->allocate(n * (uint32_t)sizeof(value), (void**)values) != OK) return FAIL;
  for (uint32_t i = 0; i < n; ++i) {
    value* v = &(*values)[i];
    v->tag = tags->tags[i];
    if (v->tag == 0x3001001Fu) v->v.text = name;
    if (v->tag == 0x0FFE0003u) v->v.ul = 4;
    if (v->tag == 0x36000003u) v->v.ul = 5;
    if (v->tag == 0x0FFF0102u) {
      v->v.bin.size = 20;
      if (self->allocate_more(20, *values, (void**)&v->v.bin.bytes) != OK) return FAIL;
      memcpy(v->v.bin.bytes + 4, kUid, 16);
    }
  }
  *count = n;
  return OK;
}

/* The container is the provider object itself: enough to be asked for its properties. */
static int32_t open_entry(provider* self, uint32_t size, const uint8_t* id, const guid* iid, uint32_t flags, uint32_t* type,
                          void** object) {
  (void)iid, (void)flags;
  ++self->record->calls[15];
  if (size < 20 || memcmp(id + 4, kUid, 16) != 0) return NOT_FOUND;
  *type = 4;
  *object = self;
  add_ref(self);
  return OK;
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

static int32_t details(provider* self) {
  ++self->record->calls[23];
  return ACCESSDENIED;
}

static int32_t prepare_recips(provider* self) {
  ++self->record->calls[32];
  return OK;
}

static int32_t refuse(provider* self) {
  (void)self;
  return NO_SUPPORT;
}

#define R (slot_function) refuse
static const slot_function kSlots[32] = {
    (slot_function)query, (slot_function)add_ref, (slot_function)release, R, R, (slot_function)get_props, R, R, R, R, R, R, R, R,
    (slot_function)open_entry, R, (slot_function)advise, (slot_function)unadvise, R, (slot_function)new_entry, R, R,
    (slot_function)details, R, R, R, R, R, R, R, R, (slot_function)prepare_recips};

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
  CHECK(record, SLOT(support, 5, P(&allocate), P(&more), P(&release_buffer)) == OK && allocate && more && release_buffer);
  CHECK(record, SLOT(support, 6, P(kUid), 0xFFFFFFFFu) == (bound ? OK : NO_SUPPORT));
  CHECK(record, SLOT(support, 6, P(kUid), 0) == (bound ? COLLISION : NO_SUPPORT));
  CHECK(record, SLOT(support, 6, 0, 0) == (bound ? INVALIDARG : NO_SUPPORT));
  CHECK(record, SLOT(support, 7, 0) == NO_SUPPORT && SLOT(support, 10, 0) == NO_SUPPORT);
  CHECK(record, SLOT(support, 8, 0) == INVALIDARG && SLOT(support, 9, 0) == INVALIDARG);
}

EXPORTED int32_t ABProviderOpen(const unit* app_key, void* resources, void* support, void* section, any caller_param,
                                uint32_t flags, void* allocate, void* more, void* free_buffer, void** object, any host_value) {
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
