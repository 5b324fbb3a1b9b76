#include "session/logon_fixture.h"

namespace uab {

AdrListPtr ListOf(int number) {
  StagedId id(number, StagedId::kList);
  ChainPtr<SPropValue> values;
  ChainPtr<ADRLIST> list;
  if (Failed(AllocateInto(values, 3 * sizeof(SPropValue))) || Failed(AllocateInto(list, RowSetSize(1)))) return {};
  values.Get()[0] = {PR_OBJECT_TYPE, 0, {}};
  values.Get()[0].Value.ul = MAPI_DISTLIST;
  values.Get()[1] = {PR_RECIPIENT_TYPE, 0, {}};
  values.Get()[1].Value.ul = MAPI_CC;
  values.Get()[2] = {PR_ENTRYID, 0, {}};
  SBinary& entry = values.Get()[2].Value.bin;
  if (Failed(AllocateLinkedInto(entry.lpb, sizeof(id), values.Get()))) return {};
  std::memcpy(entry.lpb, &id, sizeof(id));
  entry.cb = sizeof(id);
  list->aEntries[list->cEntries++] = {0, 3, values.Detach()};
  return AdrListPtr(list.Detach());
}

HRESULT Expand(IUABSession& session, AdrListPtr& list) {
  ADRLIST* raw = list.Detach();
  HRESULT hr = session.ExpandDistLists(0, &raw);
  list.Reset(raw);
  return hr;
}

}  // namespace uab
