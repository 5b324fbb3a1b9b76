// A provider in memory: a store of entries behind an object with the slots of IAddrBook, in ABProviderOpen's sense. The
// test owns it and fills the store; the objects and tables that it hands out are counted in live_objects. It counts its
// calls, and can be told to do the n-th one badly, in each of the ways in which providers go wrong.
//
//   FakeProvider provider(7);
//   provider.AddUser("ann");
//   provider.AddList("team", {"ann", "ann", "team"});
//   provider.AddContainer("people", {"ann", "team"});
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "keluab/tags.h"
#include "platform/com_ptr.h"
#include "props/prop_list.h"
#include "support/countdown.h"
#include "support/refusing_objects.h"

namespace uab {

inline constexpr HRESULT kFakeFailure = static_cast<HRESULT>(0x80040FAEu);

// What a provider does instead of what it was called for.
enum class Misdeed {
  kFails,       // answers with kFakeFailure
  kThrows,      // throws an int
  kNothing,     // answers S_OK and stores null, or nothing
  kFewer,       // answers S_OK with no values, or a row without columns
  kOtherTypes,  // answers S_OK with a string in the place of every value
};
inline constexpr Misdeed kMisdeeds[] = {Misdeed::kFails, Misdeed::kThrows, Misdeed::kNothing, Misdeed::kFewer,
                                        Misdeed::kOtherTypes};

// One entry of the store. Identifiers are byte strings.
struct FakeEntry {
  ULONG type = 0;  // PR_OBJECT_TYPE
  PropList props;
  std::vector<std::string> members;            // of a list or container
  std::unordered_set<std::string> member_ids;  // the same
  std::vector<std::string> children;           // containers below
  std::vector<std::string> templates;          // the rows of PR_CREATE_TEMPLATES
  std::vector<std::string> deleted;            // what DeleteEntries was asked for, in that order
  ULONG links = 0;                             // identifiers given to CopyEntries
};
using FakeEntryPtr = std::shared_ptr<FakeEntry>;

class FakeProvider : public RefusingAddrBook {
 public:
  explicit FakeProvider(BYTE number);  // every byte of its MAPIUID
  ~FakeProvider();

  // The store. Names become identifiers with Id. Members need not exist.
  std::string Id(std::string_view name) const;
  FakeEntry& AddUser(std::string_view name);
  FakeEntry& AddList(std::string_view name, const std::vector<std::string_view>& members = {});
  FakeEntry& AddContainer(std::string_view name, const std::vector<std::string_view>& members = {});
  void AddMember(FakeEntry& entry, const std::string& id);
  // A template of users (DT_MAILUSER) or lists: a row of the entry's PR_CREATE_TEMPLATES.
  void AddTemplate(FakeEntry& entry, std::string_view name, ULONG display_type);
  // The same as PR_DEF_CREATE_MAILUSER and PR_DEF_CREATE_DL of the entry.
  void SetTemplates(FakeEntry& entry, bool users, bool lists);
  FakeEntry& At(std::string_view name) { return *store_.at(Id(name)); }
  FakeEntryPtr Find(const std::string& id) const;
  std::size_t size() const { return store_.size(); }
  void DropNewEntries();  // those that CreateEntry and NewEntry made
  FakeEntry& root() { return *root_; }  // the top-level container; what GetProps tells of

  // Opens an entry as the library would, without counting a call.
  ComPtr<IABContainer> Open(std::string_view name);

  // Every call of a slot of the provider and its objects is counted, and call number `call` done badly.
  void DoBadly(std::uint32_t call, Misdeed misdeed, bool lasting = false);
  std::uint32_t calls() const { return calls_->requests(); }
  bool misbehaved() const { return calls_->refused() != 0; }
  // Runs in each call before anything else, with the slot's name: to call back into the library.
  std::function<void(const char* slot)> on_call;

  // For its objects: what to do in a call.
  struct Turn {
    bool stop;       // answer with result at once
    HRESULT result;  // S_OK while not stopped
    bool fewer, other_types;
  };
  Turn Enter(const char* slot);
  FakeEntryPtr Save(FakeEntry* parent, FakeEntryPtr entry);  // gives a new entry its identifier and its place

  HRESULT UAB_CALL QueryInterface(const IID& iid, void** object) override;
  HRESULT UAB_CALL GetProps(SPropTagArray* tags, ULONG flags, ULONG* count, SPropValue** values) override;
  HRESULT UAB_CALL OpenEntry(ULONG size, ENTRYID* entry, const IID* iid, ULONG flags, ULONG* type,
                             IUnknown** object) override;
  HRESULT UAB_CALL Advise(ULONG size, ENTRYID* entry, ULONG mask, IMAPIAdviseSink* sink, ULONG* connection) override;
  HRESULT UAB_CALL Unadvise(ULONG connection) override;
  HRESULT UAB_CALL NewEntry(ULONG_PTR ui, ULONG flags, ULONG container_size, ENTRYID* container, ULONG template_size,
                            ENTRYID* entry_template, ULONG* size, ENTRYID** entry) override;
  HRESULT UAB_CALL Details(ULONG_PTR* ui, DismissModelessFunction dismiss, void* dismiss_context, ULONG size,
                           ENTRYID* entry, DetailsButtonFunction button, void* button_context, WCHAR* button_text,
                           ULONG flags) override;
  // Merges what the store knows into each entry, and notes their number.
  HRESULT UAB_CALL PrepareRecips(ULONG flags, SPropTagArray* tags, ADRLIST* list) override;

  MAPIUID uid;
  int live_objects = 0;
  std::map<ULONG, ComPtr<IMAPIAdviseSink>> sinks;  // by connection, which count from 100
  bool bare_lists = false;                         // GetPropList of a list: PR_CONTAINER_CONTENTS alone
  bool wide_connections = false;                   // Advise writes 8 bytes
  std::vector<ULONG> prepared;                     // the sizes of the lists given to PrepareRecips
  std::vector<std::string> shown;                  // the identifiers given to Details

 private:
  FakeEntry& Add(const std::string& id, ULONG type, const std::vector<std::string_view>& members);

  std::unordered_map<std::string, FakeEntryPtr> store_;
  FakeEntryPtr root_;
  std::unique_ptr<Countdown> calls_;
  Misdeed misdeed_ = Misdeed::kFails;
  ULONG saved_ = 0;  // entries that got an identifier
  ULONG next_connection_ = 100;
};

// What GetProps and QueryRows of a fake answer: the listed properties of a list, or all; in the turn's manner.
HRESULT AnswerValues(const FakeProvider::Turn& turn, const PropList& props, const SPropTagArray* tags, ULONG* count,
                     SPropValue** values);

}  // namespace uab
