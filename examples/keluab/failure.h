// Failures as a person reads them: a sentence that says what did not work, the code's name, and what to do.
#pragma once

#include <stdexcept>
#include <string>

#include "keluab/base.h"

namespace host {

enum ExitCode { kExitOk = 0, kExitFailed = 1, kExitUsage = 2, kExitNotFound = 3 };

class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& sentence) : std::runtime_error(sentence), exit_code(code) {}
  const ExitCode exit_code;
};

// "MAPI_E_NOT_FOUND (0x8004010F)"
std::string NameOf(uab::HRESULT hr);

// Throws a Failure unless hr is a success. what completes "Can't ...". advice is what to do; the code's own for none.
void Check(uab::HRESULT hr, const std::string& what, const std::string& advice = {});

}  // namespace host
