// A provider library that does what the stage says: one container with a list, whose members are the library's two
// users and the other library's list. PROVIDER_NUMBER (0 or 1) tells the two built from this source apart.
#include "keluab/tags.h"
#include "session/plugins/plugin_export.h"
#include "session/provider_stage.h"
#include "support/refusing_objects.h"

namespace uab {
namespace {

ProviderStage* stage = nullptr;
UABAllocateBufferFunction allocate_buffer = nullptr;
UABAllocateMoreFunction allocate_more = nullptr;
UABFreeBufferFunction free_buffer = nullptr;

struct UnloadNote {
  ~UnloadNote() {
    if (stage != nullptr) stage->Note('U', PROVIDER_NUMBER);
  }
} unload_note;

// An object that goes with its last reference.
template <typename Base>
struct Counted : Base {
  Counted() { this->references = 1; }
  virtual ~Counted() = default;
  ULONG UAB_CALL Release() noexcept override {
    ULONG left = --this->references;
    if (left == 0) delete this;
    return left;
  }
};

HRESULT PutId(SPropValue& value, const StagedId& id, void* head) {
  void* block = nullptr;
  if (HRESULT hr = allocate_more(sizeof(id), head, &block); Failed(hr)) return hr;
  std::memcpy(block, &id, sizeof(id));
  value.ulPropTag = PR_ENTRYID;
  value.Value.bin = {sizeof(id), static_cast<BYTE*>(block)};
  return S_OK;
}

void PutNumber(SPropValue& value, ULONG tag, ULONG number) {
  value.ulPropTag = tag;
  value.Value.ul = number;
}

struct Table final : Counted<RefusingTable> {
  HRESULT UAB_CALL SetColumns(SPropTagArray*, ULONG) override { return stage->Answer(); }
  HRESULT UAB_CALL SeekRow(BOOKMARK, LONG, LONG*) override {
    position = 0;
    return stage->Answer();
  }
  HRESULT UAB_CALL QueryRows(LONG, ULONG, SRowSet** rows) override {
    static const StagedId kRows[] = {
        {PROVIDER_NUMBER, StagedId::kAnn}, {PROVIDER_NUMBER, StagedId::kBob}, {1 - PROVIDER_NUMBER, StagedId::kList}};
    if (HRESULT hr = stage->Answer(); Failed(hr)) return hr;
    void* block = nullptr;
    if (HRESULT hr = allocate_buffer(8 + 16, &block); Failed(hr)) return hr;
    auto* set = static_cast<SRowSet*>(block);
    HRESULT hr = S_OK;
    if (position < 3) hr = Fill(kRows[position++], set->aRow[0]);
    if (Failed(hr)) {
      free_buffer(set);
      return hr;
    }
    set->cRows = set->aRow[0].lpProps != nullptr ? 1 : 0;
    *rows = set;
    return S_OK;
  }
  HRESULT Fill(const StagedId& id, SRow& row) {
    void* block = nullptr;
    if (HRESULT hr = allocate_buffer(5 * sizeof(SPropValue), &block); Failed(hr)) return hr;
    auto* values = static_cast<SPropValue*>(block);
    if (HRESULT hr = PutId(values[0], id, values); Failed(hr)) {
      free_buffer(values);
      return hr;
    }
    PutNumber(values[1], PR_NULL, 0);
    PutNumber(values[2], WithPropType(PR_DISPLAY_NAME_W, PT_ERROR), 0x8004010Fu);
    PutNumber(values[3], WithPropType(PR_ADDRTYPE_W, PT_ERROR), 0x8004010Fu);
    PutNumber(values[4], PR_OBJECT_TYPE, id.entry == StagedId::kList ? MAPI_DISTLIST : MAPI_MAILUSER);
    row = {0, 5, values};
    return S_OK;
  }
  ULONG position = 0;
};

HRESULT PutContainerProp(SPropValue& value, ULONG tag, void* head) {
  static const WCHAR kName[] = UAB_TEXT("Staged");
  switch (tag) {
    case PR_ENTRYID:
      return PutId(value, {PROVIDER_NUMBER, StagedId::kContainer}, head);
    case PR_OBJECT_TYPE:
      return PutNumber(value, tag, MAPI_ABCONT), S_OK;
    case PR_CONTAINER_FLAGS:
      return PutNumber(value, tag, AB_RECIPIENTS | AB_MODIFIABLE), S_OK;
    case PR_DEPTH:
      return PutNumber(value, tag, 0), S_OK;
    case PR_DISPLAY_NAME_W:
      break;
    default:
      return PutNumber(value, WithPropType(tag, PT_ERROR), 0x8004010Fu), S_OK;
  }
  void* name = nullptr;
  if (HRESULT hr = allocate_more(sizeof(kName), head, &name); Failed(hr)) return hr;
  value.ulPropTag = tag;
  value.Value.lpszW = static_cast<WCHAR*>(std::memcpy(name, kName, sizeof(kName)));
  return S_OK;
}

HRESULT GetContainerProps(const SPropTagArray& tags, ULONG* count, SPropValue** values) {
  void* block = nullptr;
  if (HRESULT hr = allocate_buffer(tags.cValues * ULONG{sizeof(SPropValue)}, &block); Failed(hr)) return hr;
  auto* made = static_cast<SPropValue*>(block);
  HRESULT hr = S_OK;
  for (ULONG i = 0; i < tags.cValues && Succeeded(hr); ++i) hr = PutContainerProp(made[i], tags.aulPropTag[i], made);
  if (Failed(hr)) {
    free_buffer(made);
    return hr;
  }
  *count = tags.cValues;
  *values = made;
  return S_OK;
}

struct Container final : Counted<RefusingABContainer> {
  HRESULT UAB_CALL GetProps(SPropTagArray* tags, ULONG, ULONG* count, SPropValue** values) override {
    if (HRESULT hr = stage->Answer(); Failed(hr)) return hr;
    return GetContainerProps(*tags, count, values);
  }
  HRESULT UAB_CALL GetContentsTable(ULONG, IMAPITable** table) override {
    if (HRESULT hr = stage->Answer(); Failed(hr)) return hr;
    *table = new Table;
    return S_OK;
  }
};

struct Provider final : Counted<RefusingAddrBook> {
  ~Provider() {
    if (section != nullptr) section->Release();
    stage->Note('R', PROVIDER_NUMBER);
  }
  HRESULT UAB_CALL GetProps(SPropTagArray* tags, ULONG, ULONG* count, SPropValue** values) override {
    if (HRESULT hr = stage->Answer(); Failed(hr)) return hr;
    return GetContainerProps(*tags, count, values);
  }
  HRESULT UAB_CALL OpenEntry(ULONG size, ENTRYID* entry, const IID*, ULONG, ULONG* type, IUnknown** object) override {
    if (HRESULT hr = stage->Answer(); Failed(hr)) return hr;
    if (size != sizeof(StagedId)) return MAPI_E_NOT_FOUND;
    BYTE which = reinterpret_cast<StagedId*>(entry)->entry;
    if (which != StagedId::kContainer && which != StagedId::kList) return MAPI_E_NOT_FOUND;
    *object = new Container;
    *type = which == StagedId::kContainer ? MAPI_ABCONT : MAPI_DISTLIST;
    return S_OK;
  }
  HRESULT UAB_CALL PrepareRecips(ULONG, SPropTagArray*, ADRLIST*) override { return stage->Answer(); }
  IMAPIProp* section = nullptr;
};

}  // namespace
}  // namespace uab

