/* A host in plain C: loads the library, calls its exports and every slot of every object that it is given, and recognises
 * each by what it does or by the refusal that it promises. Argument: the library's path, in a folder with its definition
 * file and the provider. */
#include <stdio.h>
#include <string.h>

#include "abi.h"
#include "system.h"

static shared_record record;
#define EXPECT(condition) CHECK(&record, condition)

static unit kKey[] = u"other compiler", kProfile[] = u"One", kCopy[] = u"Two", kRenamed[] = u"Three", kService[] = u"Other",
            kText[] = u"!", kNoService[] = u"Nothing";
static const guid kUnknown = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}}, kTable = MAPI_GUID(0x301), kProp = MAPI_GUID(0x303),
                  kProfSect = MAPI_GUID(0x304), kAddrBook = MAPI_GUID(0x309), kContainer = MAPI_GUID(0x30B),
                  kAbContainer = MAPI_GUID(0x30D), kSession = MAPI_GUID(0x3A0), kProfAdmin = MAPI_GUID(0x3A2),
                  kServiceAdmin = MAPI_GUID(0x3A3), kStranger = MAPI_GUID(0x399);

static int32_t (*open_session)(unit*, void*, any, unit*, uint32_t, void*, void*, void*, void**, void**, any);
static int32_t (*admin_profiles)(unit*, void*, uint32_t, void**, any);
static int32_t (*allocate_buffer)(uint32_t, void**);
static int32_t (*allocate_more)(uint32_t, void*, void**);
static int32_t (*free_buffer)(void*);
static void (*free_rows)(row_set*);
static void (*free_list)(void*);

/* Slots 1 to 3, and that nothing but these identifiers is answered. */
static void look_at_unknown(void* object, const guid* const* iids) {
  void* other = NULL;
  EXPECT(SLOT(object, 1, P(&kUnknown), 0) == INVALIDARG);
  other = object;
  EXPECT(SLOT(object, 1, 0, P(&other)) == INVALIDARG && other == NULL);
  other = object;
  EXPECT(SLOT(object, 1, P(&kStranger), P(&other)) == NOINTERFACE && other == NULL);
  for (; *iids != NULL; ++iids) {
    EXPECT(SLOT(object, 1, P(*iids), P(&other)) == OK && other == object);
    EXPECT(SLOT(object, 3, 0) > 0);
  }
  int32_t count = SLOT(object, 2, 0);
  EXPECT(SLOT(object, 3, 0) == count - 1);
}
#define UNKNOWN(object, ...) look_at_unknown(object, (const guid* const[]){&kUnknown, __VA_ARGS__, NULL})

static void refused(void* object, const int* slots) {
  for (; *slots != 0; ++slots) {
    int32_t result = SLOT(object, *slots, 0);
    if (result != NO_SUPPORT) fprintf(stderr, "slot %d: %08X\n", *slots, (unsigned)result);
    EXPECT(result == NO_SUPPORT);
  }
}
#define REFUSED(object, ...) refused(object, (const int[]){__VA_ARGS__, 0})

static void look_at_table(void* table, uint32_t rows) {
  uint32_t a = 9, b = 9, c = 9;
  tag_array columns = {2, {0x3001001Fu, 0x00000001u}}, *tags = NULL;
  row_set* read = NULL;
  UNKNOWN(table, &kTable);
  REFUSED(table, 4, 5, 6, 14, 15, 16, 17, 18, 19, 22, 23, 24, 25, 26);
  EXPECT(SLOT(table, 7, P(&a), P(&b)) == OK && a == 0 && b == 0);
  EXPECT(SLOT(table, 8, 0, 0) == INVALIDARG && SLOT(table, 8, P(&columns), 0) == OK);
  EXPECT(SLOT(table, 9, 0, P(&tags)) == OK && tags->count == 2 && free_buffer(tags) == OK);
  EXPECT(SLOT(table, 10, 0, P(&a)) == OK && a == rows);
  EXPECT(SLOT(table, 11, 7, 0, 0) == INVALID_BOOKMARK);
  EXPECT(SLOT(table, 11, 2, 0, P(&a)) == OK && a == 0);
  EXPECT(SLOT(table, 12, 0, 1) == OK);
  EXPECT(SLOT(table, 13, P(&a), P(&b), P(&c)) == OK && a == 0 && b == 0 && c == rows);
  EXPECT(SLOT(table, 20, 1, 0, P(&read)) == OK && read->count == 1 && read->rows[0].count == 2);
  EXPECT(read->rows[0].values[0].tag == 0x3001001Fu && read->rows[0].values[1].tag == 1);
  free_rows(read);
  EXPECT(SLOT(table, 21, 0) == OK);
}

