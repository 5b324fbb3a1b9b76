// Providers in memory for the address book's tests: each has a letter, which is every byte of its MAPIUID, a top-level
// container and containers below it, all named by words. What they are asked is logged; any call can be made to fail,
// to throw, or to succeed with nothing. The tests own them and see who still holds a reference.
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "frame/allocation_chain.h"
#include "keluab/tags.h"
#include "support/countdown.h"
#include "support/refusing_objects.h"

namespace uab {

inline constexpr HRESULT kProviderFailure = static_cast<HRESULT>(0x80040F0Fu);

// An identifier of a provider: four flag bytes, the MAPIUID, then the name.
std::string IdOf(char letter, const std::string& name = "");
std::string Bytes(const void* bytes, std::size_t size);

// What the fakes of one test share.
struct ProviderCalls {
  // Logs a call. True: it has to fail, or it throws.
  bool Fails(const std::string& call);
  HRESULT Answer(const std::string& call) { return Fails(call) ? kProviderFailure : S_OK; }

  std::vector<std::string> log;
  Countdown* countdown = nullptr;
  bool throws = false;
  bool stores_nothing = false;  // success without a result
  // Spoils what is handed out of containers, value by value.
  std::function<void(SPropValue* values, ULONG* count)> spoil;
};

struct ScriptedProvider;

struct ScriptedContainer : RefusingABContainer {
  struct Table : RefusingTable {
    HRESULT UAB_CALL SetColumns(SPropTagArray* tags, ULONG flags) override;
    HRESULT UAB_CALL SeekRow(BOOKMARK origin, LONG count, LONG* sought) override;
    HRESULT UAB_CALL QueryRows(LONG count, ULONG flags, SRowSet** rows) override;
    ScriptedProvider* provider = nullptr;
    std::size_t position = 0;
    std::vector<ULONG> columns;
  };

  ScriptedContainer(ScriptedProvider& owner, std::string its_name, ULONG its_flags, LONG its_depth)
      : provider(&owner), name(std::move(its_name)), flags(its_flags), depth(its_depth) {
    table.provider = &owner;
  }
  HRESULT UAB_CALL GetProps(SPropTagArray* tags, ULONG flags, ULONG* count, SPropValue** values) override;
  HRESULT UAB_CALL GetHierarchyTable(ULONG flags, IMAPITable** result) override;
  HRESULT UAB_CALL DeleteEntries(ENTRYLIST* entries, ULONG flags) override;
  // Values for the tags as a head block.
  HRESULT Read(const ULONG* tags, ULONG tag_count, ULONG* count, SPropValue** values) const;

  ScriptedProvider* provider;
  std::string name;
  ULONG flags;
  LONG depth;
  ULONG type = MAPI_ABCONT;
  IUnknown* alias = nullptr;  // opened in its place
  Table table;
};

struct ScriptedProvider : RefusingAddrBook {
  ScriptedProvider(ProviderCalls& its_calls, char its_letter) : calls(&its_calls), letter(its_letter) {}
  void Add(const std::string& name, ULONG flags, LONG depth = 0) { containers.emplace_back(*this, name, flags, depth); }

  HRESULT UAB_CALL GetProps(SPropTagArray* tags, ULONG flags, ULONG* count, SPropValue** values) override;
  HRESULT UAB_CALL OpenEntry(ULONG size, ENTRYID* entry, const IID* iid, ULONG flags, ULONG* object_type,
                             IUnknown** object) override;
  HRESULT UAB_CALL Advise(ULONG size, ENTRYID* entry, ULONG mask, IMAPIAdviseSink* sink, ULONG* connection) override;
  HRESULT UAB_CALL Unadvise(ULONG connection) override;
  HRESULT UAB_CALL NewEntry(ULONG_PTR ui, ULONG flags, ULONG container_size, ENTRYID* container, ULONG template_size,
                            ENTRYID* entry_template, ULONG* size, ENTRYID** entry) override;
  HRESULT UAB_CALL Details(ULONG_PTR* ui, DismissModelessFunction dismiss, void* dismiss_context, ULONG size,
                           ENTRYID* entry, DetailsButtonFunction button, void* button_context, WCHAR* text,
                           ULONG flags) override;
  HRESULT UAB_CALL PrepareRecips(ULONG flags, SPropTagArray* tags, ADRLIST* list) override;

  bool Fails(const std::string& call) { return calls->Fails(letter + ("." + call)); }
  ULONG references_left() const;

  ProviderCalls* calls;
  char letter;
  std::deque<ScriptedContainer> containers;  // the first is the top level
  ULONG next_connection = 70;
  std::function<void()> on_call;           // during Advise and Unadvise
  std::function<void(ADRLIST*)> complete;  // during PrepareRecips
};

}  // namespace uab
