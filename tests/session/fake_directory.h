// A directory of distribution lists, written as text, for the expansion's tests. Lists and entries are words:
//
//   ann        a user whose identifier is these bytes        @friends   a distribution list
//   ann:2      the same with a recipient type                ~          a user with an empty identifier
//   ?...       what a provider should not deliver: see BuildRow
#pragma once

#include <map>
#include <optional>
#include <string>

#include "frame/allocation_chain.h"
#include "keluab/tags.h"
#include "support/countdown.h"
#include "support/refusing_objects.h"

namespace uab {

struct AdrListPolicy {
  using Handle = ADRLIST*;
  static constexpr Handle kNone = nullptr;
  static void Close(Handle list) noexcept { UABFreePadrlist(list); }
};
using AdrListPtr = UniqueResource<AdrListPolicy>;

inline constexpr HRESULT kProviderFailure = static_cast<HRESULT>(0x80040F0Fu);

class FakeDirectory : public RefusingAddrBook {
 public:
  // One list's object and its table.
  struct List : RefusingContainer {
    struct Table : RefusingTable {
      HRESULT UAB_CALL SetColumns(SPropTagArray* tags, ULONG flags) override;
      HRESULT UAB_CALL SeekRow(BOOKMARK origin, LONG count, LONG* sought) override;
      HRESULT UAB_CALL QueryRows(LONG count, ULONG flags, SRowSet** rows) override;
      List* list = nullptr;
      std::size_t position = 0;
    };
    HRESULT UAB_CALL GetContentsTable(ULONG flags, IMAPITable** result) override;
    FakeDirectory* directory = nullptr;
    std::string members;  // words
    Table table;
    ULONG type = MAPI_DISTLIST;
  };

  explicit FakeDirectory(std::map<std::string, std::string> lists);

  HRESULT UAB_CALL OpenEntry(ULONG size, ENTRYID* entry, const IID* iid, ULONG flags, ULONG* type,
                             IUnknown** object) override;

  List& list(const std::string& name) { return lists_.at(name); }
  ULONG references_left() const;

  // Every call of a slot is counted; the refused one fails, or throws.
  void RefuseCall(std::uint32_t call) { calls_.emplace(call); }
  HRESULT Answer() const;
  bool refused() const { return calls_->refused() != 0; }
  bool throws = false;

 private:
  std::map<std::string, List> lists_;
  mutable std::optional<Countdown> calls_{std::in_place};
};

// The input of an expansion from words: PR_ENTRYID, PR_OBJECT_TYPE and, where one is given, PR_RECIPIENT_TYPE.
AdrListPtr MakeAdrList(const std::string& words);

// Its identifiers and recipient types as words; "null" for null.
std::string Words(const ADRLIST* list);

}  // namespace uab