/* Stores the identifier of the profile's one service. */
static void service_uid(void* services, uint8_t uid[16]) {
  void* table = NULL;
  row_set* rows = NULL;
  tag_array columns = {1, {0x3D0C0102u}};
  EXPECT(SLOT(services, 5, 0x80000000u, P(&table)) == OK);
  EXPECT(SLOT(table, 8, P(&columns), 0) == OK && SLOT(table, 20, 1, 0, P(&rows)) == OK && rows->count == 1);
  EXPECT(rows->rows[0].values[0].v.bin.size == 16);
  memcpy(uid, rows->rows[0].values[0].v.bin.bytes, 16);
  free_rows(rows);
  SLOT(table, 3, 0);
}

static void look_at_section(void* section) {
  uint32_t count = 0;
  value* values = NULL;
  tag_array tags = {2, {0x3001001Eu, 0x66770003u}}, *list = NULL;
  problem_array* problems = NULL;
  value set[2] = {{0x66770003u, 0, {.ul = 5}}, {0x0FFF0102u, 0, {.ul = 0}}};
  UNKNOWN(section, &kProp, &kProfSect);
  REFUSED(section, 4, 8, 13, 14);
  EXPECT(SLOT(section, 6, P(&tags), 0, P(&count), P(&values)) == BAD_CHARWIDTH);
  EXPECT(SLOT(section, 6, P(&tags), 0x80000000u, P(&count), P(&values)) == ERRORS_RETURNED && count == 2);
  EXPECT(values[0].tag == 0x3001001Fu && values[1].tag == 0x6677000Au && values[1].v.err == NOT_FOUND);
  free_buffer(values);
  EXPECT(SLOT(section, 9, 2, P(set), P(&problems)) == OK && problems != NULL);
  EXPECT(problems->count == 1 && problems->problems[0].index == 1 && problems->problems[0].code == COMPUTED);
  free_buffer(problems);
  EXPECT(SLOT(section, 7, 0x80000000u, P(&list)) == OK && list->count == 11);
  free_buffer(list);
  EXPECT(SLOT(section, 5, 2) == OK);
  tags.tags[0] = 0x66770003u, tags.count = 1, problems = (problem_array*)&tags;
  EXPECT(SLOT(section, 10, P(&tags), P(&problems)) == OK && problems == NULL);
  EXPECT(SLOT(section, 11, 0, 0, 0, 0, 0, P(&kStranger), P(section), 0x80000000u, 0) == NOINTERFACE);
  EXPECT(SLOT(section, 12, P(&tags), 0, 0, P(&kStranger), P(section), 0x80000000u, 0) == NOINTERFACE);
}

static void look_at_services(void* services) {
  void *table = NULL, *section = NULL;
  uint8_t uid[16], unknown[16] = {0};
  UNKNOWN(services, &kServiceAdmin);
  EXPECT(SLOT(services, 4, 0) == OK);
  EXPECT(SLOT(services, 6, P(kNoService), P(kNoService), 0, 0, 0, 0x80000000u) == NOT_FOUND);
  EXPECT(SLOT(services, 6, P(kService), P(kService), P(kText), 0, 0, 0x80000000u) == OK && record.services == 2);
  EXPECT(SLOT(services, 5, 0, P(&table)) == FAIL);
  EXPECT(SLOT(services, 5, 0x80000000u, P(&table)) == OK);
  look_at_table(table, 1);
  SLOT(table, 3, 0);
  service_uid(services, uid);
  EXPECT(SLOT(services, 7, P(unknown)) == NOT_FOUND);
  EXPECT(SLOT(services, 8, P(uid), 0, 0x80000000u, 0, 0, P(&section)) == INVALIDARG && section == NULL);
  EXPECT(SLOT(services, 8, P(uid), 0, 0x80000002u, 0, 0, P(&section)) == OK && section != NULL && record.services == 3);
  SLOT(section, 3, 0);
  EXPECT(SLOT(services, 9, P(uid), 0, 0, P(&section)) == OK);
  look_at_section(section);
  SLOT(section, 3, 0);
}

