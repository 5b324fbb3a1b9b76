// keluab watch: what the provider of an entry tells of changes to it.
#include <chrono>
#include <iostream>
#include <thread>

#include "commands.h"
#include "entries.h"
#include "failure.h"
#include "keluab/objects.h"
#include "library.h"
#include "values.h"

namespace host {
using namespace uab;

namespace {

// Prints each notification as it comes.
class PrintingSink final : public Counted<IMAPIAdviseSink, IID_IMAPIAdviseSink> {
 public:
  explicit PrintingSink(Context& context) : context_(context) {}

  ULONG UAB_CALL OnNotify(ULONG count, NOTIFICATION* notifications) override {
    for (ULONG i = 0; i < count; ++i) Print(notifications[i]);
    return 0;
  }

 private:
  void Print(const NOTIFICATION& notification) {
    const OBJECT_NOTIFICATION& object = notification.info.obj;
    const char* event = notification.ulEventType == fnevObjectCreated   ? "created"
                        : notification.ulEventType == fnevObjectDeleted ? "deleted"
                                                                        : "changed";
    std::string id = ToHex(object.lpEntryID, object.lpEntryID != nullptr ? object.cbEntryID : 0);
    if (context_.output.json) {
      std::cout << Json{{"event", event}, {"kind", TypeName(object.ulObjType)}, {"id", id}}.dump() << std::endl;
    } else {
      std::cout << event << " " << TypeName(object.ulObjType) << " " << id << std::endl;
    }
  }

  Context& context_;
};

}  // namespace

void WatchEntry(Context& context, const WatchOptions& options) {
  Library library(context.app_key);
  Session session(library, context.profile);
  Entry entry = FindEntry(session.book(), options.entry);
  Com<PrintingSink> sink(new PrintingSink(context));
  ULONG connection = 0;
  Check(session.book()->Advise(IdSize(entry.id), IdPointer(entry.id),
                               fnevObjectCreated | fnevObjectDeleted | fnevObjectModified, sink.get(), &connection),
        "watch '" + options.entry + "'");
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(options.seconds);
  while (std::chrono::steady_clock::now() < end) {
    // A provider over files looks whether others have changed them when it is asked for what they hold.
    if (entry.type == MAPI_ABCONT || entry.type == MAPI_DISTLIST) OpenContents(session.book(), entry.id);
    std::this_thread::sleep_for(std::chrono::milliseconds(250));
  }
  Check(session.book()->Unadvise(connection), "end the watch");
}

}  // namespace host
