// A provider in memory: a store of entries behind an object with the slots of IAddrBook, as ABProviderOpen hands one
// out. The test owns it and fills the store; the objects and tables that it hands out are counted in live_objects. Any
// of its calls can be done badly, in each of the ways in which providers go wrong. Calls may come from any thread while
// the store is only read.
//
//   FakeProvider provider('A');
//   provider.AddUser("ann");
//   provider.AddList("team", {"ann", "ann", "team"});
//   provider.AddContainer("people", {"ann", "team"});
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
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

// The calls of the providers of one test, counted together.
class FakeCalls {
 public:
  // Call number `call` from now on, or it and all after it, is done badly; 0: none.
  void DoBadly(std::uint32_t call, Misdeed misdeed = Misdeed::kFails, bool lasting = false);
  std::uint32_t made() const { return countdown_->requests(); }
  bool misbehaved() const { return countdown_->refused() != 0; }
  std::vector<std::string> TakeLog() { return std::exchange(log_, {}); }  // "A.OpenEntry ann", ...

  bool logs = false;
  bool endless = false;    // tables repeat their row
  LONG surplus_rows = 0;   // that are delivered above what was asked for
  ULONG claimed_rows = 0;  // that a row set says it has; 0: the truth
  // Spoils what is handed out of the entry with this name.
  std::function<void(const std::string& name, SPropValue*& values, ULONG& count)> spoil;

 private:
  friend class FakeProvider;
  void Log(std::string&& call);
  bool Refuses();

  std::mutex mutex_;
  std::optional<Countdown> countdown_{std::in_place};
  Misdeed misdeed_ = Misdeed::kFails;
  std::vector<std::string> log_;
};

// One entry of the store. Identifiers are byte strings.
struct FakeEntry {
  ULONG type = 0;  // PR_OBJECT_TYPE; 0: OpenEntry stores none
  std::string name;
  PropList props;
  std::vector<std::string> members;            // of a list or container
  std::unordered_set<std::string> member_ids;  // the same
  std::vector<std::string> children;           // containers below
  std::vector<std::string> templates;          // the rows of PR_CREATE_TEMPLATES
  ULONG links = 0;                             // identifiers given to CopyEntries
  IUnknown* stand_in = nullptr;                // opened in its place
};
using FakeEntryPtr = std::shared_ptr<FakeEntry>;

// Four flag bytes, the MAPIUID that is this letter all over, then the name.
std::string FakeId(char letter, std::string_view name = "");

class FakeProvider : public RefusingAddrBook<RefusingProp<Refusing<IAddrBook>>> {
 public:
  // Providers that share calls are counted and made to misbehave together.
  explicit FakeProvider(char letter, std::string_view root_name = "root",
                        std::shared_ptr<FakeCalls> calls = std::make_shared<FakeCalls>());

  // The store. Names become identifiers with Id. Members need not exist.
  std::string Id(std::string_view name) const { return FakeId(letter, name); }
  FakeEntry& AddUser(std::string_view name) { return Add(name, MAPI_MAILUSER, {}); }
  FakeEntry& AddList(std::string_view name, const std::vector<std::string_view>& members = {}) {
    return Add(name, MAPI_DISTLIST, members);
  }
  FakeEntry& AddContainer(std::string_view name, const std::vector<std::string_view>& members = {}) {
    return Add(name, MAPI_ABCONT, members);
  }
  FakeEntry& AddChild(std::string_view name, ULONG flags);  // a container below the top-level one
  void SetFlags(std::string_view name, ULONG flags);        // PR_CONTAINER_FLAGS
  void AddMember(FakeEntry& entry, const std::string& id);
  void AddForeignMember(FakeEntry& entry, const FakeProvider& other, std::string_view name);
  // A template of users (DT_MAILUSER) or lists: a row of the entry's PR_CREATE_TEMPLATES.
  void AddTemplate(FakeEntry& entry, std::string_view name, ULONG display_type);
  // The same as PR_DEF_CREATE_MAILUSER and PR_DEF_CREATE_DL of the entry.
  void SetTemplates(FakeEntry& entry, bool users, bool lists);
  FakeEntry& At(std::string_view name) { return *store_.at(Id(name)); }
  FakeEntryPtr Find(const std::string& id) const;
  std::size_t size() const { return store_.size(); }
  void DropNewEntries();                                     // those that CreateEntry made
  FakeEntry& root() { return *root_; }                       // the top-level container; what GetProps tells of
  FakeEntryPtr Save(FakeEntry* parent, FakeEntryPtr entry);  // gives a new entry its identifier and its place

