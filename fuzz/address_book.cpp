// Entry identifiers and address lists handed to a session, over two providers that behave.
#include "fuzz/host_script.h"
#include "support/fake_provider.h"

namespace uab::fuzz {
namespace {

void Fill(FakeProvider& provider, std::vector<std::string>& ids) {
  provider.SetFlags("top", 0);
  provider.AddChild("people", AB_RECIPIENTS | AB_MODIFIABLE);
  provider.AddChild("shown", AB_RECIPIENTS);
  provider.AddUser("ann");
  provider.AddUser("bob");
  provider.AddList("team", {"ann", "bob", "team", "missing", "more"});
  provider.AddList("more", {"bob", "team"});
  provider.SetTemplates(provider.At("people"), true, true);
  provider.SetTemplates(provider.At("team"), true, false);
  for (const char* name : {"top", "people", "shown", "ann", "bob", "team", "more", "missing", ""}) {
    ids.push_back(provider.Id(name));
  }
}

// Two providers that know each other's entries. To fill them takes longer than most scripts, so they serve run after
// run until one makes a call that may change them.
struct Providers : NonCopyable {
  Providers() {
    Fill(a, ids);
    Fill(b, ids);
    a.AddForeignMember(a.At("team"), b, "team");
    b.AddForeignMember(b.At("more"), a, "team");
    ids.push_back(std::string(4, '\0') + std::string(reinterpret_cast<const char*>(&IdentityUID), sizeof(MAPIUID)));
    ids.push_back(a.Id("new 1"));
    a.on_call = b.on_call = [this](std::string_view slot) {
      static constexpr std::string_view kReading[] = {
          "GetProps", "OpenEntry",  "QueryInterface",    "Release",          "GetPropList",  "QueryRows",
          "SeekRow",  "SetColumns", "GetHierarchyTable", "GetContentsTable", "OpenProperty", "PrepareRecips",
          "Unadvise", "Details",    "ReleaseObject"};
      changed = changed || std::ranges::find(kReading, slot) == std::end(kReading);
    };
  }

  const std::shared_ptr<FakeCalls> calls = std::make_shared<FakeCalls>();
  FakeProvider a{'A', "top", calls}, b{'B', "top", calls};
  std::vector<std::string> ids;
  bool changed = false;
};

}  // namespace

void FuzzOne(Input input) {
  static auto providers = std::make_unique<Providers>();
  FakeProvider &a = providers->a, &b = providers->b;
  {
    HostScript script(input, {{&b, b.uid}, {&a, a.uid}}, providers->ids, true);
    script.Run(30);
  }
  Expect(a.held() == 0 && b.held() == 0, "everything is given back");
  if (providers->changed) providers = std::make_unique<Providers>();  // here, so that each run frees what it allocates
}

}  // namespace uab::fuzz
