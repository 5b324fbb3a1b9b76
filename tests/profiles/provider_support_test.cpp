#include "profiles/provider_support.h"

#include <gtest/gtest.h>

#include "support/failure_sweep.h"

namespace uab {
namespace {

struct Registrar : UidRegistrar {
  HRESULT RegisterUid(const MAPIUID& uid) noexcept override { return uid.ab[0] == 7 ? MAPI_E_COLLISION : S_OK; }
};

ComPtr<ProviderSupport> Make(std::unique_ptr<UidRegistrar> registrar = nullptr) {
  ComPtr<ProviderSupport> support;
  EXPECT_EQ(ProviderSupport::Create(std::move(registrar), support), S_OK);
  return support;
}

TEST(ProviderSupport, RegistersOnlyWhenBound) {
  MAPIUID fresh{}, taken{{7}};
  ComPtr<ProviderSupport> bound = Make(std::make_unique<Registrar>()), unbound = Make();
  EXPECT_EQ(bound->SetProviderUID(&fresh, 0xFFFFFFFF), S_OK);
  EXPECT_EQ(bound->SetProviderUID(&taken, 0), MAPI_E_COLLISION);
  EXPECT_EQ(bound->SetProviderUID(nullptr, 0), E_INVALIDARG);
  EXPECT_EQ(unbound->SetProviderUID(&fresh, 0), MAPI_E_NO_SUPPORT);
}

// By slot number, as a provider in another language calls.
TEST(ProviderSupport, SlotsInTheirOrder) {
  ComPtr<ProviderSupport> support = Make();
  using Slot = HRESULT(UAB_CALL*)(void*, ULONG_PTR, ULONG_PTR, ULONG_PTR);
  Slot* slots = *reinterpret_cast<Slot**>(static_cast<IUABSupport*>(support.Get()));
  auto call = [&](int slot, void* a, void* b, void* c) {
    auto number = [](void* pointer) { return reinterpret_cast<ULONG_PTR>(pointer); };
    return slots[slot - 1](support.Get(), number(a), number(b), number(c));
  };
  for (int slot : {6, 7, 10}) EXPECT_EQ(call(slot, nullptr, nullptr, nullptr), MAPI_E_NO_SUPPORT) << slot;
  EXPECT_EQ(call(4, nullptr, nullptr, nullptr), S_OK);
  void *buffer = nullptr, *more = nullptr, *free_buffer = nullptr;
  EXPECT_EQ(call(5, nullptr, &more, &free_buffer), E_INVALIDARG);
  EXPECT_EQ(call(5, &buffer, nullptr, &free_buffer), E_INVALIDARG);
  EXPECT_EQ(call(5, &buffer, &more, nullptr), E_INVALIDARG);
  EXPECT_TRUE(buffer == nullptr && more == nullptr && free_buffer == nullptr);
  EXPECT_EQ(call(5, &buffer, &more, &free_buffer), S_OK);
  EXPECT_EQ(free_buffer, reinterpret_cast<void*>(&UABFreeBuffer));
}

TEST(ProviderSupport, NoMemory) {
  ForEachAllocationFailure([] { return ComPtr<ProviderSupport>(); },
                           [](auto& support) { return ProviderSupport::Create(nullptr, support); });
}

}  // namespace
}  // namespace uab