using namespace uab;

PLUGIN_EXPORT HRESULT UAB_CALL ABProviderOpen(WCHAR* app_key, HINSTANCE resources, IUABSupport* support,
                                              IMAPIProp* section, ULONG_PTR caller_param, ULONG flags,
                                              UABAllocateBufferFunction buffer, UABAllocateMoreFunction more,
                                              UABFreeBufferFunction free, IAddrBook** provider, ULONG_PTR host_value) {
  stage = reinterpret_cast<ProviderStage*>(caller_param);
  allocate_buffer = buffer;
  allocate_more = more;
  free_buffer = free;
  ProviderStage::Role& role = stage->roles[PROVIDER_NUMBER];
  role.app_key = app_key;
  role.resources = resources;
  role.flags = flags;
  role.host_value = host_value;
  stage->Note('O', PROVIDER_NUMBER);
  if (HRESULT hr = stage->Answer(); Failed(hr)) return hr;

  StagedId id(PROVIDER_NUMBER, StagedId::kContainer);
  if (role.registers_late) {
    support->AddRef();
    role.kept_support = support;
  } else {
    role.registered = support->SetProviderUID(&id.uid, 0);
    if (Failed(role.registered)) return role.registered;
  }
  if (role.act == ProviderStage::kFail) return kStagedFailure;
  if (role.act == ProviderStage::kThrow) throw 1;
  if (role.act == ProviderStage::kNoObject) return S_OK;
  auto* made = new Provider;
  if (role.keeps_section) {
    section->AddRef();
    made->section = section;
  }
  *provider = made;
  return role.act == ProviderStage::kFailWithObject ? kStagedFailure : S_OK;
}

PLUGIN_EXPORT HRESULT UAB_CALL ServiceEntry(HINSTANCE, ULONG_PTR, ULONG, ULONG, ULONG, SPropValue*, IMAPIProp*,
                                            IUABSupport*, ULONG_PTR) {
  return S_OK;
}
