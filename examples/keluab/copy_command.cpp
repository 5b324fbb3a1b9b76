// keluab copy: entries and whole lists from one container to another, through the providers and the library's copy
// engine.
#include <chrono>
#include <mutex>

#include "commands.h"
#include "entries.h"
#include "failure.h"
#include "keluab/objects.h"
#include "library.h"
#include "values.h"

namespace host {
using namespace uab;

namespace {

// The template from which the container makes an entry of this type. Throws a Failure when it has none.
std::string TemplateFor(IABContainer* container, ULONG type) {
  TagArray<1> tags = {1, {type == MAPI_DISTLIST ? PR_DEF_CREATE_DL : PR_DEF_CREATE_MAILUSER}};
  Properties properties;
  Check(properties.Read(container, tags.address()), "read what the container can create");
  std::string id = properties.count() == 1 ? BytesOf(properties[0], tags.aulPropTag[0]) : std::string();
  if (id.empty()) throw Failure(kExitFailed, "The container can't take " + std::string(TypeName(type)) + "s.");
  return id;
}

// The progress line. The copy engine copies a list in one call and tells nothing meanwhile, but the provider of the
// target tells its watchers of each entry that it makes.
class Progress final : public Counted<IMAPIAdviseSink, IID_IMAPIAdviseSink> {
 public:
  explicit Progress(const Output& output) : output_(output) {}
  ~Progress() override { output_.EndProgress(); }

  void Begin(const std::string& line) {
    std::lock_guard lock(mutex_);
    line_ = line;
    made_ = 0;
    output_.Progress(line_);
  }

  ULONG UAB_CALL OnNotify(ULONG count, NOTIFICATION* notifications) noexcept override {
    std::lock_guard lock(mutex_);
    for (ULONG i = 0; i < count; ++i) made_ += notifications[i].ulEventType == fnevObjectCreated ? 1 : 0;
    const auto now = std::chrono::steady_clock::now();
    if (now - shown_ < std::chrono::milliseconds(100)) return 0;
    shown_ = now;
    try {
      output_.Progress(line_ + ", " + std::to_string(made_) + " made");
    } catch (const std::exception&) {  // a line that isn't shown is no reason to stop
    }
    return 0;
  }

 private:
  const Output& output_;
  std::mutex mutex_;
  std::string line_;
  std::size_t made_ = 0;
  std::chrono::steady_clock::time_point shown_;
};

// Watches the container for as long as it lives, where its provider offers that.
class Watch {
 public:
  Watch(IAddrBook* book, const std::string& container, IMAPIAdviseSink* sink) : book_(book) {
    book->Advise(IdSize(container), IdPointer(container), fnevObjectCreated, sink, &connection_);
  }
  ~Watch() {
    if (connection_ != 0) book_->Unadvise(connection_);
  }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

 private:
  IAddrBook* const book_;
  ULONG connection_ = 0;  // also where the provider refuses
};

// Takes an entry out again whose copying failed; members that were copied for a list stay.
void Remove(IABContainer* container, IMAPIProp* created) {
  static constexpr TagArray<1> kTags = {1, {PR_ENTRYID}};
  Properties properties;
  if (Failed(properties.Read(created, kTags.address())) || properties[0].ulPropTag != PR_ENTRYID) return;
  SBinary id = properties[0].Value.bin;
  ENTRYLIST one = {1, &id};
  container->DeleteEntries(&one, 0);
}

void CopyEntry(IAddrBook* book, IABContainer* container, const Entry& entry) {
  Com<IMAPIProp> source = OpenProps(book, entry.id, 0, "'" + entry.name + "'");
  static constexpr TagArray<2> kTags = {2, {PR_OBJECT_TYPE, PR_DISPLAY_NAME_W}};
  Properties properties;
  Check(properties.Read(source.get(), kTags.address()), "read '" + entry.name + "'");
  ULONG type = NumberOf(properties[0], PR_OBJECT_TYPE);
  if (type != MAPI_MAILUSER && type != MAPI_DISTLIST) {
    throw Failure(kExitUsage, "'" + entry.name + "' is a container: name the entries to copy, as 'find' prints them.");
  }
  std::string entry_template = TemplateFor(container, type);
  Com<IMAPIProp> created;
  Check(container->CreateEntry(IdSize(entry_template), IdPointer(entry_template), 0, created.Put()), "create an entry");
  // A new entry has its identifier, which the engine tells copies apart by, from its first saving on.
  WideText name = ToWide(TextOf(properties[1], PR_DISPLAY_NAME_W));
  SPropValue display_name{};
  display_name.ulPropTag = PR_DISPLAY_NAME_W;
  display_name.Value.lpszW = name.data();
  Check(created->SetProps(1, &display_name, nullptr), "name the copy of '" + entry.name + "'");
  Check(created->SaveChanges(KEEP_OPEN_READWRITE), "save a new entry");
  const IID& iid = type == MAPI_DISTLIST ? IID_IDistList : IID_IMailUser;
  HRESULT hr = source->CopyTo(0, nullptr, nullptr, 0, nullptr, &iid, created.get(), MAPI_UNICODE, nullptr);
  if (Succeeded(hr)) hr = created->SaveChanges(KEEP_OPEN_READWRITE);
  if (Failed(hr)) Remove(container, created.get());
  Check(hr, "copy '" + entry.name + "'");
}

}  // namespace

void CopyEntries(Context& context, const CopyOptions& options) {
  Library library(context.app_key);
  Session session(library, context.profile);
  Container target = FindContainer(session.book(), options.target);
  Com<IABContainer> container = OpenContainer(session.book(), target.id, "'" + options.target + "'");
  std::size_t done = 0;
  {
    Com<Progress> progress(new Progress(context.output));
    Watch watch(session.book(), target.id, progress.get());
    for (const std::string& reference : options.entries) {
      progress->Begin("Copying " + std::to_string(++done) + " of " + std::to_string(options.entries.size()) + ": " +
                      reference);
      CopyEntry(session.book(), container.get(), FindEntry(session.book(), reference));
    }
  }
  context.output.PrintDone("Copied " + std::to_string(done) + (done == 1 ? " entry" : " entries") + " to '" +
                           target.path + "'.");
}

}  // namespace host
