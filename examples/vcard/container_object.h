// The slots that the root, containers, lists and recipients have in common.
#pragma once

#include "objects.h"

namespace uab::vcard {

// Slots 6 and 7 over what the object collects; 11 and 12 through the library's copy engine.
template <typename Interface, const IID&... Ids>
class FolderObject : public PropObject<Interface, Ids...> {
 public:
  HRESULT UAB_CALL GetProps(SPropTagArray* tags, ULONG, ULONG* count, SPropValue** values) noexcept override {
    if (count == nullptr || values == nullptr || (tags != nullptr && tags->cValues == 0)) return E_INVALIDARG;
    return folder_->Run([&]() -> HRESULT {
      Properties properties;
      if (const HRESULT hr = Collect(tags, properties); Failed(hr)) return hr;
      return HandOver(folder_->memory(), properties, tags, count, values);
    });
  }
  HRESULT UAB_CALL GetPropList(ULONG, SPropTagArray** tags) noexcept override {
    if (tags == nullptr) return E_INVALIDARG;
    return folder_->Run([&]() -> HRESULT {
      Properties properties;
      if (const HRESULT hr = Collect(nullptr, properties); Failed(hr)) return hr;
      std::vector<ULONG> all;
      for (const Property& property : properties.values()) all.push_back(property.tag);
      for (ULONG tag : object_tags_) all.push_back(tag);
      return HandOverTags(folder_->memory(), all, tags);
    });
  }
  HRESULT UAB_CALL CopyTo(ULONG count, const IID* excluded, SPropTagArray* tags, ULONG_PTR ui, IMAPIProgress* progress,
                          const IID* iid, void* destination, ULONG flags,
                          SPropProblemArray** problems) noexcept override {
    if (!folder_->support()) return MAPI_E_NO_SUPPORT;
    return folder_->support()->DoCopyTo(&own_iid_, static_cast<Interface*>(this), count, excluded, tags, ui, progress,
                                        iid, destination, flags, problems);
  }
  HRESULT UAB_CALL CopyProps(SPropTagArray* tags, ULONG_PTR ui, IMAPIProgress* progress, const IID* iid,
                             void* destination, ULONG flags, SPropProblemArray** problems) noexcept override {
    if (!folder_->support()) return MAPI_E_NO_SUPPORT;
    return folder_->support()->DoCopyProps(&own_iid_, static_cast<Interface*>(this), tags, ui, progress, iid,
                                           destination, flags, problems);
  }

 protected:
  FolderObject(std::shared_ptr<Folder> folder, const IID& own_iid, std::vector<ULONG> object_tags)
      : folder_(std::move(folder)), own_iid_(own_iid), object_tags_(std::move(object_tags)) {}
  virtual HRESULT Collect(const SPropTagArray* tags, Properties& properties) = 0;  // inside Folder::Run

  std::shared_ptr<Folder> folder_;