  // Opens an entry as the library would, without counting a call.
  ComPtr<IABContainer> Open(std::string_view name);
  // References that others hold, to the provider and to what it has handed out.
  ULONG held() const { return references + static_cast<ULONG>(live_objects); }

  void DoBadly(std::uint32_t call, Misdeed misdeed, bool lasting = false) { calls->DoBadly(call, misdeed, lasting); }
  bool misbehaved() const { return calls->misbehaved(); }

  // For its objects: what to do in a call.
  struct Turn {
    bool stop;       // answer with result at once
    HRESULT result;  // S_OK while not stopped
    bool fewer, other_types;
  };
  Turn Enter(const char* slot, const std::string& detail = {});
  // What GetProps and QueryRows answer: the listed properties, or all, in the turn's manner.
  HRESULT AnswerValues(const Turn& turn, const PropList& props, const std::string& name, const SPropTagArray* tags,
                       ULONG* count, SPropValue** values);

  HRESULT UAB_CALL QueryInterface(const IID& iid, void** object) override;
  ULONG UAB_CALL Release() override;  // the last one is logged, but not counted
  HRESULT UAB_CALL GetProps(SPropTagArray* tags, ULONG flags, ULONG* count, SPropValue** values) override;
  HRESULT UAB_CALL OpenEntry(ULONG size, ENTRYID* entry, const IID* iid, ULONG flags, ULONG* type,
                             IUnknown** object) override;
  // Connections count from 100, and are written with 64 bits.
  HRESULT UAB_CALL Advise(ULONG size, ENTRYID* entry, ULONG mask, IMAPIAdviseSink* sink, ULONG* connection) override;
  HRESULT UAB_CALL Unadvise(ULONG connection) override;
  HRESULT UAB_CALL NewEntry(ULONG_PTR ui, ULONG flags, ULONG container_size, ENTRYID* container, ULONG template_size,
                            ENTRYID* entry_template, ULONG* size, ENTRYID** entry) override;
  HRESULT UAB_CALL Details(ULONG_PTR* ui, DismissModelessFunction dismiss, void* dismiss_context, ULONG size,
                           ENTRYID* entry, DetailsButtonFunction button, void* button_context, WCHAR* button_text,
                           ULONG flags) override;
  HRESULT UAB_CALL PrepareRecips(ULONG flags, SPropTagArray* tags, ADRLIST* list) override;

  const char letter;
  MAPIUID uid;
  const std::shared_ptr<FakeCalls> calls;
  std::atomic<int> live_objects = 0;
  HRESULT set_result = S_OK;  // of SetProps that went well
  bool bare_lists = false;    // GetPropList of a list: PR_CONTAINER_CONTENTS alone
  // Runs in each call before anything else, in the last Release, and as "ReleaseObject" in those of what it handed out:
  // to call back into the library.
  std::function<void(std::string_view slot)> on_call;
  std::function<void(ADRLIST*)> complete;  // what PrepareRecips does, also when it then fails

 private:
  FakeEntry& Add(std::string_view name, ULONG type, const std::vector<std::string_view>& members);

  std::unordered_map<std::string, FakeEntryPtr> store_;
  FakeEntryPtr root_;
  ULONG saved_ = 0;  // entries that got an identifier
  std::atomic<ULONG> next_connection_ = 100;
};

}  // namespace uab
