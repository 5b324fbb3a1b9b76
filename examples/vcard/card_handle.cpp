#include "card_handle.h"

#include <algorithm>

#include "card_editor.h"
#include "card_props.h"

namespace uab::vcard {
namespace {

bool IsComputed(ULONG tag) noexcept {
  for (ULONG computed : {PR_ACCESS, PR_INSTANCE_KEY, PR_ACCESS_LEVEL, PR_OBJECT_TYPE, PR_ENTRYID, PR_SEARCH_KEY,
                         PR_CONTAINER_FLAGS, PR_AB_PROVIDER_ID, PR_DISPLAY_TYPE}) {
    if (PropId(computed) == PropId(tag)) return true;
  }
  return false;
}

bool IsWritable(ULONG tag) noexcept {
  for (ULONG writable : {PR_DISPLAY_NAME_W, PR_ADDRTYPE_W, PR_EMAIL_ADDRESS_W, PR_COMMENT_W, PR_VCARD_TEXT_W}) {
    if (writable == tag) return true;
  }
  return false;
}

// An address of another type is no fax number.
bool NamesOtherType(ULONG count, const SPropValue* values) {
  return std::any_of(values, values + count, [](const SPropValue& value) {
    return value.ulPropTag == PR_ADDRTYPE_W && !EqualNoCase(ToUtf8(FromValue(value).text), "FAX");
  });
}

}  // namespace

HRESULT HandOverProblems(const Memory& memory, const std::vector<SPropProblem>& problems, SPropProblemArray** out) {
  if (out == nullptr) return S_OK;
  *out = nullptr;
  if (problems.empty()) return S_OK;
  auto* array = memory.AllocateAs<SPropProblemArray>(4 + sizeof(SPropProblem) * problems.size());
  array->cProblem = static_cast<ULONG>(problems.size());
  std::copy(problems.begin(), problems.end(), array->aProblem);
  *out = array;
  return S_OK;
}

bool Wants(const SPropTagArray* tags, ULONG tag) noexcept {
  return tags == nullptr || std::any_of(tags->aulPropTag, tags->aulPropTag + tags->cValues,
                                        [tag](ULONG wanted) { return PropId(wanted) == PropId(tag); });
}

CardHandle::CardHandle(std::shared_ptr<Folder> folder, CardRef card, bool writable)
    : folder_(std::move(folder)),
      book_(card.book),
      group_(folder_->book(card.book).cards().group(card.card)),
      writable_(writable),
      key_(folder_->book(card.book).cards().key(card.card)),
      writer_(folder_, book_) {}

CardHandle::CardHandle(std::shared_ptr<Folder> folder, BookNumber book, bool group, std::optional<CardRef> list)
    : folder_(std::move(folder)),
      book_(book),
      group_(group),
      writable_(true),
      new_text_(NewCard(group, NewUuid(), folder_->book(book).style())),
      writer_(folder_, book) {
  if (list) list_ = folder_->book(book).cards().key(list->card);
}

std::optional<CardRef> CardHandle::Find() const {
  if (!key_) return std::nullopt;
  const std::optional<CardNumber> card = folder_->book(book_).cards().Find(*key_);
  return card ? std::optional(CardRef{book_, *card}) : std::nullopt;
}

HRESULT CardHandle::ApplyAll(std::string& text) const {
  for (const Property& property : unsaved_) {
    if (!ApplyProperty(text, property)) return MAPI_E_BAD_VALUE;
  }
  return S_OK;
}

HRESULT CardHandle::CurrentText(std::string& text) const {
  if (!key_) {
    text = new_text_;
  } else if (const std::optional<CardRef> card = Find()) {
    text = folder_->book(book_).cards().text(card->card);
  } else {
    return MAPI_E_NOT_FOUND;
  }
  return ApplyAll(text);
}

HRESULT CardHandle::Collect(const SPropTagArray* tags, Properties& properties) const {
  std::string text;
  if (const HRESULT hr = CurrentText(text); Failed(hr)) return hr;
  if (Wants(tags, PR_VCARD_TEXT_W)) properties.AddText(PR_VCARD_TEXT_W, text);
  const std::optional<CardRef> card = Find();
  const std::string id = card ? folder_->CardId(*card) : std::string();
  const Properties shown = CardProperties(text, id, group_);
  for (const Property& property : shown.values()) {
    const bool has_id = card || (property.tag != PR_ENTRYID && property.tag != PR_INSTANCE_KEY);
    if (has_id) properties.Add(property);
  }
  return S_OK;
}

HRESULT CardHandle::Set(ULONG count, const SPropValue* values, SPropProblemArray** out) {
  if (count == 0) return HandOverProblems(folder_->memory(), {}, out);
  if (!writable_) return E_ACCESSDENIED;
  if (values == nullptr) return E_INVALIDARG;
  const bool other_type = NamesOtherType(count, values);
  std::vector<SPropProblem> problems;
  std::vector<Property> accepted;
  std::string trial;
  if (const HRESULT hr = CurrentText(trial); Failed(hr)) return hr;
  for (ULONG i = 0; i < count; ++i) {
    const ULONG tag = values[i].ulPropTag;
    if (tag == PR_NULL) continue;
    HRESULT hr = S_OK;
    if (PropType(tag) == PT_OBJECT)
      hr = E_ACCESSDENIED;
    else if (IsComputed(tag))
      hr = MAPI_E_COMPUTED;
    else if (!IsWritable(tag) || (tag == PR_EMAIL_ADDRESS_W && other_type))
      hr = MAPI_E_NO_SUPPORT;
    Property property = FromValue(values[i]);
    if (Succeeded(hr) && !ApplyProperty(trial, property)) hr = MAPI_E_BAD_VALUE;
    if (Failed(hr)) {
      problems.push_back({i, tag, hr});
    } else {
      accepted.push_back(std::move(property));
    }
  }
  const HRESULT hr = HandOverProblems(folder_->memory(), problems, out);
  unsaved_.insert(unsaved_.end(), std::make_move_iterator(accepted.begin()), std::make_move_iterator(accepted.end()));
  return hr;
}

HRESULT CardHandle::Delete(const SPropTagArray* tags, SPropProblemArray** out) {
  if (!writable_) return E_ACCESSDENIED;
  if (tags == nullptr || tags->cValues == 0) return E_INVALIDARG;
  Properties present;
  if (const HRESULT hr = Collect(nullptr, present); Failed(hr)) return hr;
  std::vector<SPropProblem> problems;
  for (ULONG i = 0; i < tags->cValues; ++i) {
    const ULONG tag = tags->aulPropTag[i];
    if (present.Find(WithPropType(tag, PT_UNSPECIFIED)) == nullptr) {
      problems.push_back({i, tag, MAPI_E_NOT_FOUND});
    } else if (PropId(tag) == PropId(PR_EMAIL_ADDRESS_W) || PropId(tag) == PropId(PR_COMMENT_W)) {
      unsaved_.push_back({WithPropType(tag, PT_UNICODE), 0, {}, {}});
    } else {
      problems.push_back({i, tag, MAPI_E_COMPUTED});
    }
  }
  return HandOverProblems(folder_->memory(), problems, out);
}

// A card that nobody could find again is not made.
HRESULT CardHandle::SaveNew() {
  std::string text = new_text_;
  if (const HRESULT hr = ApplyAll(text); Failed(hr)) return hr;
  if (!Identify(text).named) return MAPI_E_MISSING_REQUIRED_COLUMN;
  CardStore& cards = folder_->book(book_).cards();
  const std::optional<CardNumber> list = list_ ? cards.Find(*list_) : std::nullopt;
  if (list_ && !list) return MAPI_E_NOT_FOUND;
  const CardRef card = folder_->AddCard(book_, std::move(text));
  key_ = cards.key(card.card);
  return list ? folder_->AddMember({book_, *list}, card, false) : S_OK;
}

HRESULT CardHandle::Save(ULONG flags) {
  if (!writable_) return E_ACCESSDENIED;
  folder_->Refresh(book_);
  HRESULT hr = S_OK;
  if (!key_) {
    hr = SaveNew();
  } else if (!unsaved_.empty()) {
    std::string text;
    hr = CurrentText(text);
    if (Succeeded(hr)) folder_->ReplaceCard(*Find(), std::move(text));
  }
  if (Failed(hr)) return hr;
  unsaved_.clear();
  writable_ = (flags & KEEP_OPEN_READWRITE) != 0;
  return folder_->book(book_).Save(false);
}

}  // namespace uab::vcard
