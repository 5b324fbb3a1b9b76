// The seven exports as a host finds them: argument checks in their order, chains, loading and unloading.
#include <gtest/gtest.h>

#include <cstring>

#include "library/loaded_library.h"

namespace uab {
namespace {

class Exports : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(library_.complete()); }

  LoadedLibrary library_;
  WCHAR app_key_[8] = {'K', 'e', 'l', 'u', 'a', 'b'};
  WCHAR profile_[4] = {'P'};
};

TEST_F(Exports, OpenChecksItsArgumentsInOrder) {
  char something;
  IUABSession* const untouched = reinterpret_cast<IUABSession*>(&something);
  struct {
    bool with_session;
    ULONG flags;
    int reserved;  // which reserved parameter is not null; 0: none
    HRESULT expected;
  } const cases[] = {
      {false, 0, 1, E_INVALIDARG},
      {false, MAPI_UNICODE, 0, E_INVALIDARG},
      {true, 0, 2, MAPI_E_BAD_CHARWIDTH},
      {true, 0x40, 0, MAPI_E_BAD_CHARWIDTH},
      {true, MAPI_UNICODE, 1, MAPI_E_NO_SUPPORT},
      {true, MAPI_UNICODE | 0x40, 2, MAPI_E_NO_SUPPORT},
      {true, MAPI_UNICODE, 3, MAPI_E_NO_SUPPORT},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "flags " << c.flags << ", reserved " << c.reserved);
    void* reserved[4] = {};
    reserved[c.reserved] = c.reserved != 0 ? &something : nullptr;
    IUABSession* session = untouched;
    auto* address_book = reinterpret_cast<IAddrBook*>(&something);
    EXPECT_EQ(library_.open(app_key_, nullptr, 0, profile_, c.flags, reserved[1], reserved[2], reserved[3],
                            &address_book, c.with_session ? &session : nullptr, 0),
              c.expected);
    EXPECT_EQ(session, untouched);
    EXPECT_EQ(address_book, reinterpret_cast<IAddrBook*>(&something));
  }
}

TEST_F(Exports, AdminProfilesChecksItsArgumentsInOrder) {
  char something;
  auto* admin = reinterpret_cast<IProfAdmin*>(&something);
  EXPECT_EQ(library_.admin_profiles(app_key_, nullptr, 0, nullptr, 0), E_INVALIDARG);
  EXPECT_EQ(library_.admin_profiles(app_key_, nullptr, 0x7FFFFFFF, &admin, 0), MAPI_E_BAD_CHARWIDTH);
  EXPECT_EQ(admin, reinterpret_cast<IProfAdmin*>(&something));
}

TEST_F(Exports, ChainsAreZeroedLinkedAndFreedTogether) {
  void* head = nullptr;
  ASSERT_EQ(library_.allocate_buffer(0, &head), S_OK);
  EXPECT_EQ(*static_cast<BYTE*>(head), 0x7D) << "no data: the guard comes first";
  for (ULONG size : {1u, 100u, 100'000u}) {
    void* block = nullptr;
    ASSERT_EQ(library_.allocate_more(size, head, &block), S_OK);
    auto* bytes = static_cast<BYTE*>(block);
    ULONG fields[2];
    void* links[3];  // the block's previous, and the head's next
    std::memcpy(fields, bytes - 24, 8);
    std::memcpy(links, bytes - 16, 8);
    std::memcpy(links + 1, static_cast<BYTE*>(head) - 8, 8);
    EXPECT_EQ(fields[0], 0x7Bu);
    EXPECT_EQ(fields[1], size);
    EXPECT_EQ(links[0], static_cast<BYTE*>(head) - 24);
    EXPECT_EQ(links[1], bytes - 24);
    EXPECT_TRUE(bytes[0] == 0 && std::memcmp(bytes, bytes + 1, size - 1) == 0) << "zeroed";
    EXPECT_EQ(bytes[size], 0x7D);
    EXPECT_EQ(library_.free_buffer(block), E_INVALIDARG) << "a linked block alone";
  }
  EXPECT_EQ(library_.free_buffer(head), S_OK);
  EXPECT_EQ(library_.free_buffer(nullptr), E_INVALIDARG);
}

TEST_F(Exports, ListsAreFreedWithTheirArrays) {  // a leak shows in the build with sanitizers
  void* list = nullptr;
  void* values = nullptr;
  ASSERT_EQ(library_.allocate_buffer(8 + 2 * 16, &list), S_OK);
  ASSERT_EQ(library_.allocate_buffer(24, &values), S_OK);
  auto* rows = static_cast<SRowSet*>(list);
  rows->cRows = 2;
  rows->aRow[1].lpProps = static_cast<SPropValue*>(values);
  library_.free_prows(rows);
  ASSERT_EQ(library_.allocate_buffer(8 + 2 * 16, &list), S_OK);
  ASSERT_EQ(library_.allocate_buffer(24, &values), S_OK);
  auto* entries = static_cast<ADRLIST*>(list);
  entries->cEntries = 2;
  entries->aEntries[1].rgPropVals = static_cast<SPropValue*>(values);
  library_.free_padrlist(entries);
  library_.free_prows(nullptr);
  library_.free_padrlist(nullptr);
}

TEST(Library, UnloadsAndWorksAgainWhenLoadedAgain) {
  for (int round = 0; round < 3; ++round) {
    ASSERT_FALSE(IsKeluabLoaded()) << "round " << round;
    LoadedLibrary first;
    LoadedLibrary second;
    ASSERT_TRUE(first.complete() && second.complete());
    ASSERT_TRUE(first.Unload());
    ASSERT_TRUE(IsKeluabLoaded()) << "still loaded by the second";
    void* head = nullptr;
    ASSERT_EQ(second.allocate_buffer(100, &head), S_OK);
    EXPECT_EQ(second.free_buffer(head), S_OK);
    EXPECT_EQ(second.admin_profiles(nullptr, nullptr, 0, nullptr, 7), E_INVALIDARG);
    ASSERT_TRUE(second.Unload());
  }
}

}  // namespace
}  // namespace uab