static void look_at_profiles(void* admin) {
  void *table = NULL, *services = NULL;
  UNKNOWN(admin, &kProfAdmin);
  EXPECT(SLOT(admin, 4, 0) == OK);
  EXPECT(SLOT(admin, 5, 0, P(&table)) == BAD_CHARWIDTH && table == NULL);
  EXPECT(SLOT(admin, 6, 0, 0, 0) == BAD_CHARWIDTH && SLOT(admin, 7, P(kProfile), 0) == BAD_CHARWIDTH);
  EXPECT(SLOT(admin, 8, P(kProfile), 0, 0) == BAD_CHARWIDTH && SLOT(admin, 9, P(kProfile), P(kCopy), 0) == BAD_CHARWIDTH);
  EXPECT(SLOT(admin, 10, P(kProfile), P(kCopy), 0) == BAD_CHARWIDTH && SLOT(admin, 11, P(kProfile), 0) == BAD_CHARWIDTH);
  EXPECT(SLOT(admin, 12, P(kProfile), 0, P(&services)) == BAD_CHARWIDTH && SLOT(admin, 12, P(kProfile), 0, 0) == INVALIDARG);
  EXPECT(SLOT(admin, 12, 0, 0x80000000u, P(&services)) == INVALIDARG && SLOT(admin, 6, P(kProfile), 0, 0x80000000u) == OK);
  EXPECT(SLOT(admin, 12, P(kProfile), 0x80000000u, P(&services)) == OK);
  look_at_services(services);
  SLOT(services, 3, 0);
  EXPECT(SLOT(admin, 9, P(kProfile), P(kCopy), 0x80000000u) == OK);
  EXPECT(SLOT(admin, 9, P(kProfile), P(kCopy), 0x80000000u) == ACCESSDENIED);
  EXPECT(SLOT(admin, 10, P(kCopy), P(kRenamed), 0x80000000u) == OK);
  EXPECT(SLOT(admin, 8, P(kCopy), 0, 0x80000000u) == NOT_FOUND);
  EXPECT(SLOT(admin, 11, P(kRenamed), 0x80000000u) == OK);
  EXPECT(SLOT(admin, 5, 0x80000000u, P(&table)) == OK);
  look_at_table(table, 2);
  SLOT(table, 3, 0);
  EXPECT(SLOT(admin, 7, P(kRenamed), 0x80000000u) == OK && SLOT(admin, 7, P(kRenamed), 0x80000000u) == NOT_FOUND);
}

static void look_at_root(void* book) {
  void *root = NULL, *table = NULL, *again = NULL;
  uint32_t type = 0;
  struct {
    uint32_t count;
    void* entries;
  } none = {0, NULL}, one = {1, &none};
  EXPECT(SLOT(book, 15, 0, 0, 0, 0, P(&type), P(&root)) == OK && type == 4);
  UNKNOWN(root, &kProp, &kContainer, &kAbContainer);
  REFUSED(root, 4, 5, 6, 7, 9, 10, 11, 12, 13, 14, 18, 19);
  EXPECT(SLOT(root, 8, 0) == INVALIDARG && SLOT(root, 16, 0) == INVALIDARG);
  EXPECT(SLOT(root, 8, 0x360F000Du, P(&kTable), 0, 0, P(&table)) == NOINTERFACE);
  EXPECT(SLOT(root, 8, 0x360E000Du, P(&kTable), 0, 0, P(&table)) == OK);
  look_at_table(table, 1);
  SLOT(table, 3, 0);
  EXPECT(SLOT(root, 15, 0, 0) == INVALIDARG && SLOT(root, 15, 0, P(&table)) == NO_SUPPORT);
  EXPECT(SLOT(root, 16, 0x80000000u, P(&table)) == OK);
  SLOT(table, 3, 0);
  EXPECT(SLOT(root, 17, 0, 0, 0, 0, 0, 0) == INVALIDARG);
  EXPECT(SLOT(root, 17, 0, 0, 0, 0, P(&type), P(&again)) == OK && type == 4 && again != root);
  SLOT(again, 3, 0);
  EXPECT(SLOT(root, 20, 0) == INVALIDARG && SLOT(root, 20, 1, P(&none), 0, P(&again)) == NO_SUPPORT);
  EXPECT(SLOT(root, 21, 0) == INVALIDARG && SLOT(root, 21, P(&none)) == OK && SLOT(root, 21, P(&one)) == NO_SUPPORT);
  EXPECT(SLOT(root, 22, 0) == INVALIDARG && SLOT(root, 22, P(&none)) == OK);
  EXPECT(SLOT(root, 23, 0) == INVALIDARG && SLOT(root, 23, 0, 0, P(&none)) == NO_SUPPORT);
  SLOT(root, 3, 0);
}

