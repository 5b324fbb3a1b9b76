#include "addrbook/search_path.h"

#include <cstring>
#include <vector>

#include "addrbook/container_search.h"
#include "platform/at_boundary.h"
#include "props/prop_values.h"

namespace uab {
namespace {

// Borrows its members' bytes.
using Path = std::vector<SBinary>;

SPropValue SettingOf(Path& path) noexcept {
  SPropValue value{};
  value.ulPropTag = PR_AB_SEARCH_PATH;
  value.Value.MVbin = {static_cast<ULONG>(path.size()), path.empty() ? nullptr : path.data()};
  return value;
}

bool Fits(AddrBook& address_book, const SBinary& container) noexcept {
  return IsContainerWithFlags(address_book, AB_RECIPIENTS, container);
}

HRESULT EstablishDefault(AddrBook& address_book, Settings& settings, Settings::Choices choices) {
  Path path;
  ContainerSearch search;
  if (Succeeded(search.Open(address_book))) {
    for (SBinary next = search.Next(AB_RECIPIENTS); next.cb != 0; next = search.Next(AB_RECIPIENTS)) {
      path.push_back(next);
    }
  }
  return settings.SetDefault(SettingOf(path), choices);
}

// One block: the value, and behind it the bytes.
HRESULT MakeRow(const SBinary& identifier, SRow& row) noexcept {
  std::span<const BYTE> bytes = BytesOf(identifier);
  ChainPtr<SPropValue> value;
  if (HRESULT hr = AllocateInto(value, sizeof(SPropValue) + bytes.size()); Failed(hr)) return hr;
  auto* behind = reinterpret_cast<BYTE*>(value.Get() + 1);
  if (!bytes.empty()) std::memcpy(behind, bytes.data(), bytes.size());
  value->ulPropTag = PR_ENTRYID;
  value->Value.bin = {static_cast<ULONG>(bytes.size()), behind};
  row.cValues = 1;
  row.lpProps = value.Detach();
  return S_OK;
}

}  // namespace

HRESULT EstablishSearchPath(AddrBook& address_book, Settings& settings) noexcept {
  return at_boundary([&]() -> HRESULT {
    ChainPtr<SPropValue> stored;
    Settings::Choices choices = 0;
    HRESULT hr = settings.Read(PR_AB_SEARCH_PATH, stored, &choices);
    if (hr == MAPI_E_NOT_FOUND) return EstablishDefault(address_book, settings, choices);
    if (Failed(hr)) return hr;
    const SBinaryArray& members = stored->Value.MVbin;
    Path kept;
    for (ULONG i = 0; i < members.cValues; ++i) {
      if (Fits(address_book, members.lpbin[i])) kept.push_back(members.lpbin[i]);
    }
    if (kept.empty()) return EstablishDefault(address_book, settings, choices);
    return kept.size() == members.cValues ? S_OK : settings.Set(SettingOf(kept));
  });
}

HRESULT GetSearchPath(Settings& settings, SRowSet** path) noexcept {
  if (path == nullptr) return E_INVALIDARG;
  *path = nullptr;
  ChainPtr<SPropValue> stored;
  if (HRESULT hr = settings.Read(PR_AB_SEARCH_PATH, stored); Failed(hr)) return hr;
  const SBinaryArray& members = stored->Value.MVbin;
  if (members.cValues == 0) return MAPI_E_NOT_FOUND;
  RowSetPtr rows;
  HRESULT hr = AllocateHead(RowSetSize(members.cValues), reinterpret_cast<void**>(rows.Put()));
  if (Failed(hr)) return hr;
  for (; rows->cRows < members.cValues; ++rows->cRows) {
    if (hr = MakeRow(members.lpbin[rows->cRows], rows->aRow[rows->cRows]); Failed(hr)) return hr;
  }
  *path = rows.Detach();
  return S_OK;
}

HRESULT SetSearchPath(AddrBook& address_book, Settings& settings, const SRowSet* path) noexcept {
  if (path == nullptr || path->cRows == 0) return E_INVALIDARG;
  return at_boundary([&]() -> HRESULT {
    Path taken;
    for (ULONG i = 0; i < path->cRows; ++i) {
      const SRow& row = path->aRow[i];
      if (row.lpProps == nullptr || row.cValues == 0 || row.lpProps->ulPropTag != PR_ENTRYID) continue;
      if (Fits(address_book, row.lpProps->Value.bin)) taken.push_back(row.lpProps->Value.bin);
    }
    return taken.empty() ? E_INVALIDARG : settings.Set(SettingOf(taken));
  });
}

}  // namespace uab
