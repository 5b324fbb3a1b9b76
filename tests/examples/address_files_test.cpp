// The address books of examples/data: that they are read as they look, and come back from a change as they were.
#include <gtest/gtest.h>

#include "card_editor.h"
#include "card_store.h"
#include "file_io.h"

namespace uab::vcard {
namespace {

std::vector<std::string> Shown(const CardStore& store) {
  std::vector<std::string> rows;
  for (CardNumber card = 0; card < store.size(); ++card) {
    const CardSummary summary = Summarize(store.text(card));
    rows.push_back(summary.name + "|" + summary.fax + (summary.group ? "|group" : ""));
  }
  return rows;
}

TEST(AddressFiles, AreReadAsTheyLookAndKeepEveryByte) {
  using Rows = std::vector<std::string>;
  struct {
    const char* file;
    std::size_t skipped;
    Rows rows;
  } const cases[] = {
      {"phone.vcf",
       1,
       {"J\xC3\xB6rg M\xC3\xBCnster|+1-202-555-0111", "Workshop|", "Lu\xC3\xADsa Ferreira|+1-202-555-0112"}},
      {"mail.vcf", 0, {"Dr. Femi Okoye|+1 (303) 555-0120", "Lan Hoang|+1 (303) 555-0123", "Clinics||group"}},
      {"office.vcf",
       1,
       {"Zofia Kr\xC3\xB3l|+1-404-555-0130", "\xE4\xBC\x8A\xE8\x97\xA4 \xE7\xBE\x8E\xE5\x92\xB2|+1-404-555-0132",
        "Example Freight, Inc.|+1-404-555-0133", "Newsletter||group"}},
  };
  for (const auto& each : cases) {
    const auto content = ReadWholeFile(std::filesystem::path(KELUAB_EXAMPLE_DATA) / each.file);
    ASSERT_TRUE(content) << each.file;
    const auto store = CardStore::Parse(*content);
    EXPECT_EQ(store->skipped(), each.skipped) << each.file;
    EXPECT_EQ(Shown(*store), each.rows) << each.file;
    // A change of the first card's number is the only difference, in one line.
    std::string card(store->text(0));
    const FaxLine line = FindFax(card);
    const std::string rest = card.substr(0, line.offset) + card.substr(line.offset + line.size);
    SetFax(card, "0");
    ASSERT_EQ(FindFax(card).number, "0");
    EXPECT_EQ(card.substr(0, line.offset) + card.substr(line.offset + FindFax(card).size), rest);
    const bool identified = store->HasUid(0);
    store->Replace(0, card);
    std::string expected = *content;
    expected.replace(expected.find(card.substr(0, line.offset)), rest.size() + line.size, store->text(0));
    EXPECT_EQ(store->Serialize(), expected) << each.file;
    EXPECT_EQ(identified, each.file != std::string("phone.vcf"));
  }
}

}  // namespace
}  // namespace uab::vcard
