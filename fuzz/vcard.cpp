// vCard files: any bytes as a file, cards edited as the input says, and the file written and read again. The input is
// the file and, behind its last NUL, the edits.
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

bool SameMembers(std::string_view a, std::string_view b) {
  return std::ranges::equal(MembersOf(a), MembersOf(b),
                            [](const auto& x, const auto& y) { return x.mail == y.mail && x.text == y.text; });
}

// One edit, which leaves all other lines as they are and can be read back, or is refused: only where a card lies within
// the card.
void Edit(Input& input, std::string& card) {
  const std::string before = card;
  const std::string text = DrawText(input, 120);
  auto expect_kept = [&](auto about) {
    Expect(OtherLines(card, about) == OtherLines(before, about), "other lines stay as they were");
  };
  auto refused = [&](bool done) {
    Expect(done || card == before, "what is refused changes nothing");
    Expect(done || ContainsNoCase(before, "AGENT"), "hardly anything is refused");
    return !done;
  };
  switch (input.Below(5)) {
    case 0:
      if (refused(SetName(card, text))) break;
      expect_kept([](std::string_view name) { return Is(name, "FN") || Is(name, "N"); });
      Expect(Summarize(card).name == text, "a name reads back");
      break;
    case 1:
      if (NumberIn(text).empty() || refused(SetFax(card, text))) break;
      expect_kept([](std::string_view name) { return Is(name, "TEL"); });
      Expect(FindFax(card).number == NumberIn(text), "a fax number reads back");
      break;
    case 2:
      if (refused(SetNote(card, text + "\n" + text))) break;
      expect_kept([](std::string_view name) { return Is(name, "NOTE"); });
      Expect(Summarize(card).note == text + "\n" + text, "a note reads back");
      break;
    case 3: {
      const std::string uid = FormatUuid(HashKey(text));
      const auto is_new = [&](const MemberAddress& member) { return member.text == uid; };
      Expect(AddMember(card, StyleOf(card), uid), "a member is never refused");
      expect_kept([](std::string_view name) { return IsMemberLine(name); });
      const std::vector<MemberAddress> members = MembersOf(card);
      Expect(std::ranges::any_of(members, is_new), "a member reads back");
      const std::string with = card;
      if (!RemoveMembers(card, is_new)) {
        Expect(card == with && ContainsNoCase(before, "AGENT"), "hardly anything is refused");
        break;
      }
      // It may have been one before.
      const auto gone = static_cast<std::size_t>(std::ranges::count_if(members, is_new));
      const std::vector<MemberAddress> left = MembersOf(card);
      Expect(left.size() + gone == members.size() && std::ranges::none_of(left, is_new), "a member can be removed");
      break;
    }
    default: {
      std::string other = before;
      if (!AdoptText(other, before)) break;
      Expect(SameMembers(other, before), "members are kept");
      Expect(Identify(other).uid == Identify(before).uid, "a UID is kept");
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

// A card comes, joins the lists, and another goes.
void ComeAndGo(CardStore& store) {
  const std::string uid = FormatUuid(HashKey("new"));
  std::string text = NewCard(false, uid, StyleOf(store.text(0)));
  Expect(SetName(text, "New"), "a new card can be named");
  const CardNumber added = store.Add(text);
  Expect(store.text(added) == text && !store.group(added), "a new card is as it was made");
  store.Delete(0);
  for (CardNumber card = 1; card < added; ++card) {
    if (!store.group(card) || !store.AddMember(card, store.UidOf(added))) continue;
    Expect(store.MembersOf(card).uids.contains(HashKey(NormalUid(uid))), "a new member is one");
  }
  (void)store.FindMail(HashKey("a@b"));
  const auto again = CardStore::Parse(store.Serialize());
  // An empty card may hold the place of the one that is gone.
  Expect(again->size() == added && again->skipped() - store.skipped() <= 1, "one card comes and one goes");
  for (CardNumber card = 0; card < added; ++card) {
    std::string kept(store.text(card + 1));
    if (!kept.ends_with('\n')) kept += "\r\n";  // a file's last card may lack its line end
    Expect(again->text(card) == kept, "all others stay, in order");
  }
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
  ComeAndGo(*store);
}

}  // namespace uab::fuzz
