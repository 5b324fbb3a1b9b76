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
  ComPtr<ProviderSupport> bound = Make(std::make_unique<Registrar>());
  EXPECT_EQ(bound->SetProviderUID(&fresh, 0xFFFFFFFF), S_OK);
  EXPECT_EQ(bound->SetProviderUID(&taken, 0), MAPI_E_COLLISION);
  EXPECT_EQ(bound->SetProviderUID(nullptr, 0), E_INVALIDARG);
  ComPtr<ProviderSupport> unbound = Make();
  EXPECT_EQ(unbound->SetProviderUID(&fresh, 0), MAPI_E_NO_SUPPORT);
  EXPECT_EQ(unbound->SetProviderUID(nullptr, 0), MAPI_E_NO_SUPPORT);
}

TEST(ProviderSupport, HandsOutAllRoutinesOrNone) {
  ComPtr<ProviderSupport> support = Make();
  UABAllocateBufferFunction buffer = nullptr;
  UABAllocateMoreFunction more = nullptr;
  UABFreeBufferFunction free_buffer = nullptr;
  EXPECT_EQ(support->GetMemAllocRoutines(nullptr, &more, &free_buffer), E_INVALIDARG);
  EXPECT_EQ(support->GetMemAllocRoutines(&buffer, nullptr, &free_buffer), E_INVALIDARG);
  EXPECT_EQ(support->GetMemAllocRoutines(&buffer, &more, nullptr), E_INVALIDARG);
  EXPECT_TRUE(buffer == nullptr && more == nullptr && free_buffer == nullptr);
  EXPECT_EQ(support->GetMemAllocRoutines(&buffer, &more, &free_buffer), S_OK);
  EXPECT_TRUE(buffer == &UABAllocateBuffer && more == &UABAllocateMore && free_buffer == &UABFreeBuffer);
}

// By slot number, as a provider in another language calls.
TEST(ProviderSupport, SlotsInTheirOrder) {
  ComPtr<ProviderSupport> support = Make();
  auto** slots = *reinterpret_cast<void***>(static_cast<IUABSupport*>(support.Get()));
  using Refused = HRESULT(UAB_CALL*)(void*);
  for (int slot : {7, 10}) EXPECT_EQ(reinterpret_cast<Refused>(slots[slot - 1])(support.Get()), MAPI_E_NO_SUPPORT);
  using GetLast = HRESULT(UAB_CALL*)(void*, HRESULT, ULONG, MAPIERROR**);
  EXPECT_EQ(reinterpret_cast<GetLast>(slots[4 - 1])(support.Get(), E_FAIL, 0, nullptr), S_OK);
  using SetUid = HRESULT(UAB_CALL*)(void*, MAPIUID*, ULONG);
  EXPECT_EQ(reinterpret_cast<SetUid>(slots[6 - 1])(support.Get(), nullptr, 0), MAPI_E_NO_SUPPORT);

  void* object = nullptr;
  EXPECT_EQ(support->QueryInterface(IID_IUABSupport, &object), S_OK);
  EXPECT_EQ(object, static_cast<IUABSupport*>(support.Get()));
  EXPECT_EQ(support->Release(), 1u);
  EXPECT_EQ(support->QueryInterface(IID_IUABSession, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
}

TEST(ProviderSupport, NoMemory) {
  ForEachAllocationFailure([] { return ComPtr<ProviderSupport>(); },
                           [](auto& support) { return ProviderSupport::Create(nullptr, support); });
}

}  // namespace
}  // namespace uab
