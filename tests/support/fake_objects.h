// What a FakeProvider hands out: entries and tables, each of them counted.
#pragma once

#include <algorithm>

#include "frame/allocation_chain.h"
#include "keluab/iids.h"
#include "support/fake_provider.h"
#include "support/values.h"
#include "tables/table_row.h"

namespace uab {

// Stores a new object with one reference.
template <typename Made, typename Slot, typename... Parts>
HRESULT HandOut(Slot** object, Parts&&... parts) {
  auto made = std::make_unique<Made>(std::forward<Parts>(parts)...);
  made->AddRef();
  *object = made.release();
  return S_OK;
}

inline std::vector<std::string> Strings(const ENTRYLIST& list) {
  std::vector<std::string> ids;
  for (ULONG i = 0; i < list.cValues; ++i) {
    ids.emplace_back(reinterpret_cast<const char*>(list.lpbin[i].lpb), list.lpbin[i].cb);
  }
  return ids;
}

// Counted in its provider; goes with its last reference.
template <typename Base>
class FakeBase : public Base {
 public:
  explicit FakeBase(FakeProvider& provider) : provider_(provider) { ++provider_.live_objects; }
  virtual ~FakeBase() { --provider_.live_objects; }
  ULONG UAB_CALL Release() override {
    if (auto run = provider_.on_call) run("ReleaseObject");
    ULONG left = --this->references;
    if (left == 0) delete this;
    return left;
  }

 protected:
  FakeProvider& provider_;
};

// The entries of some identifiers, as they stand when the table is made. A row of an unknown one is a PR_ENTRYID alone.
// A new table stands at its end, where an earlier reader may have left it.
class FakeTable final : public FakeBase<RefusingTable<Refusing<IMAPITable>>> {
 public:
  FakeTable(FakeProvider& provider, const std::vector<std::string>& ids)
      : FakeBase(provider), ids_(ids), position_(ids.size()) {}
  HRESULT UAB_CALL SetColumns(SPropTagArray* tags, ULONG) override {
    if (FakeProvider::Turn turn = provider_.Enter("SetColumns"); turn.stop) return turn.result;
    columns_.assign(&tags->cValues, &tags->cValues + 1 + tags->cValues);
    return S_OK;
  }
  HRESULT UAB_CALL SeekRow(BOOKMARK origin, LONG count, LONG*) override {
    if (FakeProvider::Turn turn = provider_.Enter("SeekRow"); turn.stop) return turn.result;
    if (origin == BOOKMARK_BEGINNING && count == 0) position_ = 0;
    return S_OK;
  }
  HRESULT UAB_CALL QueryRows(LONG count, ULONG, SRowSet** rows) override {
    *rows = nullptr;
    FakeProvider::Turn turn = provider_.Enter("QueryRows");
    if (turn.stop) return turn.result;
    const auto asked = static_cast<std::size_t>(count + provider_.calls->surplus_rows);
    const std::size_t wanted = std::min(asked, ids_.size() - position_);
    ChainPtr<SRowSet> block;
    if (HRESULT hr = AllocateInto(block, RowSetSize(wanted)); Failed(hr)) return hr;
    RowSetPtr set(block.Detach());
    auto* columns = columns_.empty() ? nullptr : reinterpret_cast<SPropTagArray*>(columns_.data());
    for (; set->cRows < wanted; ++set->cRows) {
      const std::string& id = ids_[position_ + set->cRows];
      FakeEntryPtr entry = provider_.Find(id);
      PropList alone;
      HRESULT hr = alone.Set(BinaryValue(PR_ENTRYID, id.data(), static_cast<ULONG>(id.size())));
      SRow& row = set->aRow[set->cRows];
      const std::string name = id.size() < 20 ? "" : id.substr(20);
      const PropList& props = entry != nullptr ? entry->props : alone;
      if (Succeeded(hr)) hr = provider_.AnswerValues(turn, props, name, columns, &row.cValues, &row.lpProps);
      if (Failed(hr)) return hr;
    }
    if (!provider_.calls->endless) position_ += wanted;
    if (wanted != 0 && provider_.calls->claimed_rows != 0) set->cRows = provider_.calls->claimed_rows;
    *rows = set.Detach();
    return S_OK;
  }