static void look_at_book(void* book) {
  uint8_t id[20] = {0, 0, 0, 0, 'o', 't', 'h', 'e', 'r', ' ', 'c', 'o', 'm', 'p', 'i', 'l', 'e', 'r', 0, 1};
  uint32_t type = 0, connection = 0, size = 0;
  any ui = 0;
  void *object = NULL, *entry = NULL;
  row_set* path = NULL;
  struct {
    uint32_t count, pad;
    row entries[1];
  } list = {0, 0, {{0, 0, NULL}}};
  UNKNOWN(book, &kProp, &kAddrBook);
  EXPECT(SLOT(book, 4, 0) == OK);
  REFUSED(book, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 19, 21, 22, 24, 25);
  look_at_root(book);
  for (const int* slot = (const int[]){15, 17, 23, 26, 28, 30, 31, 32, 0}; *slot != 0; ++slot) {
    EXPECT(SLOT(book, *slot, 0) == INVALIDARG);
  }
  EXPECT(SLOT(book, 15, 19, P(id), 0, 0, P(&type), P(&object)) == INVALID_ENTRYID);
  EXPECT(SLOT(book, 15, 20, P(id), 0, 0, P(&type), P(&object)) == OK && type == 4);
  SLOT(object, 3, 0);
  EXPECT(SLOT(book, 16, 0) == UNKNOWN_ENTRYID);
  EXPECT(SLOT(book, 17, 20, P(id), 4, 0, P(&connection)) == OK && connection == 1);
  EXPECT(SLOT(book, 18, 2) == NOT_FOUND && SLOT(book, 18, 1) == OK && record.provider_connection == 0x34567890u);
  EXPECT(SLOT(book, 20, 77, 5, 20, P(id), 0, 0, P(&size), P(&entry)) == ACCESSDENIED && record.calls[20] == 1);
  EXPECT(SLOT(book, 23, P(&ui), 0, 0, 20, P(id)) == ACCESSDENIED);
  EXPECT(SLOT(book, 26, P(&size), P(&entry)) == OK && size == 20 && memcmp(entry, id, 20) == 0 && free_buffer(entry) == OK);
  EXPECT(SLOT(book, 27, 0, 0) == FAIL && SLOT(book, 27, 20, P(id)) == OK);
  EXPECT(SLOT(book, 28, P(&size), P(&entry)) == OK && size == 20 && free_buffer(entry) == OK);
  EXPECT(SLOT(book, 29, 0, 0) == FAIL && SLOT(book, 29, 20, P(id)) == OK);
  EXPECT(SLOT(book, 30, 0, P(&path)) == OK && path->count == 2);
  EXPECT(SLOT(book, 31, 0, P(path)) == OK);
  free_rows(path);
  EXPECT(SLOT(book, 32, 1, 0, P(&list)) == INVALIDARG && SLOT(book, 32, 0, 0, P(&list)) == OK && record.calls[32] == 1);
}

