// What the program can do, one function a command. Options come from the command line; a Failure is thrown to its top.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "output.h"

namespace host {

// What every command works with: filled by the options in front of the command.
struct Context {
  std::string app_key = "keluab";
  std::string profile;  // empty: the default one
  Output output;
};

// profile_commands.cpp
struct CreateProfileOptions {
  std::string name;
  bool default_services = false;
  bool dialog = false;
};
void ListProfiles(Context& context);
void CreateProfile(Context& context, const CreateProfileOptions& options);
void DeleteProfiles(Context& context, const std::vector<std::string>& names);
void CopyProfile(Context& context, const std::string& source, const std::string& target);
void RenameProfile(Context& context, const std::string& source, const std::string& target);
void DefaultProfile(Context& context, const std::string& name, bool none);  // an empty name: shows it
void ConfigureProfile(Context& context, const std::string& name);

// service_commands.cpp
struct AddServiceOptions {
  std::string service, name, text;
};
struct ConfigureServiceOptions {
  std::string service;
  std::vector<std::string> assignments;  // TAG=VALUE; none: the service's library asks
  bool raw = false;                      // stored as they are, without the library
};
void ListServices(Context& context);
void AddService(Context& context, const AddServiceOptions& options);
void RemoveService(Context& context, const std::string& service);
void ConfigureService(Context& context, const ConfigureServiceOptions& options);
void ShowService(Context& context, const std::string& service);

// browse_commands.cpp
struct FindOptions {
  std::string text, container;
  std::size_t most = 0;  // 0: all
};
void ShowTree(Context& context, bool ids);
void ShowEntry(Context& context, const std::string& entry);
void FindEntries(Context& context, const FindOptions& options);

// recipient_commands.cpp
struct RecipientOptions {
  std::vector<std::string> entries;
  std::string type = "to";
  std::vector<std::string> properties;
};
void ExpandLists(Context& context, const RecipientOptions& options);
void PrepareRecipients(Context& context, const RecipientOptions& options);

// copy_command.cpp
struct CopyOptions {
  std::vector<std::string> entries;
  std::string target;
};
void CopyEntries(Context& context, const CopyOptions& options);

// watch_command.cpp
struct WatchOptions {
  std::string entry;
  unsigned seconds = 60;
};
void WatchEntry(Context& context, const WatchOptions& options);

// setting_commands.cpp
void SearchPathSetting(Context& context, const std::vector<std::string>& containers);  // none: shows it
void PersonalBookSetting(Context& context, const std::string& container);              // empty: shows it
void DefaultDirectorySetting(Context& context, const std::string& container);

}  // namespace host
