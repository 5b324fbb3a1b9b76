// vCard files: any bytes as a file, cards edited as the input says, and the file written and read again. The input is
// the file and, behind its last NUL, the edits.
#include <set>

#include "card_editor.h"
#include "card_lines.h"
#include "card_reader.h"
#include "card_store.h"
#include "fuzz/input.h"
#include "text.h"

namespace uab::fuzz {
namespace {

using namespace uab::vcard;

// Text as a user types it: no control characters, no blanks around, sometimes beyond ASCII, and never empty.
std::string DrawText(Input& input, std::size_t most) {
  std::string text;
  for (char c : input.Bytes(most)) {
    const auto byte = static_cast<unsigned char>(c);
    text += byte >= 0xC0 ? "\xC3\xA9" : std::string(1, static_cast<char>(32 + byte % 95));
  }
  text = Trim(text);
  return text.empty() ? "x" : text;
}

// The card's lines but for those that an edit is about, as they stand in the file.
template <typename About>
std::string OtherLines(std::string_view card, About about) {
  std::string kept, whole;
  LineReader reader(card);
  for (CardLine line; reader.Next(line);) {
    whole += line.raw;
    if (!about(line.name)) kept += line.raw;
  }
  Expect(whole == card, "each byte belongs to one line");
  return kept;
}

bool Is(std::string_view a, std::string_view b) { return EqualNoCase(a, b); }

// How many members have a name; one of control characters alone has none that can be written.
std::ptrdiff_t CountMembers(std::string_view card) {
  return std::ranges::count_if(MembersOf(card), [](const MemberAddress& member) {
    return std::ranges::any_of(member.text, [](char c) { return c < 0 || c > ' '; });
  });
}

// One edit, which leaves all other lines as they are and can be read back.
void Edit(Input& input, std::string& card) {
  const std::string before = card;
  const std::string text = DrawText(input, 120);
  auto expect_kept = [&](auto about) {
    Expect(OtherLines(card, about) == OtherLines(before, about), "other lines stay as they were");
  };
  switch (input.Below(5)) {
    case 0:
      SetName(card, text);
      expect_kept([](std::string_view name) { return Is(name, "FN") || Is(name, "N"); });
      Expect(Summarize(card).name == text, "a name reads back");
      break;
    case 1:
      SetFax(card, text);
      expect_kept([](std::string_view name) { return Is(name, "TEL"); });
      Expect(StartsWithNoCase(text, "tel:") || FindFax(card).number == text, "a fax number reads back");
      break;
    case 2:
      SetNote(card, text + "\n" + text);
      expect_kept([](std::string_view name) { return Is(name, "NOTE"); });
      Expect(Summarize(card).note == text + "\n" + text, "a note reads back");
      break;
    case 3: {
      const std::string uid = FormatUuid(HashKey(text));
      AddMember(card, StyleOf(card), uid);
      expect_kept([](std::string_view name) { return IsMemberLine(name); });
      const std::vector<MemberAddress> members = MembersOf(card);
      Expect(std::ranges::any_of(members, [&](const MemberAddress& member) { return member.text == uid; }),
             "a member reads back");
      RemoveMembers(card, [&](const MemberAddress& member) { return member.text == uid; });
      Expect(MembersOf(card).size() + 1 == members.size(), "a member can be removed");
      break;
    }
    default: {
      std::string other = before;
      if (!AdoptText(other, before)) break;
      Expect(CountMembers(other) == CountMembers(before), "members are kept");
      const std::string uid = Identify(before).uid;
      const bool plain = std::all_of(uid.begin(), uid.end(), [](char c) { return c < 0 || c >= ' '; });
      Expect(!plain || NormalUid(Identify(other).uid) == NormalUid(uid), "a UID is kept");
    }
  }
  std::size_t cards = 0, size = 0;
  ForEachCard(card, [&](std::size_t, std::size_t card_size) { ++cards, size += card_size; });
  Expect(cards == 1 && size == card.size(), "a card stays one card");
}

void CheckCards(std::string_view file) {
  std::size_t end = 0;
  ForEachCard(file, [&](std::size_t offset, std::size_t size) {
    Expect(offset >= end && size <= file.size() - offset, "cards lie one behind the other");
    end = offset + size;
  });
  if (file.find('\0') == std::string_view::npos) Expect(ToUtf8(ToWide(file), true) == file, "bytes survive UTF-16");
}

}  // namespace

void FuzzOne(Input input) {
  const std::size_t split = std::min(input.rest().rfind('\0'), input.rest().size());
  const std::string file(input.rest().substr(0, split));
  Input edits(input.rest().substr(std::min(split + 1, input.rest().size())));
  CheckCards(file);
  const auto store = CardStore::Parse(file);
  Expect(store->Serialize() == file, "an unchanged file is written as it was");
  if (store->size() == 0) return;
  for (CardNumber card = 0; card < store->size(); ++card) {
    (void)Summarize(store->text(card));
    (void)store->MembersOf(card);
    (void)MailAddressesOf(store->text(card));
  }
  for (int left = 12; left > 0 && !edits.done(); --left) {
    const auto card = static_cast<CardNumber>(edits.Below(std::min<CardNumber>(store->size(), 256)));
    std::string text(store->text(card));
    Edit(edits, text);
    store->Replace(card, text);
  }
  const std::string changed = store->Serialize();
  const auto again = CardStore::Parse(changed);
  Expect(again->size() == store->size() && again->skipped() == store->skipped(), "no card comes or goes");
  for (CardNumber card = 0; card < store->size(); ++card) {
    Expect(again->Find(store->key(card)) == card, "a card keeps its key");
    Expect(again->text(card) == store->text(card), "a card reads back");
  }
  Expect(again->Serialize() == changed, "a file that was written is written as it was");
}

}  // namespace uab::fuzz