/* What the library calls of a provider's containers, lists, users and tables. */
static void look_at_foreign_objects(void* session, void* book) {
  uint8_t id[21] = {0, 0, 0, 0, 'o', 't', 'h', 'e', 'r', ' ', 'c', 'o', 'm', 'p', 'i', 'l', 'e', 'r', 0, 1, 'L'};
  struct {
    uint32_t count, pad;
    row entries[1];
  }* list = NULL;
  struct {
    uint32_t size, pad;
    uint8_t* bytes;
  } deleted = {21, 0, id};
  struct {
    uint32_t count, pad;
    void* entries;
  } entries = {1, 0, &deleted};
  value* values = NULL;
  void *root = NULL, *table = NULL;
  uint32_t type = 0, rows = 0;
  EXPECT(allocate_buffer(24, (void**)&list) == OK && allocate_buffer(3 * sizeof(value), (void**)&values) == OK);
  values[0] = (value){0x0FFE0003u, 0, {.ul = 8}};
  values[1] = (value){0x0C150003u, 0, {.ul = 1}};
  values[2] = (value){0x0FFF0102u, 0, {.bin = {21, 0, id}}};
  list->count = 1, list->entries[0] = (row){0, 3, values};
  EXPECT(SLOT(session, 11, 0, P(&list)) == OK && list->count == 1); /* the list's user, once */
  free_list(list);
  EXPECT(SLOT(book, 15, 0, 0, 0, 0, P(&type), P(&root)) == OK);
  EXPECT(SLOT(root, 16, 0x80000001u, P(&table)) == OK && SLOT(table, 10, 0, P(&rows)) == OK && rows == 2);
  EXPECT(SLOT(root, 22, P(&entries), 0) == OK);
  SLOT(table, 3, 0);
  SLOT(root, 3, 0);
  static const int called[] = {5, 6, 7, 8, 9, 15, 16, 17, 20, 21, 22};
  for (int i = 0; i < 11; ++i) EXPECT(record.entry_calls[called[i]] > 0);
  EXPECT(record.table_calls[8] > 0 && record.table_calls[11] > 0 && record.table_calls[20] > 0 && record.live == 0);
}

static void look_at_session(void* session, void* book) {
  void *head = NULL, *more = NULL, *other = NULL;
  uint32_t size = 0;
  row_set* rows = NULL;
  UNKNOWN(session, &kSession);
  EXPECT(SLOT(session, 4, 0) == OK);
  EXPECT(SLOT(session, 5, 10, P(&head)) == OK && SLOT(session, 6, 10, P(head), P(&more)) == OK);
  EXPECT(SLOT(session, 7, P(more)) == INVALIDARG && SLOT(session, 7, P(head)) == OK);
  EXPECT(SLOT(session, 5, 8, P(&rows)) == OK);
  SLOT(session, 8, P(rows));
  EXPECT(SLOT(session, 5, 8, P(&rows)) == OK);
  free_list(rows);
  EXPECT(SLOT(session, 5, 8, P(&rows)) == OK);
  SLOT(session, 9, P(rows));
  EXPECT(SLOT(session, 10, 1, P(&other)) == UNKNOWN_FLAGS);
  EXPECT(SLOT(session, 10, 0, P(&other)) == OK && other == book);
  SLOT(other, 3, 0);
  EXPECT(SLOT(session, 11, 0, 0) == INVALIDARG);
  EXPECT(SLOT(session, 12, P(&size), P(&other)) == OK && size == 20 && ((uint8_t*)other)[4] == 0x80);
  free_buffer(other);
  EXPECT(SLOT(session, 13, 0, P(&other)) == OK);
  UNKNOWN(other, &kServiceAdmin);
  SLOT(other, 3, 0);
}

static void* load_library(const char* path) {
  void* library = load(path);
  if (library == NULL) return NULL;
  *(void**)&open_session = symbol(library, "UABOpen");
  *(void**)&admin_profiles = symbol(library, "UABAdminProfiles");
  *(void**)&free_buffer = symbol(library, "UABFreeBuffer");
  *(void**)&allocate_buffer = symbol(library, "UABAllocateBuffer");
  *(void**)&allocate_more = symbol(library, "UABAllocateMore");
  *(void**)&free_rows = symbol(library, "UABFreeProws");
  *(void**)&free_list = symbol(library, "UABFreePadrlist");
  return library;
}

