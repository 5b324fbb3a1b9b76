/* Loads the library, logs on on two threads, lets a provider throw, and unloads, again and again: nothing may stay
 * behind in the process. Arguments: the library's path and the number of rounds. */
#include <stdio.h>
#include <stdlib.h>

#include "abi.h"
#include "system.h"

static shared_record record;
#define EXPECT(condition) CHECK(&record, condition)

enum { KINDS = 4, WARM = 5 };
static const char* const kKinds[KINDS] = {"bytes", "mappings or indices", "indices with a callback",
                                          "descriptors or handles"};
static unit kKey[] = u"other compiler";
static unit *const kProfiles[2] = {u"Pr\u00E9fi\u0142", u"Throws"}, *const kServiceNames[2] = {u"Other", u"Throwing"};
static void* library;

static THREAD_RESULT log_on(void* unused) {
  int32_t (*open_session)(unit*, void*, any, unit*, uint32_t, void*, void*, void*, void**, void**, any);
  *(void**)&open_session = symbol(library, "UABOpen");
  for (int i = 0; i < 2; ++i) {
    void *book = NULL, *session = NULL;
    EXPECT(open_session(kKey, NULL, 0, kProfiles[i], 0x80000000u, NULL, NULL, NULL, &book, &session, P(&record)) ==
           (i == 0 ? OK : FAIL));
    if (session != NULL) SLOT(session, 3, 0);
    if (book != NULL) SLOT(book, 3, 0);
  }
  (void)unused;
  return 0;
}

static void make_profiles(void) {
  int32_t (*admin_profiles)(unit*, void*, uint32_t, void**, any);
  void *admin = NULL, *services = NULL;
  *(void**)&admin_profiles = symbol(library, "UABAdminProfiles");
  EXPECT(admin_profiles(kKey, NULL, 0x80000000u, &admin, P(&record)) == OK);
  for (int i = 0; i < 2; ++i) {
    EXPECT(SLOT(admin, 6, P(kProfiles[i]), 0, 0x80000000u) == OK);
    EXPECT(SLOT(admin, 12, P(kProfiles[i]), 0x80000000u, P(&services)) == OK);
    EXPECT(SLOT(services, 6, P(kServiceNames[i]), P(kServiceNames[i]), 0, 0, 0, 0x80000000u) == OK);
    SLOT(services, 3, 0);
  }
  SLOT(admin, 3, 0);
}

int main(int argc, char** argv) {
  if (argc != 3 || !use_fresh_hive()) return 2;
  size_t warm[KINDS], counts[KINDS];
  for (int round = 0, rounds = atoi(argv[2]); round < rounds && record.failures == 0; ++round) {
    library = load(argv[1]);
    if (library == NULL) return 2;
    if (round == 0) make_profiles();
    log_on(NULL);
    EXPECT(run_thread(log_on));
    unload(library);
    count_what_is_held(round == WARM ? warm : counts);
  }
  for (int i = 0; i < KINDS; ++i) { /* less than one of anything a round: the heap's own ups and downs */
    const size_t allowed = warm[i] + (size_t)(atoi(argv[2]) - 1 - WARM);
    if (counts[i] >= allowed) printf("%s: %zu, then %zu\n", kKinds[i], warm[i], counts[i]);
    EXPECT(counts[i] < allowed);
  }
  EXPECT(record.opened > 0 && record.released == record.opened);
  remove_hive();
  return record.failures == 0 ? 0 : 1;
}
