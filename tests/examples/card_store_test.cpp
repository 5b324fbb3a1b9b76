#include "card_store.h"

#include <gtest/gtest.h>

#include "book.h"
#include "support/hive.h"

namespace uab::vcard {
namespace {

std::string ReadBack(const Book& book) { return ReadWholeFile(book.path()).value_or("<none>"); }
void Write(const Book& book, std::string_view content) { ASSERT_TRUE(ReplaceFileContent(book.path(), content)); }
TEST(CardStore, ManyCardsWithOneIdentityTakeLinearTime) {
  std::string file;
  for (int i = 0; i < 20000; ++i) file += "BEGIN:VCARD\nFN:A\nUID:same\nEND:VCARD\nBEGIN:VCARD\nFN:B\nEND:VCARD\n";
  const auto store = CardStore::Parse(file);  // quadratic, it would not end in the time that a test has
  for (CardNumber card : {0u, 1u, 39998u, 39999u}) EXPECT_EQ(store->Find(store->key(card)), card);
}

TEST(Book, KeepsWhatAnotherProgramHasWritten) {
  const TestHive hive;
  Book book(hive.Folder() / "a.vcf");
  const auto card = [](std::string uid, std::string name) {
    return "BEGIN:VCARD\nFN:" + name + "\nUID:" + uid + "\nEND:VCARD\n";
  };
  Write(book, card("1", "One") + card("2", "Two") + card("3", "Three") + card("4", "Four"));
  ASSERT_EQ(book.cards().size(), 4u);
  // Ours: 1 changed, 2 changed, 3 deleted, 4 deleted, 5 new. Theirs: 2 changed, 4 changed, 6 new, and a comment.
  book.Replace(0, card("1", "Ours"));
  book.Replace(1, card("2", "Ours"));
  book.Delete(2);
  book.Delete(3);
  book.Add(card("5", "Five"));
  Write(book, "comment\n" + card("1", "One") + card("2", "Theirs") + card("3", "Three") + card("4", "Theirs") +
                  card("6", "Six"));
  ASSERT_EQ(book.Save(true), S_OK);
  const std::string merged = ReadBack(book);
  EXPECT_TRUE(merged.starts_with("comment\n" + card("1", "Ours") + card("2", "Theirs") + card("4", "Theirs") +
                                 card("6", "Six")))
      << merged;
  EXPECT_NE(merged.find(card("5", "Five")), std::string::npos) << merged;
  EXPECT_NE(merged.rfind("FN:Ours"), merged.find("FN:Ours")) << "our second change must stay as a card of its own";
  EXPECT_EQ(merged.find("Three"), std::string::npos);
  EXPECT_EQ(CardStore::Parse(merged)->size(), 6u);
  ASSERT_EQ(book.Save(true), S_OK);
  EXPECT_EQ(ReadBack(book), merged) << "saved once";
}

TEST(Book, NeverReplacesAFileThatItCannotRead) {
  const TestHive hive;
  Book book(hive.Folder() / "a.vcf");
  const std::string wide("\xFF\xFE\x42\0", 4);
  Write(book, wide);
  book.Add("BEGIN:VCARD\nFN:A\nEND:VCARD\n");
  EXPECT_EQ(book.Save(true), E_ACCESSDENIED);
  EXPECT_EQ(ReadBack(book), wide);
  std::filesystem::remove(book.path());  // gone: nothing is lost any more
  EXPECT_EQ(book.Save(true), S_OK);
  EXPECT_EQ(ReadBack(book), "BEGIN:VCARD\nFN:A\nEND:VCARD\n");
}

}  // namespace
}  // namespace uab::vcard
