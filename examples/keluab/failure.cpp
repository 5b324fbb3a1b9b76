#include "failure.h"

#include <cstdint>
#include <cstdio>

#include "keluab/codes.h"

namespace host {
namespace {

using namespace uab;

struct Code {
  HRESULT hr;
  const char* name;
  const char* advice;
};

const Code kCodes[] = {
    {E_FAIL, "E_FAIL",
     "The registry or a file could not be read or written: check that they exist and are yours to change."},
    {E_INVALIDARG, "E_INVALIDARG", "Check the names: 1 to 64 characters, no backslash."},
    {E_OUTOFMEMORY, "E_OUTOFMEMORY", "Close other programs and try again."},
    {E_ACCESSDENIED, "E_ACCESSDENIED", "The name is taken, or source and target are the same: choose another."},
    {E_NOINTERFACE, "E_NOINTERFACE", "The entry is of another kind than this needs."},
    {MAPI_E_NO_SUPPORT, "MAPI_E_NO_SUPPORT", "The provider does not offer this."},
    {MAPI_E_BAD_CHARWIDTH, "MAPI_E_BAD_CHARWIDTH", "This is a fault in this program: please report it."},
    {MAPI_E_NOT_FOUND, "MAPI_E_NOT_FOUND",
     "List what there is (profile list, service list, tree, find), or install its library."},
    {MAPI_E_LOGON_FAILED, "MAPI_E_LOGON_FAILED",
     "No such profile: see 'keluab profile list', or make one the default."},
    {MAPI_E_UNKNOWN_FLAGS, "MAPI_E_UNKNOWN_FLAGS", "This is a fault in this program: please report it."},
    {MAPI_E_INVALID_ENTRYID, "MAPI_E_INVALID_ENTRYID",
     "Copy the identifier whole, as 'find' or 'tree --ids' prints it."},
    {MAPI_E_INVALID_OBJECT, "MAPI_E_INVALID_OBJECT", "The definition file must name the service's library and entry."},
    {MAPI_E_USER_CANCEL, "MAPI_E_USER_CANCEL", "Nothing was changed."},
    {MAPI_E_COMPUTED, "MAPI_E_COMPUTED", "This property can't be written."},
    {MAPI_E_END_OF_SESSION, "MAPI_E_END_OF_SESSION", "Log on again."},
    {MAPI_E_MISSING_REQUIRED_COLUMN, "MAPI_E_MISSING_REQUIRED_COLUMN", "The provider's entry lacks what this needs."},
    {MAPI_E_BAD_VALUE, "MAPI_E_BAD_VALUE", "Correct the definition file: each line is NAME = TEXT."},
    {MAPI_E_COLLISION, "MAPI_E_COLLISION", "The profile holds this service already, and it allows one copy only."},
    {MAPI_E_FOLDER_CYCLE, "MAPI_E_FOLDER_CYCLE", "A list contains itself: take it out of its own members first."},
};

}  // namespace

std::string NameOf(HRESULT hr) {
  char number[16];
  std::snprintf(number, sizeof number, "0x%08X", static_cast<unsigned>(static_cast<std::uint32_t>(hr)));
  for (const Code& code : kCodes) {
    if (code.hr == hr) return std::string(code.name) + " (" + number + ")";
  }
  return number;
}

void Check(HRESULT hr, const std::string& what, const std::string& advice) {
  if (Succeeded(hr)) return;
  std::string sentence = "Can't " + what + ": " + NameOf(hr) + ".";
  if (!advice.empty()) sentence += " " + advice;
  for (const Code& code : kCodes) {
    if (code.hr == hr && advice.empty()) sentence += std::string(" ") + code.advice;
  }
  throw Failure(hr == MAPI_E_NOT_FOUND || hr == MAPI_E_LOGON_FAILED ? kExitNotFound : kExitFailed, sentence);
}

}  // namespace host
