#include "props/creation_templates.h"

#include "props/called_objects.h"
#include "props/prop_values.h"

namespace uab {
namespace {

constexpr TagArray<3> kColumns = {3, {PR_ADDRTYPE_W, PR_DISPLAY_TYPE, PR_ENTRYID}};

HRESULT Keep(ChainPtr<SBinary>& kept, const SBinary& id) noexcept {
  return DupBinary(kept.Put(), &id) ? S_OK : E_OUTOFMEMORY;
}

// A row without a type or an identifier is passed over.
HRESULT ConsiderRow(const SRow& row, CreationTemplates& templates) noexcept {
  if (row.lpProps == nullptr) return S_OK;
  const SPropValue* type = FindProp(row.lpProps, row.cValues, PR_DISPLAY_TYPE);
  const SPropValue* id = FindProp(row.lpProps, row.cValues, PR_ENTRYID);
  if (type == nullptr || id == nullptr || BytesOf(id->Value.bin).empty()) return S_OK;
  switch (type->Value.ul) {
    case DT_MAILUSER:
      return Keep(templates.user, id->Value.bin);
    case DT_DISTLIST:
    case DT_PRIVATE_DISTLIST:
      return templates.list ? S_OK : Keep(templates.list, id->Value.bin);
    default:
      return S_OK;
  }
}

// A row that can't be read ends the table.
HRESULT SearchTable(IMAPIProp* destination, CreationTemplates& templates) noexcept {
  ComPtr<IMAPITable> table;
  HRESULT hr = CallForObject(table, [&] {
    return destination->OpenProperty(PR_CREATE_TEMPLATES, &IID_IMAPITable, 0, 0,
                                     reinterpret_cast<IUnknown**>(table.Put()));
  });
  if (Failed(hr)) return hr;
  Rewind(table.Get(), kColumns.address());
  for (;;) {
    RowSetPtr rows;
    SRow* row = nullptr;
    if (Failed(ReadRow(table.Get(), kColumns.cValues, rows, &row)) || row == nullptr) return S_OK;
    if (hr = ConsiderRow(*row, templates); Failed(hr)) return hr;
  }
}

}  // namespace

HRESULT FindCreationTemplates(IUnknown* destination, CreationTemplates& templates) noexcept {
  ComPtr<IMAPIProp> object;
  if (HRESULT hr = AskFor(destination, IID_IMAPIProp, object); Failed(hr)) return hr;
  ChainPtr<SPropValue> named;
  if (HRESULT hr = GetOneProp(object.Get(), PR_DEF_CREATE_MAILUSER, named); Failed(hr)) return hr;
  if (!named) return SearchTable(object.Get(), templates);
  if (HRESULT hr = Keep(templates.user, named->Value.bin); Failed(hr)) return hr;
  HRESULT hr = GetOneProp(object.Get(), PR_DEF_CREATE_DL, named);
  if (Failed(hr) || !named) return hr;
  return Keep(templates.list, named->Value.bin);
}

}  // namespace uab
