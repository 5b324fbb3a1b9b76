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

}  // namespace

void FuzzOne(Input input) {
  auto calls = std::make_shared<FakeCalls>();
  FakeProvider a('A', "top", calls), b('B', "top", calls);
  std::vector<std::string> ids;
  Fill(a, ids);
  Fill(b, ids);
  a.AddForeignMember(a.At("team"), b, "team");
  b.AddForeignMember(b.At("more"), a, "team");
  ids.push_back(std::string(4, '\0') + std::string(reinterpret_cast<const char*>(&IdentityUID), sizeof(MAPIUID)));
  ids.push_back(a.Id("new 1"));
  {
    HostScript script(input, {{&b, b.uid}, {&a, a.uid}}, ids, true);
    script.Run(30);
  }
  Expect(a.held() == 0 && b.held() == 0, "everything is given back");
}

}  // namespace uab::fuzz
