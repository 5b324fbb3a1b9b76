// The operations that change stored profiles, for tests that disturb each of them, and the world that they change:
// profile "a" with both default services, the default profile, and "c" without any.
#pragma once

#include "profiles/profile_world.h"

namespace uab {

using Act = HRESULT (*)(IProfAdmin& admin);

struct Operation {
  const char* name;
  Act act;
  std::vector<Act> steps = {};   // where it is several changes, each whole: what stands between them is as good
  bool reports = true;           // a failure, in its result
  const char* dialog = nullptr;  // its user's commands
};
extern const std::vector<Operation> kOperations;

class ProfileOperations : public ProfileWorld {
 protected:
  void SetUp() override;

  void Restore();  // if anything has changed
  // What may be found when an operation has been disturbed: as before first, as after last.
  std::vector<std::string> WholePictures(const Operation& operation);
  // With a new object, as a new process has one.
  static HRESULT Run(Act act);
  // All that is stored, as the next process finds it, but for chance: services by what they are, without identifiers.
  static std::string Picture();

 private:
  void Make();

  std::string before_;
};

}  // namespace uab
