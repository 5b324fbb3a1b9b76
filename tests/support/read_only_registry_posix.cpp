#include <linux/capability.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

#include "support/read_only_registry.h"

namespace uab {
namespace {

// A superuser writes where nobody may, unless it does without that capability.
void OverrideModes(bool may) {
  if (geteuid() != 0) return;
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct data[2] = {};
  if (syscall(SYS_capget, &header, data) != 0) throw std::runtime_error("no capabilities");
  const auto bits = (1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH) | (1u << CAP_FOWNER);
  data[0].effective = may ? data[0].permitted : data[0].effective & ~bits;
  if (syscall(SYS_capset, &header, data) != 0) throw std::runtime_error("no change of capabilities");
}

void Permit(std::filesystem::perm_options how) {
  const std::filesystem::path hive = std::filesystem::path(getenv("XDG_CONFIG_HOME")) / "keluab";
  const auto write = std::filesystem::perms::owner_write;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(hive)) permissions(entry.path(), write, how);
  permissions(hive, write, how);
}

}  // namespace

ReadOnlyRegistry::ReadOnlyRegistry() : before_(Sys()) {
  Permit(std::filesystem::perm_options::remove);
  OverrideModes(false);
}

ReadOnlyRegistry::~ReadOnlyRegistry() {
  OverrideModes(true);
  Permit(std::filesystem::perm_options::add);
}

}  // namespace uab
