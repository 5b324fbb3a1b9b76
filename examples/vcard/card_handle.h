// An open card: where it is, and what has been set but not saved. What is set is kept as properties and applied to the
// card's text when it is saved, so that changes that somebody else makes to it meanwhile stay.
//
// Every operation but construction and destruction is called inside Folder::Run.
#pragma once

#include <optional>

#include "folder.h"

namespace uab::vcard {

class CardHandle {
 public:
  // An existing card. REQUIRES: inside Folder::Run.
  CardHandle(std::shared_ptr<Folder> folder, CardRef card, bool writable);
  // A new one, which joins the list, if given, when it is first saved. REQUIRES: inside Folder::Run.
  CardHandle(std::shared_ptr<Folder> folder, BookNumber book, bool group, std::optional<CardRef> list);

  bool group() const noexcept { return group_; }
  BookNumber book() const noexcept { return book_; }
  std::optional<CardRef> Find() const;  // nothing: not saved yet, or deleted

  HRESULT Collect(const SPropTagArray* tags, Properties& properties) const;
  HRESULT Set(ULONG count, const SPropValue* values, SPropProblemArray** problems);
  HRESULT Delete(const SPropTagArray* tags, SPropProblemArray** problems);
  HRESULT Save(ULONG flags);

 private:
  HRESULT CurrentText(std::string& text) const;  // with what is not saved yet
  HRESULT ApplyAll(std::string& text) const;
  HRESULT SaveNew();

  std::shared_ptr<Folder> folder_;
  BookNumber book_;
  bool group_;
  bool writable_;
  std::optional<CardKey> key_;   // nothing: not saved yet
  std::optional<CardKey> list_;  // in the same file
  std::string new_text_;
  std::vector<Property> unsaved_;
  Writer writer_;
};

// Stores an array of problems, or null if there are none; out may be null.
HRESULT HandOverProblems(const Memory& memory, const std::vector<SPropProblem>& problems, SPropProblemArray** out);

// Whether a caller's tags, null for all, ask for that one.
bool Wants(const SPropTagArray* tags, ULONG tag) noexcept;

}  // namespace uab::vcard