 private:
  std::vector<std::string> ids_;
  std::vector<ULONG> columns_;  // count, then tags: an SPropTagArray
  std::size_t position_;
};

// A user, list or container, by the entry's type: its QueryInterface accepts what the type has. One class, so that a
// wrong cast is found by the test and not by the stack.
class FakeObject final : public FakeBase<RefusingABContainer<RefusingProp<Refusing<IABContainer>>>> {
 public:
  FakeObject(FakeProvider& provider, FakeEntryPtr entry, FakeEntryPtr parent = nullptr)
      : FakeBase(provider), entry_(std::move(entry)), parent_(std::move(parent)) {}
  HRESULT UAB_CALL QueryInterface(const IID& iid, void** object) override {
    *object = nullptr;
    if (FakeProvider::Turn turn = provider_.Enter("QueryInterface"); turn.stop) return turn.result;
    const bool user = entry_->type == MAPI_MAILUSER, list = entry_->type == MAPI_DISTLIST;
    if (iid != IID_IUnknown && iid != IID_IMAPIProp && !(user && iid == IID_IMailUser) &&
        !(!user && iid == IID_IMAPIContainer) && !(list && iid == IID_IDistList) &&
        !(!user && !list && iid == IID_IABContainer)) {
      return E_NOINTERFACE;
    }
    AddRef();
    *object = this;
    return S_OK;
  }
  HRESULT UAB_CALL SaveChanges(ULONG) override {
    if (FakeProvider::Turn turn = provider_.Enter("SaveChanges"); turn.stop) return turn.result;
    if (parent_ != nullptr) provider_.Save(parent_.get(), entry_);
    parent_.reset();
    return S_OK;
  }
  HRESULT UAB_CALL GetProps(SPropTagArray* tags, ULONG, ULONG* count, SPropValue** values) override {
    *count = 0;
    *values = nullptr;
    FakeProvider::Turn turn = provider_.Enter("GetProps");
    if (turn.stop) return turn.result;
    return provider_.AnswerValues(turn, entry_->props, entry_->name, tags, count, values);
  }
  HRESULT UAB_CALL GetPropList(ULONG flags, SPropTagArray** tags) override {
    *tags = nullptr;
    if (flags != MAPI_UNICODE) return MAPI_E_BAD_CHARWIDTH;
    FakeProvider::Turn turn = provider_.Enter("GetPropList");
    if (turn.stop) return turn.result;
    PropList bare;
    bare.Set(LongValue(PR_CONTAINER_CONTENTS, 0));
    const bool is_bare = provider_.bare_lists && entry_->type == MAPI_DISTLIST;
    TableRow row;
    HRESULT hr = row.Pack(is_bare ? bare : entry_->props);
    if (Succeeded(hr)) hr = ListTags(row, tags);
    if (Succeeded(hr) && turn.fewer) (*tags)->cValues = 0;
    return hr;
  }
  HRESULT UAB_CALL OpenProperty(ULONG tag, const IID*, ULONG, ULONG, IUnknown** object) override {
    *object = nullptr;
    if (FakeProvider::Turn turn = provider_.Enter("OpenProperty"); turn.stop) return turn.result;
    switch (tag) {
      case PR_CREATE_TEMPLATES:
        return entry_->templates.empty() ? MAPI_E_NOT_FOUND : HandOut<FakeTable>(object, provider_, entry_->templates);
      case PR_CONTAINER_HIERARCHY:
        return HandOut<FakeTable>(object, provider_, entry_->children);
      default:
        return MAPI_E_NO_SUPPORT;
    }
  }
  // PR_COMMENT_W is refused, as a problem.
  HRESULT UAB_CALL SetProps(ULONG count, SPropValue* values, SPropProblemArray** problems) override {
    if (problems != nullptr) *problems = nullptr;
    if (FakeProvider::Turn turn = provider_.Enter("SetProps"); turn.stop) return turn.result;
    ChainPtr<SPropProblemArray> found;
    HRESULT hr = S_OK;
    for (ULONG i = 0; i < count && Succeeded(hr); ++i) {
      const bool refused = values[i].ulPropTag == PR_COMMENT_W && problems != nullptr;
      if (!refused && values[i].ulPropTag != PR_NULL) hr = entry_->props.Set(values[i]);
      if (refused) hr = AllocateInto(found, ProblemArraySize(1));
      if (refused && found) *found.Get() = {1, {{i, PR_COMMENT_W, E_ACCESSDENIED}}};
    }
    if (problems != nullptr && Succeeded(hr)) *problems = found.Detach();
    return Succeeded(hr) ? provider_.set_result : hr;
  }
  HRESULT UAB_CALL GetContentsTable(ULONG flags, IMAPITable** table) override {
    *table = nullptr;
    if ((flags & MAPI_UNICODE) == 0) return MAPI_E_BAD_CHARWIDTH;
    if (FakeProvider::Turn turn = provider_.Enter("GetContentsTable"); turn.stop) return turn.result;
    return HandOut<FakeTable>(table, provider_, entry_->members);
  }
  HRESULT UAB_CALL GetHierarchyTable(ULONG, IMAPITable** table) override {
    *table = nullptr;
    if (FakeProvider::Turn turn = provider_.Enter("GetHierarchyTable"); turn.stop) return turn.result;
    return HandOut<FakeTable>(table, provider_, entry_->children);
  }
  HRESULT UAB_CALL OpenEntry(ULONG size, ENTRYID* entry, const IID* iid, ULONG flags, ULONG* type,
                             IUnknown** object) override {
    return provider_.OpenEntry(size, entry, iid, flags, type, object);
  }
  HRESULT UAB_CALL CreateEntry(ULONG size, ENTRYID* entry, ULONG, IMAPIProp** object) override {
    *object = nullptr;
    if (FakeProvider::Turn turn = provider_.Enter("CreateEntry"); turn.stop) return turn.result;
    FakeEntryPtr model = provider_.Find({reinterpret_cast<const char*>(entry), size});
    if (model == nullptr) return MAPI_E_NOT_FOUND;
    auto made = std::make_shared<FakeEntry>();
    made->type = model->type;
    made->props.Set(LongValue(PR_OBJECT_TYPE, static_cast<LONG>(made->type)));
    made->templates = entry_->templates;
    for (ULONG tag : {PR_DEF_CREATE_MAILUSER, PR_DEF_CREATE_DL}) {  // a new list takes what its container takes
      if (const PropNode* node = entry_->props.Find(tag)) {
        std::span<const BYTE> id = RecordBytes(node->record);
        made->props.Set(BinaryValue(tag, id.data(), static_cast<ULONG>(id.size())));
      }
    }
    return HandOut<FakeObject>(object, provider_, std::move(made), entry_);
  }
  HRESULT UAB_CALL CopyEntries(ENTRYLIST* entries, ULONG_PTR, IMAPIProgress*, ULONG flags) override {
    if (FakeProvider::Turn turn = provider_.Enter("CopyEntries"); turn.stop) return turn.result;
    for (const std::string& id : Strings(*entries)) {
      ++entry_->links;
      if (flags != 1 || entry_->member_ids.count(id) == 0) provider_.AddMember(*entry_, id);
    }
    return S_OK;
  }
  HRESULT UAB_CALL DeleteEntries(ENTRYLIST* entries, ULONG) override {
    std::string names;
    for (const std::string& id : Strings(*entries)) names += (names.empty() ? "" : " ") + id.substr(20);
    if (FakeProvider::Turn turn = provider_.Enter("DeleteEntries", names); turn.stop) return turn.result;
    for (const std::string& id : Strings(*entries)) {
      std::erase(entry_->members, id);
      entry_->member_ids.erase(id);
    }
    return S_OK;
  }

 private:
  FakeEntryPtr entry_;
  FakeEntryPtr parent_;  // of a new entry that is not saved yet
};

}  // namespace uab
