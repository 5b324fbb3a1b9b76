/* Processes that work on one profile at once: each adds and removes services of its own, copies, makes and deletes
 * profiles and sets the default. Every call has to succeed, and nothing may be lost or half there. Arguments: the
 * library's path, then "prepare", "work" and a number from 0, or "check" and the count of workers. The hive is there
 * for all of them. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "abi.h"
#include "system.h"

enum { ROUNDS = 10, WIDE = (int)0x80000000u };

static shared_record record;
#define EXPECT(condition) CHECK(&record, condition)

static unit kKey[] = u"workers", kCommon[] = u"Common", kOther[] = u"Other";
static int32_t (*admin_profiles)(unit*, void*, uint32_t, void**, any);
static void (*free_rows)(row_set*);

/* A service's mark: its worker and the round it was made in, among the flags that the library leaves alone. */
static uint32_t mark(int worker, int round) {
  return 0x01000000u * (uint32_t)(worker + 1) + 0x00100000u + (uint32_t)round * 8;
}

/* Counts a profile's services, each of which has to be whole; stores the identifier of the one that has the mark. */
static int look_at_services(void* admin, unit* profile, uint32_t wanted, uint8_t uid[16]) {
  void *services = NULL, *table = NULL;
  row_set* rows = NULL;
  tag_array columns = {4, {0x3D0C0102u, 0x30090003u, 0x3D0A001Fu, 0x3D0B001Eu}};
  int count = 0, found = 0;
  EXPECT(SLOT(admin, 12, P(profile), (uint32_t)WIDE, P(&services)) == OK);
  EXPECT(SLOT(services, 5, (uint32_t)WIDE, P(&table)) == OK && SLOT(table, 8, P(&columns), 0) == OK);
  while (SLOT(table, 20, 1, 0, P(&rows)) == OK && rows->count == 1) {
    value* v = rows->rows[0].values;
    int whole = v[0].tag == columns.tags[0] && v[0].v.bin.size == 16 && v[1].tag == columns.tags[1] &&
                v[2].tag == columns.tags[2] && v[3].tag == columns.tags[3];
    EXPECT(whole);
    if (whole && v[1].v.ul == wanted) memcpy(uid, v[0].v.bin.bytes, 16), ++found;
    ++count;
    free_rows(rows);
  }
  free_rows(rows);
  SLOT(table, 3, 0);
  SLOT(services, 3, 0);
  EXPECT(found == (wanted != 0));
  return count;
}

static void change_services(void* admin, int worker, int round) {
  void* services = NULL;
  uint8_t uid[16] = {0};
  EXPECT(SLOT(admin, 12, P(kCommon), (uint32_t)WIDE, P(&services)) == OK);
  EXPECT(SLOT(services, 6, P(kOther), P(kOther), 0, mark(worker, round), 0, (uint32_t)WIDE) == OK);
  look_at_services(admin, kCommon, mark(worker, round), uid);
  if (round % 2 == 1) EXPECT(SLOT(services, 7, P(uid)) == OK);
  SLOT(services, 3, 0);
}

static void work(void* admin, int worker) {
  unit own[] = u"own 0", copy[] = u"copy 0";
  own[4] = copy[5] = (unit)(u'0' + worker);
  for (int round = 0; round < ROUNDS; ++round) {
    unit contested[] = u"contested 0";
    contested[10] = (unit)(u'A' + round);
    change_services(admin, worker, round);
    int32_t made = SLOT(admin, 6, P(contested), 0, (uint32_t)WIDE); /* one of all succeeds */
    EXPECT(made == OK || made == ACCESSDENIED);
    EXPECT(SLOT(admin, 9, P(kCommon), P(copy), (uint32_t)WIDE) == OK);
    EXPECT(look_at_services(admin, copy, 0, NULL) >= round / 2);
    EXPECT(SLOT(admin, 10, P(copy), P(own), (uint32_t)WIDE) == OK);
    EXPECT(SLOT(admin, 11, P(own), (uint32_t)WIDE) == OK && SLOT(admin, 11, P(kCommon), (uint32_t)WIDE) == OK);
    EXPECT(SLOT(admin, 7, P(own), (uint32_t)WIDE) == OK);
  }
}

static int count_profiles(void* admin, int* defaults) {
  void* table = NULL;
  row_set* rows = NULL;
  int count = 0;
  EXPECT(SLOT(admin, 5, (uint32_t)WIDE, P(&table)) == OK && SLOT(table, 11, 0, 0, 0) == OK);
  for (*defaults = 0; SLOT(table, 20, 1, 0, P(&rows)) == OK && rows->count == 1; ++count) {
    *defaults += rows->rows[0].values[1].v.i != 0;
    free_rows(rows);
  }
  free_rows(rows);
  SLOT(table, 3, 0);
  return count;
}

int main(int argc, char** argv) {
  int prepares = argc == 3 && strcmp(argv[2], "prepare") == 0;
  if (argc < 3 || !use_shared_hive(prepares)) return 2;
  void *library = load(argv[1]), *admin = NULL;
  if (library == NULL) return 2;
  *(void**)&admin_profiles = symbol(library, "UABAdminProfiles");
  *(void**)&free_rows = symbol(library, "UABFreeProws");
  EXPECT(admin_profiles(kKey, NULL, (uint32_t)WIDE, &admin, P(&record)) == OK);
  if (prepares) EXPECT(SLOT(admin, 6, P(kCommon), 0, (uint32_t)WIDE) == OK);
  if (argc == 4 && strcmp(argv[2], "work") == 0) work(admin, atoi(argv[3]));
  if (argc == 4 && strcmp(argv[2], "check") == 0) {
    int defaults = 0, workers = atoi(argv[3]);
    uint8_t uid[16];
    EXPECT(count_profiles(admin, &defaults) == 1 + ROUNDS && defaults == 1);
    EXPECT(look_at_services(admin, kCommon, 0, uid) == workers * ROUNDS / 2);
    for (int i = 0; i < workers; ++i) look_at_services(admin, kCommon, mark(i, ROUNDS - 2), uid);
  }
  SLOT(admin, 3, 0);
  unload(library);
  if (strcmp(argv[2], "check") == 0) remove_shared_hive();
  fprintf(stderr, "%s: %d not as expected\n", argv[2], record.failures); /* the output is another worker's input */
  return record.failures == 0 ? 0 : 1;
}
