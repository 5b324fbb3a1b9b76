// keluab copy: entries and whole lists from one container to another, through the providers and the library's copy
// engine.

#include "commands.h"
#include "entries.h"
#include "failure.h"
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

void CopyEntry(IAddrBook* book, IABContainer* container, const Entry& entry) {
  Com<IMAPIProp> source = OpenProps(book, entry.id, 0, "'" + entry.name + "'");
  static constexpr TagArray<2> kTags = {2, {PR_OBJECT_TYPE, PR_DISPLAY_NAME_W}};
  Properties properties;
  Check(properties.Read(source.get(), kTags.address()), "read '" + entry.name + "'");
  ULONG type = NumberOf(properties[0], PR_OBJECT_TYPE);
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
  Check(source->CopyTo(0, nullptr, nullptr, 0, nullptr, &iid, created.get(), MAPI_UNICODE, nullptr),
        "copy '" + entry.name + "'");
  Check(created->SaveChanges(KEEP_OPEN_READWRITE), "save the copy of '" + entry.name + "'");
}

}  // namespace

void CopyEntries(Context& context, const CopyOptions& options) {
  Library library(context.app_key);
  Session session(library, context.profile);
  Container target = FindContainer(session.book(), options.target);
  Com<IABContainer> container = OpenContainer(session.book(), target.id, "'" + options.target + "'");
  std::size_t done = 0;
  for (const std::string& reference : options.entries) {
    context.output.Progress("Copying " + std::to_string(++done) + " of " + std::to_string(options.entries.size()) +
                            ": " + reference);
    CopyEntry(session.book(), container.get(), FindEntry(session.book(), reference));
  }
  context.output.EndProgress();
  context.output.PrintDone("Copied " + std::to_string(done) + (done == 1 ? " entry" : " entries") + " to '" +
                           target.path + "'.");
}

}  // namespace host
