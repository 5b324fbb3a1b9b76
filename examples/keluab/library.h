// The way into KELUAB: the profile administration, one profile's services, a session.
#pragma once

#include <string>

#include "com.h"
#include "keluab/keluab.h"
#include "text.h"

namespace host {

class Library {
 public:
  // The key is kept by pointer in every object of the library: it lives as long as this.
  explicit Library(const std::string& app_key) : app_key_(ToWide(app_key)) {}
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  Com<uab::IProfAdmin> OpenProfiles();
  Com<uab::IMsgServiceAdmin> OpenServices(const std::string& profile);
  // The default profile's name; throws a Failure when there is none.
  std::string DefaultProfile();

 private:
  friend class Session;
  WideText app_key_;
};

// A log-on to a profile; an empty name means the default profile.
class Session {
 public:
  Session(Library& library, const std::string& profile);
  uab::IAddrBook* book() const { return book_.get(); }
  uab::IUABSession* operator->() const { return session_.get(); }

 private:
  Com<uab::IUABSession> session_;
  Com<uab::IAddrBook> book_;  // released first
};

}  // namespace host