 private:
  IID own_iid_;
  std::vector<ULONG> object_tags_;
};

inline std::vector<ULONG> ContainerObjects() {
  return {PR_CONTAINER_CONTENTS, PR_CONTAINER_HIERARCHY, PR_CREATE_TEMPLATES};
}

// Slots 8 and 15 to 23 of a container; what it holds and how that changes is the class's own affair.
template <typename Interface, const IID&... Ids>
class ContainerObject : public RefusingABContainer<FolderObject<Interface, Ids...>> {
 public:
  HRESULT UAB_CALL OpenProperty(ULONG tag, const IID* iid, ULONG, ULONG flags, IUnknown** object) noexcept override {
    if (iid == nullptr || object == nullptr) return E_INVALIDARG;
    *object = nullptr;
    if (!(*iid == IID_IMAPITable)) return E_NOINTERFACE;
    IMAPITable* table = nullptr;
    HRESULT hr = MAPI_E_NOT_FOUND;
    if (tag == PR_CONTAINER_CONTENTS) hr = this->GetContentsTable(flags, &table);
    if (tag == PR_CONTAINER_HIERARCHY) hr = this->GetHierarchyTable(flags, &table);
    if (tag == PR_CREATE_TEMPLATES) hr = Open([&] { return Templates(); }, &table);
    *object = table;
    return hr;
  }
  HRESULT UAB_CALL GetContentsTable(ULONG, IMAPITable** table) noexcept override {
    return Open([&] { return Contents(); }, table);
  }
  HRESULT UAB_CALL GetHierarchyTable(ULONG, IMAPITable** table) noexcept override {
    return Open([&] { return Hierarchy(); }, table);
  }
  HRESULT UAB_CALL OpenEntry(ULONG size, ENTRYID* entry, const IID* iid, ULONG flags, ULONG* type,
                             IUnknown** object) noexcept override {
    return OpenEntryObject(this->folder_, size, entry, iid, flags, type, object);
  }
  HRESULT UAB_CALL CreateEntry(ULONG size, ENTRYID* entry, ULONG, IMAPIProp** object) noexcept override {
    if (object == nullptr) return E_INVALIDARG;
    *object = nullptr;
    if (size == 0 || entry == nullptr) return E_INVALIDARG;
    return this->folder_->Run([&] { return Create(size, entry, object); });
  }
  HRESULT UAB_CALL CopyEntries(ENTRYLIST* entries, ULONG_PTR, IMAPIProgress*, ULONG flags) noexcept override {
    return WithEntries(entries, [&] { return Link(*entries, flags); });
  }
  HRESULT UAB_CALL DeleteEntries(ENTRYLIST* entries, ULONG) noexcept override {
    return WithEntries(entries, [&] { return Remove(*entries); });
  }

 protected:
  using RefusingABContainer<FolderObject<Interface, Ids...>>::RefusingABContainer;

  // All inside Folder::Run.
  virtual std::unique_ptr<RowSource> Contents() { return FixedRows({}); }
  virtual std::unique_ptr<RowSource> Hierarchy() { return FixedRows({}); }
  virtual HRESULT Create(ULONG, const ENTRYID*, IMAPIProp**) { return MAPI_E_NO_SUPPORT; }
  virtual HRESULT Link(const ENTRYLIST&, ULONG) { return MAPI_E_NO_SUPPORT; }
  virtual HRESULT Remove(const ENTRYLIST&) { return MAPI_E_NO_SUPPORT; }

  std::unique_ptr<RowSource> Templates() const {
    const auto row = [&](const char* name, EntryKind kind, ULONG display_type) {
      Properties properties;
      properties.AddText(PR_DISPLAY_NAME_W, name);
      properties.AddText(PR_ADDRTYPE_W, "FAX");
      properties.Add(PR_DISPLAY_TYPE, display_type);
      properties.AddBytes(PR_ENTRYID, this->folder_->TemplateId(kind));
      return properties;
    };
    return FixedRows({row("Fax recipient", EntryKind::kUserTemplate, DT_MAILUSER),
                      row("Distribution list", EntryKind::kListTemplate, DT_DISTLIST)});
  }
  void AddTemplates(Properties& properties) const {
    properties.AddBytes(PR_DEF_CREATE_MAILUSER, this->folder_->TemplateId(EntryKind::kUserTemplate));
    properties.AddBytes(PR_DEF_CREATE_DL, this->folder_->TemplateId(EntryKind::kListTemplate));
  }

 private:
  template <typename Rows>
  HRESULT Open(Rows&& rows, IMAPITable** table) noexcept {
    if (table == nullptr) return E_INVALIDARG;
    *table = nullptr;
    return this->folder_->Run([&]() -> HRESULT {
      *table = MakeTable(this->folder_, rows());
      return S_OK;
    });
  }
  template <typename Body>
  HRESULT WithEntries(const ENTRYLIST* entries, Body&& body) noexcept {
    if (entries == nullptr || (entries->cValues != 0 && entries->lpbin == nullptr)) return E_INVALIDARG;
    return entries->cValues == 0 ? S_OK : this->folder_->Run(body);
  }
};

}  // namespace uab::vcard
