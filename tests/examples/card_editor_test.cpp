#include "card_editor.h"

#include <gtest/gtest.h>

namespace uab::vcard {
namespace {

std::string Card(std::string_view lines) { return "BEGIN:VCARD\r\n" + std::string(lines) + "END:VCARD\r\n"; }

TEST(CardEditor, ChangesOnlyTheLinesThatItHasTo) {
  struct {
    const char* what;
    const char* before;
    void (*edit)(std::string&);
    const char* after;
  } const cases[] = {
      {"fax number in place",
       "VERSION:3.0\r\nFN:A\r\nX-ODD;;:\\\r\nitem1.TEL;TYPE=FAX,WORK;VALUE=uri:\r\n tel:1\r\nZ\r\n",
       [](std::string& card) { SetFax(card, "+1 555 0101"); },
       "VERSION:3.0\r\nFN:A\r\nX-ODD;;:\\\r\nitem1.TEL;TYPE=FAX,WORK:+1 555 0101\r\nZ\r\n"},
      {"the same number", "FN:A\r\nTEL;FAX;ENCODING=QUOTED-PRINTABLE:=31\r\n",
       [](std::string& card) { SetFax(card, "1"); }, "FN:A\r\nTEL;FAX;ENCODING=QUOTED-PRINTABLE:=31\r\n"},
      {"a first fax number of 4.0", "VERSION:4.0\r\nFN:A\r\n", [](std::string& card) { SetFax(card, "2"); },
       "VERSION:4.0\r\nFN:A\r\nTEL;TYPE=fax:2\r\n"},
      {"a first fax number of 2.1", "VERSION:2.1\r\nN:A\r\n", [](std::string& card) { SetFax(card, "2"); },
       "VERSION:2.1\r\nN:A\r\nTEL;FAX:2\r\n"},
      {"no fax number", "FN:A\r\nTEL;FAX:1\r\nTEL:3\r\n", [](std::string& card) { SetFax(card, ""); },
       "FN:A\r\nTEL:3\r\n"},
      {"name with its parts", "VERSION:3.0\r\nFN:A\r\nN;X=1:A;;;;\r\n",
       [](std::string& card) { SetName(card, "Jo Q. Roe, MD"); },
       "VERSION:3.0\r\nFN:Jo Q. Roe\\, MD\r\nN;X=1:MD;Jo Q. Roe\\,;;;\r\n"},
      {"the same name", "FN:Jo\r\nN:x;y;;;\r\n", [](std::string& card) { SetName(card, "Jo"); },
       "FN:Jo\r\nN:x;y;;;\r\n"},
      {"a name beyond ASCII in 2.1", "VERSION:2.1\r\nFN:A\r\nN:A\r\n",
       [](std::string& card) { SetName(card, "\xC3\xA9"); },
       "VERSION:2.1\r\nFN;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=C3=A9\r\n"
       "N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=C3=A9;;;;\r\n"},
      {"a note of two lines", "VERSION:4.0\r\nFN:A\r\n", [](std::string& card) { SetNote(card, "a\r\nb"); },
       "VERSION:4.0\r\nFN:A\r\nNOTE:a\\nb\r\n"},
      {"members", "VERSION:3.0\r\nFN:A\r\nMEMBER:a\r\nMEMBER:b\r\n",
       [](std::string& card) {
         RemoveMembers(card, [](const MemberAddress& member) { return member.text == "a"; });
         AddMember(card, StyleOf(card), "c");
       },
       "VERSION:3.0\r\nFN:A\r\nMEMBER:b\r\nX-ADDRESSBOOKSERVER-MEMBER:urn:uuid:c\r\n"},
  };
  for (const auto& each : cases) {
    std::string card = Card(each.before);
    each.edit(card);
    EXPECT_EQ(card, Card(each.after)) << each.what;
  }
}

TEST(CardEditor, FoldsBetweenCharactersAndReadsBackTheSame) {
  for (int version : {21, 30, 40}) {
    for (std::size_t length : {70u, 71u, 72u, 73u, 74u, 75u, 300u}) {
      std::string name(length, 'a');
      for (int i = 0; i < 60; ++i) name += "\xC3\xA9";
      std::string card = NewCard(false, "u", {version, NewLine::kLf});
      SetName(card, name);
      EXPECT_EQ(Summarize(card).name, name) << card;
      for (std::size_t pos = 0; pos < card.size();) {
        const std::size_t end = card.find('\n', pos);
        EXPECT_LE(end - pos, 77u) << card;
        EXPECT_NE(static_cast<unsigned char>(card[pos]) & 0xC0, 0x80) << "a character is cut in two";
        pos = end + 1;
      }
    }
  }
}

}  // namespace
}  // namespace uab::vcard
