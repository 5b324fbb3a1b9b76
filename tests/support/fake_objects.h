// What a FakeProvider hands out: entries and tables, each of them counted.
#pragma once

#include "support/fake_provider.h"

namespace uab {

// A user, list or container, by the entry's type: its QueryInterface accepts what the type has. One class, so that a
// wrong cast is found by the test and not by the stack.
class FakeObject final : public RefusingProp<Refusing<IABContainer>> {
 public:
  FakeObject(FakeProvider& provider, FakeEntryPtr entry, FakeEntryPtr parent = nullptr);
  ~FakeObject();

  HRESULT UAB_CALL QueryInterface(const IID& iid, void** object) override;
  ULONG UAB_CALL Release() override;
  HRESULT UAB_CALL SaveChanges(ULONG flags) override;
  HRESULT UAB_CALL GetProps(SPropTagArray* tags, ULONG flags, ULONG* count, SPropValue** values) override;
  HRESULT UAB_CALL GetPropList(ULONG flags, SPropTagArray** tags) override;
  HRESULT UAB_CALL OpenProperty(ULONG tag, const IID* iid, ULONG options, ULONG flags, IUnknown** object) override;
  HRESULT UAB_CALL SetProps(ULONG count, SPropValue* values, SPropProblemArray** problems) override;
  HRESULT UAB_CALL GetContentsTable(ULONG flags, IMAPITable** table) override;
  HRESULT UAB_CALL GetHierarchyTable(ULONG flags, IMAPITable** table) override;
  HRESULT UAB_CALL OpenEntry(ULONG size, ENTRYID* entry, const IID* iid, ULONG flags, ULONG* type,
                             IUnknown** object) override;
  HRESULT UAB_CALL SetSearchCriteria(SRestriction*, ENTRYLIST*, ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL GetSearchCriteria(ULONG, SRestriction**, ENTRYLIST**, ULONG*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL CreateEntry(ULONG size, ENTRYID* entry, ULONG flags, IMAPIProp** object) override;
  HRESULT UAB_CALL CopyEntries(ENTRYLIST* entries, ULONG_PTR ui, IMAPIProgress* progress, ULONG flags) override;
  HRESULT UAB_CALL DeleteEntries(ENTRYLIST* entries, ULONG flags) override;
  HRESULT UAB_CALL ResolveNames(SPropTagArray*, ULONG, ADRLIST*, FLAGLIST*) override { return MAPI_E_NO_SUPPORT; }

 private:
  FakeProvider& provider_;
  FakeEntryPtr entry_;
  FakeEntryPtr parent_;  // of a new entry that is not saved yet
};

// The entries of some identifiers, as they stand when the table is made. A row of an unknown one is a PR_ENTRYID alone.
// A new table stands at its end, where an earlier reader may have left it.
class FakeTable final : public RefusingTable<Refusing<IMAPITable>> {
 public:
  FakeTable(FakeProvider& provider, const std::vector<std::string>& ids);
  ~FakeTable();

  ULONG UAB_CALL Release() override;
  HRESULT UAB_CALL SetColumns(SPropTagArray* tags, ULONG flags) override;
  HRESULT UAB_CALL SeekRow(BOOKMARK origin, LONG count, LONG* sought) override;
  HRESULT UAB_CALL QueryRows(LONG count, ULONG flags, SRowSet** rows) override;

 private:
  FakeProvider& provider_;
  std::vector<std::string> ids_;
  std::vector<ULONG> columns_;  // count, then tags: an SPropTagArray
  std::size_t position_;
};

}  // namespace uab