/* The exports: argument checks in their order, which store nothing, and blocks with their documented head and guard. */
static void look_at_exports(void) {
  static const struct {
    int with_session, reserved; /* which reserved parameter is not null; 0: none */
    uint32_t flags;
    int32_t expected;
  } cases[] = {{0, 1, 0, INVALIDARG},
               {0, 0, 0x80000000u, INVALIDARG},
               {1, 2, 0, BAD_CHARWIDTH},
               {1, 0, 0x40, BAD_CHARWIDTH},
               {1, 1, 0x80000000u, NO_SUPPORT},
               {1, 2, 0x80000040u, NO_SUPPORT},
               {1, 3, 0x80000000u, NO_SUPPORT}};
  for (size_t i = 0; i < sizeof cases / sizeof *cases; ++i) {
    void *session = &record, *book = &record, *reserved[4] = {NULL, NULL, NULL, NULL};
    if (cases[i].reserved != 0) reserved[cases[i].reserved] = &record;
    EXPECT(open_session(kKey, NULL, 0, kProfile, cases[i].flags, reserved[1], reserved[2], reserved[3], &book,
                        cases[i].with_session ? &session : NULL, 0) == cases[i].expected);
    EXPECT(session == &record && book == &record);
  }
  void* admin = &record;
  EXPECT(admin_profiles(kKey, NULL, 0, NULL, 0) == INVALIDARG);
  EXPECT(admin_profiles(kKey, NULL, 0x7FFFFFFF, &admin, 0) == BAD_CHARWIDTH && admin == &record);

  uint8_t *head = NULL, *more = NULL, *links[3];
  uint32_t fields[2];
  EXPECT(allocate_buffer(0, (void**)&head) == OK && head[0] == 0x7D);
  EXPECT(allocate_more(100, head, (void**)&more) == OK && more[99] == 0 && more[100] == 0x7D);
  memcpy(fields, more - 24, 8), memcpy(links, more - 16, 16), memcpy(links + 2, head - 8, 8);
  EXPECT(fields[0] == 0x7B && fields[1] == 100);
  EXPECT(links[0] == head - 24 && links[1] == NULL && links[2] == more - 24);
  EXPECT(free_buffer(more) == INVALIDARG && free_buffer(head) == OK && free_buffer(NULL) == INVALIDARG);
  free_rows(NULL), free_list(NULL);
}

/* A library that is loaded again has forgotten its host value: this one reaches the service's routine. */
static void look_at_fresh_library(const char* path) {
  static shared_record fresh;
  void *library = load_library(path), *admin = NULL, *services = NULL, *section = NULL;
  uint8_t uid[16];
  if (library == NULL) {
    EXPECT(!"loaded again");
    return;
  }
  EXPECT(admin_profiles(kKey, NULL, 0x80000000u, &admin, P(&fresh)) == OK);
  EXPECT(SLOT(admin, 12, P(kProfile), 0x80000000u, P(&services)) == OK);
  service_uid(services, uid);
  EXPECT(SLOT(services, 8, P(uid), 0, 0x80000002u, 0, 0, P(&section)) == OK);
  EXPECT(fresh.services == 1 && fresh.failures == 0 && record.services == 3);
  SLOT(section, 3, 0);
  SLOT(services, 3, 0);
  SLOT(admin, 3, 0);
  unload(library);
}

int main(int argc, char** argv) {
  if (argc != 2 || !use_fresh_hive()) return 2;
  void* library = load_library(argv[1]);
  if (library == NULL) return 2;
  void *admin = NULL, *session = NULL, *book = NULL;
  look_at_exports();
  EXPECT(admin_profiles(kKey, NULL, 0x80000000u, &admin, P(&record)) == OK);
  look_at_profiles(admin);
  SLOT(admin, 3, 0);

  EXPECT(open_session(kKey, NULL, 42, kProfile, 0x80000000u, NULL, NULL, NULL, &book, &session, 0) == OK);
  EXPECT(record.opened == 1 && record.caller_param == 42 && record.flags == 0x80000000u);
  look_at_session(session, book);
  look_at_book(book);
  look_at_foreign_objects(session, book);
  SLOT(session, 3, 0);
  EXPECT(record.released == 1);
  uint32_t type;
  void* root;
  EXPECT(SLOT(book, 15, 0, 0, 0, 0, P(&type), P(&root)) == END_OF_SESSION);
  EXPECT(SLOT(book, 3, 0) == 0);

  unload(library);
  look_at_fresh_library(argv[1]);
  remove_hive();
  printf("%d not as expected\n", record.failures);
  return record.failures == 0 ? 0 : 1;
}
